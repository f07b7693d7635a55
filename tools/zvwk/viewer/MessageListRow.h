// One row of the message list: the conversation's people, its message count
// (shown from two on), the date of its latest message, its subject and the
// latest message's preview.
#pragma once

#include <gtk/gtk.h>

G_BEGIN_DECLS

#define ZVWK_TYPE_MESSAGE_LIST_ROW (zvwk_message_list_row_get_type())
G_DECLARE_FINAL_TYPE(ZvwkMessageListRow, zvwk_message_list_row, ZVWK, MESSAGE_LIST_ROW, GtkBox)

GtkWidget* zvwk_message_list_row_new(void);

// Rows are reused as the list scrolls, so every field is set each time.
// An empty `preview` (not computed yet) keeps the row's height; `error`
// marks a message that could not be read.
void zvwk_message_list_row_set_conversation(ZvwkMessageListRow* row, const char* sender, const char* subject,
                                            const char* date, const char* preview, guint message_count,
                                            gboolean error);

G_END_DECLS
