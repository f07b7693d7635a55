#include "RemoteContentBar.h"

#include "SymbolIcon.h"
#include "ViewerResources.h"

struct _ZvwkRemoteContentBar {
    GtkBox parent_instance;
    GtkLabel* message;
    GtkWidget* show_button;
};

G_DEFINE_FINAL_TYPE(ZvwkRemoteContentBar, zvwk_remote_content_bar, GTK_TYPE_BOX)

namespace {

guint showRemoteContentSignal;

void on_show_clicked(GtkButton*, ZvwkRemoteContentBar* self) { g_signal_emit(self, showRemoteContentSignal, 0); }

}  // namespace

static void zvwk_remote_content_bar_class_init(ZvwkRemoteContentBarClass* klass) {
    zvwk::viewer::registerViewerResources();
    GtkWidgetClass* widget_class = GTK_WIDGET_CLASS(klass);
    gtk_widget_class_set_template_from_resource(widget_class, "/org/zvwebkit/zvwk/viewer/RemoteContentBar.ui");
    gtk_widget_class_bind_template_callback(widget_class, on_show_clicked);
    gtk_widget_class_bind_template_child(widget_class, ZvwkRemoteContentBar, message);
    gtk_widget_class_bind_template_child(widget_class, ZvwkRemoteContentBar, show_button);
    showRemoteContentSignal = g_signal_new("show-remote-content", G_TYPE_FROM_CLASS(klass), G_SIGNAL_RUN_LAST, 0,
                                           nullptr, nullptr, nullptr, G_TYPE_NONE, 0);
}

static void zvwk_remote_content_bar_init(ZvwkRemoteContentBar* self) { gtk_widget_init_template(GTK_WIDGET(self)); }

GtkWidget* zvwk_remote_content_bar_new(gboolean dark) {
    GtkWidget* bar = GTK_WIDGET(g_object_new(ZVWK_TYPE_REMOTE_CONTENT_BAR, nullptr));
    // The symbol is drawn in the style's colour, so it cannot be in the template.
    gtk_box_prepend(GTK_BOX(bar), zvwk::viewer::symbolImage("exclamationmark.shield", 16, dark ? "#f8e45c" : "#9c6e03"));
    return bar;
}

void zvwk_remote_content_bar_show_trackers(ZvwkRemoteContentBar* self, guint count) {
    g_autofree char* text = g_strdup_printf(count == 1 ? "Images are shown. %u tracker blocked." : "Images are shown. %u trackers blocked.", count);
    gtk_label_set_text(self->message, text);
    gtk_widget_set_visible(self->show_button, FALSE);
}
