/* A parsed HTML document, for hosts that work on trees. */
#pragma once

#include <glib-object.h>
#include <zv-glib/zv-html-element.h>

G_BEGIN_DECLS

#define ZV_TYPE_HTML_DOCUMENT (zv_html_document_get_type ())
G_DECLARE_FINAL_TYPE (ZvHtmlDocument, zv_html_document, ZV, HTML_DOCUMENT, GObject)

ZvHtmlDocument *zv_html_document_new_from_string (const char *html);

char          *zv_html_document_serialize      (ZvHtmlDocument *self);
char          *zv_html_document_get_title      (ZvHtmlDocument *self);
char          *zv_html_document_get_plain_text (ZvHtmlDocument *self);
ZvHtmlElement *zv_html_document_get_body       (ZvHtmlDocument *self);
ZvHtmlElement *zv_html_document_select_first   (ZvHtmlDocument *self,
                                                const char     *selector);
GPtrArray     *zv_html_document_select         (ZvHtmlDocument *self,
                                                const char     *selector);
void           zv_html_document_purge_head_css (ZvHtmlDocument     *self,
                                                const char * const *filters);
gboolean       zv_html_document_apply_head_css (ZvHtmlDocument      *self,
                                                gboolean             purge,
                                                const char * const  *exclusions,
                                                const char * const  *scopes,
                                                GError             **error);
char         **zv_html_document_prepare_for_safe_view (ZvHtmlDocument *self,
                                                       gboolean        allow_remote_content,
                                                       gboolean        block_trackers,
                                                       guint          *trackers);
gboolean       zv_html_document_adapt_for_dark (ZvHtmlDocument *self);

G_END_DECLS
