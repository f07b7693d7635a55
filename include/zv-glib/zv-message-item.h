/* A message of a conversation, as the host gives it to a find controller. */
#pragma once

#include <zv-glib/zv-web-view.h>

G_BEGIN_DECLS

#define ZV_TYPE_MESSAGE_ITEM (zv_message_item_get_type ())
G_DECLARE_INTERFACE (ZvMessageItem, zv_message_item, ZV, MESSAGE_ITEM, GObject)

/**
 * ZvMessageItemInterface:
 * @g_iface: the parent interface
 * @get_script_identifier: the message's key; %NULL leaves it unsearched
 * @get_web_view: the message's view, %NULL while it is not loaded
 * @count_matches: the number of matches of the strings in the message,
 *   counted without a view (the host's own count of the message's text)
 * @load_web_view: makes the message's view and starts loading it, when a
 *   step of the search goes into the message
 * @load_web_view_async: makes the message's view and answers once it has
 *   loaded; by default answers at once with load_web_view's view
 * @load_web_view_finish: the view load_web_view_async made
 *
 * What a host implements for each message of a conversation.
 */
struct _ZvMessageItemInterface {
  GTypeInterface g_iface;

  char      *(*get_script_identifier) (ZvMessageItem      *self);
  ZvWebView *(*get_web_view)          (ZvMessageItem      *self);
  gint64     (*count_matches)         (ZvMessageItem      *self,
                                       const char * const *strings);
  ZvWebView *(*load_web_view)         (ZvMessageItem      *self);
  void       (*load_web_view_async)   (ZvMessageItem       *self,
                                       GCancellable        *cancellable,
                                       GAsyncReadyCallback  callback,
                                       gpointer             user_data);
  ZvWebView *(*load_web_view_finish)  (ZvMessageItem  *self,
                                       GAsyncResult   *result,
                                       GError        **error);
};

char      *zv_message_item_get_script_identifier (ZvMessageItem      *self);
ZvWebView *zv_message_item_get_web_view          (ZvMessageItem      *self);
gint64     zv_message_item_count_matches         (ZvMessageItem      *self,
                                                  const char * const *strings);
ZvWebView *zv_message_item_load_web_view         (ZvMessageItem      *self);
void       zv_message_item_load_web_view_async   (ZvMessageItem       *self,
                                                  GCancellable        *cancellable,
                                                  GAsyncReadyCallback  callback,
                                                  gpointer             user_data);
ZvWebView *zv_message_item_load_web_view_finish  (ZvMessageItem  *self,
                                                  GAsyncResult   *result,
                                                  GError        **error);

G_END_DECLS
