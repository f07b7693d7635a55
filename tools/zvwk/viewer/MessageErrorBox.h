// What a card shows for a message that cannot be read: a warning sign, a
// heading and the reason with the message's path (selectable, to copy).
#pragma once

#include <gtk/gtk.h>

G_BEGIN_DECLS

#define ZVWK_TYPE_MESSAGE_ERROR_BOX (zvwk_message_error_box_get_type())
G_DECLARE_FINAL_TYPE(ZvwkMessageErrorBox, zvwk_message_error_box, ZVWK, MESSAGE_ERROR_BOX, GtkBox)

// `dark`: the sign is drawn for the dark style.
GtkWidget* zvwk_message_error_box_new(const char* reason, gboolean dark);

G_END_DECLS
