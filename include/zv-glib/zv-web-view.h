/* The message web view: a WebKitWebView with the framework's event bridge,
 * in-page search, sizing and selection. */
#pragma once

#include <gio/gio.h>
#include <webkit/webkit.h>

G_BEGIN_DECLS

/**
 * ZvFindStyle:
 * @ZV_FIND_STYLE_CONTAINS: matches anywhere in a word
 * @ZV_FIND_STYLE_STARTS_WITH: matches at the start of a word
 * @ZV_FIND_STYLE_EXACTLY: matches whole words
 * @ZV_FIND_STYLE_REGULAR_EXPRESSION: the text is a regular expression
 * @ZV_FIND_STYLE_IGNORE_CASE: added to one of the styles above, ignores case
 *
 * How the page is searched: one style, optionally with
 * %ZV_FIND_STYLE_IGNORE_CASE.
 */
typedef enum /*< flags >*/ {
  ZV_FIND_STYLE_CONTAINS = 1 << 0,
  ZV_FIND_STYLE_STARTS_WITH = 1 << 1,
  ZV_FIND_STYLE_EXACTLY = 1 << 2,
  ZV_FIND_STYLE_REGULAR_EXPRESSION = 1 << 3,
  ZV_FIND_STYLE_IGNORE_CASE = 1 << 8,
} ZvFindStyle;

GType zv_find_style_get_type (void) G_GNUC_CONST;
#define ZV_TYPE_FIND_STYLE (zv_find_style_get_type ())

/**
 * ZvDomEvent:
 * @ZV_DOM_EVENT_CLICK: "click"
 * @ZV_DOM_EVENT_DOUBLE_CLICK: "dblclick"
 * @ZV_DOM_EVENT_CONTEXT_MENU: "contextmenu"
 * @ZV_DOM_EVENT_DRAG_START: "dragstart"
 * @ZV_DOM_EVENT_KEY_DOWN: "keydown"
 *
 * The page events the event bridge reports.
 */
typedef enum {
  ZV_DOM_EVENT_CLICK,
  ZV_DOM_EVENT_DOUBLE_CLICK,
  ZV_DOM_EVENT_CONTEXT_MENU,
  ZV_DOM_EVENT_DRAG_START,
  ZV_DOM_EVENT_KEY_DOWN,
} ZvDomEvent;

GType zv_dom_event_get_type (void) G_GNUC_CONST;
#define ZV_TYPE_DOM_EVENT (zv_dom_event_get_type ())

#define ZV_TYPE_WEB_VIEW (zv_web_view_get_type ())
G_DECLARE_FINAL_TYPE (ZvWebView, zv_web_view, ZV, WEB_VIEW, GObject)

ZvWebView     *zv_web_view_new                (void);
ZvWebView     *zv_web_view_new_safe           (ZvWebView *related);

WebKitWebView *zv_web_view_get_web_view       (ZvWebView *self);
guint64        zv_web_view_get_identifier     (ZvWebView *self);

void           zv_web_view_load_html          (ZvWebView  *self,
                                               const char *html,
                                               const char *base_uri);
void           zv_web_view_set_event_selectors (ZvWebView          *self,
                                                ZvDomEvent          event,
                                                const char * const *selectors);

double         zv_web_view_get_content_width  (ZvWebView *self);
double         zv_web_view_get_content_height (ZvWebView *self);
void           zv_web_view_set_content_size   (ZvWebView *self,
                                               double     width,
                                               double     height);

gboolean       zv_web_view_add_search_scripts (ZvWebView *self);
void           zv_web_view_highlight          (ZvWebView   *self,
                                               const char  *text,
                                               ZvFindStyle  style);
void           zv_web_view_remove_all_highlights (ZvWebView *self);
void           zv_web_view_count_matches_async (ZvWebView           *self,
                                               GCancellable        *cancellable,
                                               GAsyncReadyCallback  callback,
                                               gpointer             user_data);
gint64         zv_web_view_count_matches_finish (ZvWebView     *self,
                                                 GAsyncResult  *result,
                                                 GError       **error);
void           zv_web_view_find_next_async    (ZvWebView           *self,
                                               gboolean             backwards,
                                               GCancellable        *cancellable,
                                               GAsyncReadyCallback  callback,
                                               gpointer             user_data);
double         zv_web_view_find_next_finish   (ZvWebView     *self,
                                               GAsyncResult  *result,
                                               GError       **error);
void           zv_web_view_get_selected_text_async (ZvWebView           *self,
                                               GCancellable        *cancellable,
                                               GAsyncReadyCallback  callback,
                                               gpointer             user_data);
char          *zv_web_view_get_selected_text_finish (ZvWebView     *self,
                                                     GAsyncResult  *result,
                                                     GError       **error);

G_END_DECLS
