#include "MessageErrorBox.h"

#include "SymbolIcon.h"
#include "ViewerResources.h"

struct _ZvwkMessageErrorBox {
    GtkBox parent_instance;
    GtkLabel* reason;
};

G_DEFINE_FINAL_TYPE(ZvwkMessageErrorBox, zvwk_message_error_box, GTK_TYPE_BOX)

static void zvwk_message_error_box_class_init(ZvwkMessageErrorBoxClass* klass) {
    zvwk::viewer::registerViewerResources();
    GtkWidgetClass* widget_class = GTK_WIDGET_CLASS(klass);
    gtk_widget_class_set_template_from_resource(widget_class, "/org/zvwebkit/zvwk/viewer/MessageErrorBox.ui");
    gtk_widget_class_bind_template_child(widget_class, ZvwkMessageErrorBox, reason);
}

static void zvwk_message_error_box_init(ZvwkMessageErrorBox* self) { gtk_widget_init_template(GTK_WIDGET(self)); }

GtkWidget* zvwk_message_error_box_new(const char* reason, gboolean dark) {
    auto* box = ZVWK_MESSAGE_ERROR_BOX(g_object_new(ZVWK_TYPE_MESSAGE_ERROR_BOX, nullptr));
    gtk_label_set_text(box->reason, reason);
    // The sign is drawn in the style's colour, so it cannot be in the template.
    gtk_box_prepend(GTK_BOX(box), zvwk::viewer::symbolImage("exclamationmark.triangle", 24, dark ? "#ff7b63" : "#c01c28"));
    return GTK_WIDGET(box);
}
