// The bar over a message whose remote content is blocked or shown.
//
// Blocked, it says so and offers to show it ("show-remote-content"), or to
// show it always for the sender or the sender's domain ("always-show", with
// TRUE for the whole domain). Shown, it counts the trackers still kept out
// and, when a remembered choice showed it, names that choice and offers to
// forget it ("forget"). Hidden until the card shows it.
#pragma once

#include <gtk/gtk.h>

G_BEGIN_DECLS

#define ZVWK_TYPE_REMOTE_CONTENT_BAR (zvwk_remote_content_bar_get_type())
G_DECLARE_FINAL_TYPE(ZvwkRemoteContentBar, zvwk_remote_content_bar, ZVWK, REMOTE_CONTENT_BAR, GtkBox)

// `dark`: its shield is drawn for the dark style. `address` and `domain`
// (nullable) name the sender in the "Always show" choices; without an
// address there are none.
GtkWidget* zvwk_remote_content_bar_new(gboolean dark, const char* address, const char* domain);
// "Remote content … was blocked", with the buttons that show it.
void zvwk_remote_content_bar_show_blocked(ZvwkRemoteContentBar* self);
// Remote content is shown, `trackers` of it kept out; `remembered_for`
// (nullable) is the address or domain whose remembered choice showed it.
void zvwk_remote_content_bar_show_shown(ZvwkRemoteContentBar* self, guint trackers, const char* remembered_for);

G_END_DECLS
