/* An element of a parsed document. */
#pragma once

#include <glib-object.h>

G_BEGIN_DECLS

#define ZV_TYPE_HTML_ELEMENT (zv_html_element_get_type ())
G_DECLARE_FINAL_TYPE (ZvHtmlElement, zv_html_element, ZV, HTML_ELEMENT, GObject)

const char *zv_html_element_get_tag_name     (ZvHtmlElement *self);
char       *zv_html_element_get_attribute    (ZvHtmlElement *self,
                                              const char    *name);
void        zv_html_element_set_attribute    (ZvHtmlElement *self,
                                              const char    *name,
                                              const char    *value);
char       *zv_html_element_get_text_content (ZvHtmlElement *self);
char       *zv_html_element_get_plain_text   (ZvHtmlElement *self);
char       *zv_html_element_get_outer_html   (ZvHtmlElement *self);
char       *zv_html_element_get_inner_html   (ZvHtmlElement *self);
void        zv_html_element_set_inner_html   (ZvHtmlElement *self,
                                              const char    *html);
GPtrArray  *zv_html_element_select           (ZvHtmlElement *self,
                                              const char    *selector);

G_END_DECLS
