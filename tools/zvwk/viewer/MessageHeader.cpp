#include "MessageHeader.h"

#include "SymbolIcon.h"
#include "ViewerResources.h"

#include <string>

struct _ZvwkMessageHeader {
    GtkBox parent_instance;
    GtkLabel* avatar;
    GtkLabel* sender;
    GtkLabel* detail;
    GtkLabel* preview;
    GtkLabel* date;
    GtkWidget* plain_text_button;
    GtkWidget* print_button;
    GtkWidget* original_colours_button;
};

G_DEFINE_FINAL_TYPE(ZvwkMessageHeader, zvwk_message_header, GTK_TYPE_BOX)

namespace {

guint activatedSignal;

void on_lines_released(GtkGestureClick*, int, double, double, ZvwkMessageHeader* self) {
    g_signal_emit(self, activatedSignal, 0);
}

}  // namespace

static void zvwk_message_header_class_init(ZvwkMessageHeaderClass* klass) {
    zvwk::viewer::registerViewerResources();
    GtkWidgetClass* widget_class = GTK_WIDGET_CLASS(klass);
    gtk_widget_class_set_template_from_resource(widget_class, "/org/zvwebkit/zvwk/viewer/MessageHeader.ui");
    gtk_widget_class_bind_template_child(widget_class, ZvwkMessageHeader, avatar);
    gtk_widget_class_bind_template_child(widget_class, ZvwkMessageHeader, sender);
    gtk_widget_class_bind_template_child(widget_class, ZvwkMessageHeader, detail);
    gtk_widget_class_bind_template_child(widget_class, ZvwkMessageHeader, preview);
    gtk_widget_class_bind_template_child(widget_class, ZvwkMessageHeader, date);
    gtk_widget_class_bind_template_child(widget_class, ZvwkMessageHeader, plain_text_button);
    gtk_widget_class_bind_template_child(widget_class, ZvwkMessageHeader, print_button);
    gtk_widget_class_bind_template_child(widget_class, ZvwkMessageHeader, original_colours_button);
    gtk_widget_class_bind_template_callback(widget_class, on_lines_released);
    activatedSignal = g_signal_new("activated", G_TYPE_FROM_CLASS(klass), G_SIGNAL_RUN_LAST, 0, nullptr, nullptr,
                                   nullptr, G_TYPE_NONE, 0);
}

static void zvwk_message_header_init(ZvwkMessageHeader* self) { gtk_widget_init_template(GTK_WIDGET(self)); }

GtkWidget* zvwk_message_header_new(const char* sender, const char* initials, guint avatarColour, const char* detail,
                                   const char* preview, const char* date, gboolean plainTextButton, gboolean dark) {
    auto* self = ZVWK_MESSAGE_HEADER(g_object_new(ZVWK_TYPE_MESSAGE_HEADER, nullptr));
    gtk_label_set_text(self->avatar, initials);
    gtk_widget_add_css_class(GTK_WIDGET(self->avatar), ("avatar-" + std::to_string(avatarColour)).c_str());
    gtk_label_set_text(self->sender, sender);
    gtk_label_set_text(self->detail, detail);
    gtk_label_set_text(self->preview, preview);
    gtk_label_set_text(self->date, date);
    if (plainTextButton && dark) {
        gtk_button_set_child(GTK_BUTTON(self->original_colours_button),
                             zvwk::viewer::symbolImage("display-brightness-symbolic", 16, "#deddda"));
    } else {
        gtk_box_remove(GTK_BOX(self), self->original_colours_button);
        self->original_colours_button = nullptr;
    }
    if (!plainTextButton) {
        gtk_box_remove(GTK_BOX(self), self->plain_text_button);
        gtk_box_remove(GTK_BOX(self), self->print_button);
        self->plain_text_button = self->print_button = nullptr;
        return GTK_WIDGET(self);
    }
    // The symbols are drawn in the style's colour, so they cannot be in the template.
    const char* colour = dark ? "#deddda" : "#3d3846";
    gtk_button_set_child(GTK_BUTTON(self->plain_text_button), zvwk::viewer::symbolImage("doc", 16, colour));
    gtk_button_set_child(GTK_BUTTON(self->print_button), zvwk::viewer::symbolImage("document-print-symbolic", 16, colour));
    return GTK_WIDGET(self);
}

GtkWidget* zvwk_message_header_get_detail(ZvwkMessageHeader* self) { return GTK_WIDGET(self->detail); }
GtkWidget* zvwk_message_header_get_preview(ZvwkMessageHeader* self) { return GTK_WIDGET(self->preview); }
GtkWidget* zvwk_message_header_get_plain_text_button(ZvwkMessageHeader* self) { return self->plain_text_button; }
GtkWidget* zvwk_message_header_get_print_button(ZvwkMessageHeader* self) { return self->print_button; }
GtkWidget* zvwk_message_header_get_original_colours_button(ZvwkMessageHeader* self) {
    return self->original_colours_button;
}
