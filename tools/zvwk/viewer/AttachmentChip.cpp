#include "AttachmentChip.h"

#include "SymbolIcon.h"
#include "ViewerResources.h"

struct _ZvwkAttachmentChip {
    GtkBox parent_instance;
    GtkLabel* name;
    GtkLabel* detail;
};

G_DEFINE_FINAL_TYPE(ZvwkAttachmentChip, zvwk_attachment_chip, GTK_TYPE_BOX)

namespace {

guint openSignal;
guint saveSignal;

void on_open_clicked(GtkButton*, ZvwkAttachmentChip* self) { g_signal_emit(self, openSignal, 0); }

void on_save_clicked(GtkButton*, ZvwkAttachmentChip* self) { g_signal_emit(self, saveSignal, 0); }

}  // namespace

static void zvwk_attachment_chip_class_init(ZvwkAttachmentChipClass* klass) {
    zvwk::viewer::registerViewerResources();
    GtkWidgetClass* widget_class = GTK_WIDGET_CLASS(klass);
    gtk_widget_class_set_template_from_resource(widget_class, "/org/zvwebkit/zvwk/viewer/AttachmentChip.ui");
    gtk_widget_class_bind_template_callback(widget_class, on_open_clicked);
    gtk_widget_class_bind_template_callback(widget_class, on_save_clicked);
    gtk_widget_class_bind_template_child(widget_class, ZvwkAttachmentChip, name);
    gtk_widget_class_bind_template_child(widget_class, ZvwkAttachmentChip, detail);
    openSignal = g_signal_new("open", G_TYPE_FROM_CLASS(klass), G_SIGNAL_RUN_LAST, 0, nullptr, nullptr, nullptr,
                              G_TYPE_NONE, 0);
    saveSignal = g_signal_new("save", G_TYPE_FROM_CLASS(klass), G_SIGNAL_RUN_LAST, 0, nullptr, nullptr, nullptr,
                              G_TYPE_NONE, 0);
}

static void zvwk_attachment_chip_init(ZvwkAttachmentChip* self) { gtk_widget_init_template(GTK_WIDGET(self)); }

GtkWidget* zvwk_attachment_chip_new(const char* name, const char* detail, const char* symbol, const char* symbol_colour) {
    auto* chip = ZVWK_ATTACHMENT_CHIP(g_object_new(ZVWK_TYPE_ATTACHMENT_CHIP, nullptr));
    gtk_label_set_text(chip->name, name);
    gtk_label_set_text(chip->detail, detail);
    gtk_widget_set_tooltip_text(GTK_WIDGET(chip), name);
    // The symbol is drawn in the style's colour, so it cannot be in the template.
    gtk_box_prepend(GTK_BOX(chip), zvwk::viewer::symbolImage(symbol, 24, symbol_colour));
    return GTK_WIDGET(chip);
}
