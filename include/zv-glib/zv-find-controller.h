/* Find in one or several message views, and across a conversation. */
#pragma once

#include <gtk/gtk.h>
#include <zv-glib/zv-conversation-thread.h>
#include <zv-glib/zv-message-item.h>
#include <zv-glib/zv-web-view.h>

G_BEGIN_DECLS

/**
 * ZvFindControllerOptions:
 * @ZV_FIND_CONTROLLER_NONE: the plain find bar
 * @ZV_FIND_CONTROLLER_SHOW_REPLACE: the bar has a replace row
 * @ZV_FIND_CONTROLLER_NO_REGULAR_EXPRESSIONS: the bar offers no regular
 *   expression style
 *
 * How a find controller's bar is built.
 */
typedef enum /*< flags >*/ {
  ZV_FIND_CONTROLLER_NONE = 0,
  ZV_FIND_CONTROLLER_SHOW_REPLACE = 1 << 0,
  ZV_FIND_CONTROLLER_NO_REGULAR_EXPRESSIONS = 1 << 1,
} ZvFindControllerOptions;

GType zv_find_controller_options_get_type (void) G_GNUC_CONST;
#define ZV_TYPE_FIND_CONTROLLER_OPTIONS (zv_find_controller_options_get_type ())

#define ZV_TYPE_FIND_CONTROLLER (zv_find_controller_get_type ())
G_DECLARE_FINAL_TYPE (ZvFindController, zv_find_controller, ZV, FIND_CONTROLLER, GObject)

ZvFindController *zv_find_controller_new                  (ZvFindControllerOptions options);
void              zv_find_controller_set_web_views        (ZvFindController  *self,
                                                           ZvWebView        **views,
                                                           guint              n_views);
void              zv_find_controller_set_conversation_thread (ZvFindController     *self,
                                                              ZvConversationThread *thread);
ZvConversationThread *zv_find_controller_get_conversation_thread (ZvFindController *self);
void              zv_find_controller_update_visible_items (ZvFindController *self);
gint64            zv_find_controller_get_match_count      (ZvFindController *self);
void              zv_find_controller_find                 (ZvFindController *self,
                                                           const char       *text);
void              zv_find_controller_find_next            (ZvFindController *self);
void              zv_find_controller_find_previous        (ZvFindController *self);
void              zv_find_controller_remove_all_highlights (ZvFindController *self);
char            **zv_find_controller_get_recent_searches  (ZvFindController *self);
void              zv_find_controller_clear_recent_searches (ZvFindController *self);

G_END_DECLS
