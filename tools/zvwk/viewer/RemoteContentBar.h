// The bar over a message whose remote content is blocked: it says so and
// offers to show it, emitting "show-remote-content" when asked; afterwards
// it can count the trackers still kept out. Hidden until the card shows it.
#pragma once

#include <gtk/gtk.h>

G_BEGIN_DECLS

#define ZVWK_TYPE_REMOTE_CONTENT_BAR (zvwk_remote_content_bar_get_type())
G_DECLARE_FINAL_TYPE(ZvwkRemoteContentBar, zvwk_remote_content_bar, ZVWK, REMOTE_CONTENT_BAR, GtkBox)

// `dark`: its shield is drawn for the dark style.
GtkWidget* zvwk_remote_content_bar_new(gboolean dark);
// Once remote content is shown without trackers: says how many were kept
// out ("Images are shown. 4 trackers blocked.") and offers nothing more.
void zvwk_remote_content_bar_show_trackers(ZvwkRemoteContentBar* self, guint count);

G_END_DECLS
