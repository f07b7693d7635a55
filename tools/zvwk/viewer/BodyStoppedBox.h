// What a card shows in place of its body once the web process that drew it
// has ended: why, and a button that shows the body again in a new process
// ("show-again"). The card never does that by itself, so a message that
// brings its process down does not do so over and over.
#pragma once

#include <gtk/gtk.h>

G_BEGIN_DECLS

#define ZVWK_TYPE_BODY_STOPPED_BOX (zvwk_body_stopped_box_get_type())
G_DECLARE_FINAL_TYPE(ZvwkBodyStoppedBox, zvwk_body_stopped_box, ZVWK, BODY_STOPPED_BOX, GtkBox)

// `dark`: the sign is drawn for the dark style.
GtkWidget* zvwk_body_stopped_box_new(const char* reason, gboolean dark);

G_END_DECLS
