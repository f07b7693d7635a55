#include "RemoteContentBar.h"

#include "SymbolIcon.h"
#include "ViewerResources.h"

struct _ZvwkRemoteContentBar {
    GtkBox parent_instance;
    GtkLabel* message;
    GtkWidget* show_buttons;
    GtkWidget* always_button;
    GtkWidget* forget_button;
};

G_DEFINE_FINAL_TYPE(ZvwkRemoteContentBar, zvwk_remote_content_bar, GTK_TYPE_BOX)

namespace {

guint showRemoteContentSignal;
guint alwaysShowSignal;
guint forgetSignal;

void on_show_clicked(GtkButton*, ZvwkRemoteContentBar* self) { g_signal_emit(self, showRemoteContentSignal, 0); }

void on_forget_clicked(GtkButton*, ZvwkRemoteContentBar* self) { g_signal_emit(self, forgetSignal, 0); }

void alwaysShow(GtkWidget* self, const char* action, GVariant*) {
    g_signal_emit(self, alwaysShowSignal, 0, gboolean(g_str_equal(action, "bar.always-domain")));
}

}  // namespace

static void zvwk_remote_content_bar_class_init(ZvwkRemoteContentBarClass* klass) {
    zvwk::viewer::registerViewerResources();
    GtkWidgetClass* widget_class = GTK_WIDGET_CLASS(klass);
    gtk_widget_class_set_template_from_resource(widget_class, "/org/zvwebkit/zvwk/viewer/RemoteContentBar.ui");
    gtk_widget_class_bind_template_callback(widget_class, on_show_clicked);
    gtk_widget_class_bind_template_callback(widget_class, on_forget_clicked);
    gtk_widget_class_bind_template_child(widget_class, ZvwkRemoteContentBar, message);
    gtk_widget_class_bind_template_child(widget_class, ZvwkRemoteContentBar, show_buttons);
    gtk_widget_class_bind_template_child(widget_class, ZvwkRemoteContentBar, always_button);
    gtk_widget_class_bind_template_child(widget_class, ZvwkRemoteContentBar, forget_button);
    gtk_widget_class_install_action(widget_class, "bar.always-sender", nullptr, alwaysShow);
    gtk_widget_class_install_action(widget_class, "bar.always-domain", nullptr, alwaysShow);
    showRemoteContentSignal = g_signal_new("show-remote-content", G_TYPE_FROM_CLASS(klass), G_SIGNAL_RUN_LAST, 0,
                                           nullptr, nullptr, nullptr, G_TYPE_NONE, 0);
    alwaysShowSignal = g_signal_new("always-show", G_TYPE_FROM_CLASS(klass), G_SIGNAL_RUN_LAST, 0, nullptr, nullptr,
                                    nullptr, G_TYPE_NONE, 1, G_TYPE_BOOLEAN);
    forgetSignal = g_signal_new("forget", G_TYPE_FROM_CLASS(klass), G_SIGNAL_RUN_LAST, 0, nullptr, nullptr, nullptr,
                                G_TYPE_NONE, 0);
}

static void zvwk_remote_content_bar_init(ZvwkRemoteContentBar* self) { gtk_widget_init_template(GTK_WIDGET(self)); }

GtkWidget* zvwk_remote_content_bar_new(gboolean dark, const char* address, const char* domain) {
    auto* self = ZVWK_REMOTE_CONTENT_BAR(g_object_new(ZVWK_TYPE_REMOTE_CONTENT_BAR, nullptr));
    // The symbol is drawn in the style's colour, so it cannot be in the template.
    gtk_box_prepend(GTK_BOX(self), zvwk::viewer::symbolImage("exclamationmark.shield", 16, dark ? "#f8e45c" : "#9c6e03"));
    if (!address || !*address) {
        gtk_widget_set_visible(self->always_button, FALSE);
        return GTK_WIDGET(self);
    }
    g_autoptr(GMenu) menu = g_menu_new();
    g_autofree char* forSender = g_strdup_printf("Always show remote content from %s", address);
    g_menu_append(menu, forSender, "bar.always-sender");
    if (domain && *domain) {
        g_autofree char* forDomain = g_strdup_printf("Always show remote content from %s", domain);
        g_menu_append(menu, forDomain, "bar.always-domain");
    }
    gtk_menu_button_set_menu_model(GTK_MENU_BUTTON(self->always_button), G_MENU_MODEL(menu));
    return GTK_WIDGET(self);
}

void zvwk_remote_content_bar_show_blocked(ZvwkRemoteContentBar* self) {
    gtk_label_set_text(self->message, "Remote content in this message was blocked to protect your privacy.");
    gtk_widget_set_visible(self->show_buttons, TRUE);
    gtk_widget_set_visible(self->forget_button, FALSE);
}

void zvwk_remote_content_bar_show_shown(ZvwkRemoteContentBar* self, guint trackers, const char* remembered_for) {
    GString* text = g_string_new(nullptr);
    if (remembered_for) g_string_append_printf(text, "Remote content from %s is always shown.", remembered_for);
    else g_string_append(text, "Images are shown.");
    if (trackers > 0) g_string_append_printf(text, trackers == 1 ? " %u tracker blocked." : " %u trackers blocked.", trackers);
    gtk_label_set_text(self->message, text->str);
    g_string_free(text, TRUE);
    gtk_widget_set_visible(self->show_buttons, FALSE);
    gtk_widget_set_visible(self->forget_button, remembered_for != nullptr);
}
