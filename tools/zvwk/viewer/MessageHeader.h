// The header of a message card: the sender's avatar and name, a detail line
// (address, recipients) and a preview line, the date, the buttons that print
// the message and show it as plain text and, in the dark style, the one that
// shows its original colours. Emits "activated" when the sender's lines are
// clicked; the card decides which lines and buttons show.
#pragma once

#include <gtk/gtk.h>

G_BEGIN_DECLS

#define ZVWK_TYPE_MESSAGE_HEADER (zvwk_message_header_get_type())
G_DECLARE_FINAL_TYPE(ZvwkMessageHeader, zvwk_message_header, ZVWK, MESSAGE_HEADER, GtkBox)

// `avatarColour` (0 to 5) picks the avatar's avatar-N style class; without
// `plainTextButton` the header has neither button; `dark`: the symbols are
// drawn for the dark style, and the original colours button is there.
GtkWidget* zvwk_message_header_new(const char* sender, const char* initials, guint avatarColour, const char* detail,
                                   const char* preview, const char* date, gboolean plainTextButton, gboolean dark);

GtkWidget* zvwk_message_header_get_detail(ZvwkMessageHeader* self);
GtkWidget* zvwk_message_header_get_preview(ZvwkMessageHeader* self);
// Null for a header made without it.
GtkWidget* zvwk_message_header_get_plain_text_button(ZvwkMessageHeader* self);
// Null for a header made without the plain text button.
GtkWidget* zvwk_message_header_get_print_button(ZvwkMessageHeader* self);
// Null for a header made without it; hidden until the card shows it.
GtkWidget* zvwk_message_header_get_original_colours_button(ZvwkMessageHeader* self);

G_END_DECLS
