#include "LinkWarningDialog.h"

namespace zvwk::viewer {

namespace {

struct Pending {
    std::function<void()> open;
};

void onResponse(GtkDialog* dialog, int response, gpointer data) {
    auto* pending = static_cast<Pending*>(data);
    if (response == GTK_RESPONSE_ACCEPT && pending->open) pending->open();
    gtk_window_destroy(GTK_WINDOW(dialog));
}

}  // namespace

GtkWidget* askBeforeOpeningLink(GtkWindow* parent, const std::string& shownText, const std::string& href,
                                const std::string& reason, std::function<void()> open) {
    GtkWidget* dialog = gtk_message_dialog_new(parent, GtkDialogFlags(GTK_DIALOG_MODAL | GTK_DIALOG_DESTROY_WITH_PARENT),
                                               GTK_MESSAGE_WARNING, GTK_BUTTONS_NONE,
                                               "This link may not go where it says");
    g_autofree char* shown = g_markup_escape_text(shownText.empty() ? "(no text)" : shownText.c_str(), -1);
    g_autofree char* target = g_markup_escape_text(href.c_str(), -1);
    g_autofree char* why = g_markup_escape_text(reason.c_str(), -1);
    gtk_message_dialog_format_secondary_markup(GTK_MESSAGE_DIALOG(dialog),
                                               "The message shows:\n<b>%s</b>\n\nThe link goes to:\n<b>%s</b>\n\n%s",
                                               shown, target, why);
    // GTK's message dialog sets its heading flush against the top edge.
    gtk_widget_set_margin_top(gtk_message_dialog_get_message_area(GTK_MESSAGE_DIALOG(dialog)), 18);
    gtk_widget_set_margin_bottom(gtk_message_dialog_get_message_area(GTK_MESSAGE_DIALOG(dialog)), 6);
    gtk_dialog_add_button(GTK_DIALOG(dialog), "_Cancel", GTK_RESPONSE_CANCEL);
    gtk_dialog_add_button(GTK_DIALOG(dialog), "_Open Link", GTK_RESPONSE_ACCEPT);
    gtk_dialog_set_default_response(GTK_DIALOG(dialog), GTK_RESPONSE_CANCEL);
    g_signal_connect_data(dialog, "response", G_CALLBACK(onResponse), new Pending{std::move(open)},
                          +[](gpointer data, GClosure*) { delete static_cast<Pending*>(data); }, GConnectFlags(0));
    gtk_window_present(GTK_WINDOW(dialog));
    return dialog;
}

GtkWindow* shownLinkQuestion() {
    GListModel* toplevels = gtk_window_get_toplevels();
    for (guint i = 0; i < g_list_model_get_n_items(toplevels); ++i) {
        GObject* window = G_OBJECT(g_list_model_get_item(toplevels, i));
        g_object_unref(window);  // the list of toplevels keeps it
        if (GTK_IS_MESSAGE_DIALOG(window) && gtk_widget_get_mapped(GTK_WIDGET(window))) return GTK_WINDOW(window);
    }
    return nullptr;
}

}  // namespace zvwk::viewer
