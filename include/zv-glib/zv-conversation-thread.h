/* A conversation as the host shows it, for a find controller to search. */
#pragma once

#include <gio/gio.h>

G_BEGIN_DECLS

#define ZV_TYPE_CONVERSATION_THREAD (zv_conversation_thread_get_type ())
G_DECLARE_INTERFACE (ZvConversationThread, zv_conversation_thread, ZV, CONVERSATION_THREAD, GObject)

/**
 * ZvConversationThreadInterface:
 * @g_iface: the parent interface
 * @get_visible_items: the messages on screen, in display order, as a list
 *   of #ZvMessageItem that the thread keeps and changes in place
 *
 * What a host implements for a conversation.
 */
struct _ZvConversationThreadInterface {
  GTypeInterface g_iface;

  GListModel *(*get_visible_items) (ZvConversationThread *self);
};

GListModel *zv_conversation_thread_get_visible_items (ZvConversationThread *self);

G_END_DECLS
