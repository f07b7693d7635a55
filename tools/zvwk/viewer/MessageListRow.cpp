#include "MessageListRow.h"

#include "ViewerResources.h"

#include <string>

struct _ZvwkMessageListRow {
    GtkBox parent_instance;
    GtkLabel* sender;
    GtkLabel* count;
    GtkLabel* date;
    GtkLabel* subject;
    GtkLabel* preview;
};

G_DEFINE_FINAL_TYPE(ZvwkMessageListRow, zvwk_message_list_row, GTK_TYPE_BOX)

static void zvwk_message_list_row_class_init(ZvwkMessageListRowClass* klass) {
    zvwk::viewer::registerViewerResources();
    GtkWidgetClass* widget_class = GTK_WIDGET_CLASS(klass);
    gtk_widget_class_set_template_from_resource(widget_class, "/org/zvwebkit/zvwk/viewer/MessageListRow.ui");
    gtk_widget_class_bind_template_child(widget_class, ZvwkMessageListRow, sender);
    gtk_widget_class_bind_template_child(widget_class, ZvwkMessageListRow, count);
    gtk_widget_class_bind_template_child(widget_class, ZvwkMessageListRow, date);
    gtk_widget_class_bind_template_child(widget_class, ZvwkMessageListRow, subject);
    gtk_widget_class_bind_template_child(widget_class, ZvwkMessageListRow, preview);
}

static void zvwk_message_list_row_init(ZvwkMessageListRow* self) { gtk_widget_init_template(GTK_WIDGET(self)); }

GtkWidget* zvwk_message_list_row_new(void) { return GTK_WIDGET(g_object_new(ZVWK_TYPE_MESSAGE_LIST_ROW, nullptr)); }

void zvwk_message_list_row_set_conversation(ZvwkMessageListRow* row, const char* sender, const char* subject,
                                            const char* date, const char* preview, guint message_count,
                                            gboolean error) {
    gtk_label_set_text(row->sender, sender);
    gtk_label_set_text(row->subject, subject);
    gtk_label_set_text(row->date, date);
    gtk_label_set_text(row->preview, *preview ? preview : " ");
    gtk_label_set_text(row->count, std::to_string(message_count).c_str());
    gtk_widget_set_visible(GTK_WIDGET(row->count), message_count > 1);
    if (error) gtk_widget_add_css_class(GTK_WIDGET(row), "error");
    else gtk_widget_remove_css_class(GTK_WIDGET(row), "error");
}
