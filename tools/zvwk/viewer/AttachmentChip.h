// One attachment on a message card: its symbol, name, type and size, and
// buttons that open it with the desktop's application ("open") and save it
// ("save").
#pragma once

#include <gtk/gtk.h>

G_BEGIN_DECLS

#define ZVWK_TYPE_ATTACHMENT_CHIP (zvwk_attachment_chip_get_type())
G_DECLARE_FINAL_TYPE(ZvwkAttachmentChip, zvwk_attachment_chip, ZVWK, ATTACHMENT_CHIP, GtkBox)

// `symbol` is drawn in `symbol_colour` ("#rrggbb"); `detail` is the type and size.
GtkWidget* zvwk_attachment_chip_new(const char* name, const char* detail, const char* symbol, const char* symbol_colour);

G_END_DECLS
