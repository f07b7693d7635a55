#include "BodyStoppedBox.h"

#include "SymbolIcon.h"
#include "ViewerResources.h"

struct _ZvwkBodyStoppedBox {
    GtkBox parent_instance;
    GtkLabel* reason;
};

G_DEFINE_FINAL_TYPE(ZvwkBodyStoppedBox, zvwk_body_stopped_box, GTK_TYPE_BOX)

namespace {

guint showAgainSignal;

void on_show_again_clicked(GtkButton*, ZvwkBodyStoppedBox* self) { g_signal_emit(self, showAgainSignal, 0); }

}  // namespace

static void zvwk_body_stopped_box_class_init(ZvwkBodyStoppedBoxClass* klass) {
    zvwk::viewer::registerViewerResources();
    GtkWidgetClass* widget_class = GTK_WIDGET_CLASS(klass);
    gtk_widget_class_set_template_from_resource(widget_class, "/org/zvwebkit/zvwk/viewer/BodyStoppedBox.ui");
    gtk_widget_class_bind_template_child(widget_class, ZvwkBodyStoppedBox, reason);
    gtk_widget_class_bind_template_callback(widget_class, on_show_again_clicked);
    showAgainSignal = g_signal_new("show-again", G_TYPE_FROM_CLASS(klass), G_SIGNAL_RUN_LAST, 0, nullptr, nullptr,
                                   nullptr, G_TYPE_NONE, 0);
}

static void zvwk_body_stopped_box_init(ZvwkBodyStoppedBox* self) { gtk_widget_init_template(GTK_WIDGET(self)); }

GtkWidget* zvwk_body_stopped_box_new(const char* reason, gboolean dark) {
    auto* box = ZVWK_BODY_STOPPED_BOX(g_object_new(ZVWK_TYPE_BODY_STOPPED_BOX, nullptr));
    gtk_label_set_text(box->reason, reason);
    // The sign is drawn in the style's colour, so it cannot be in the template.
    gtk_box_prepend(GTK_BOX(box), zvwk::viewer::symbolImage("exclamationmark.triangle", 24, dark ? "#f8e45c" : "#9c6e03"));
    return GTK_WIDGET(box);
}
