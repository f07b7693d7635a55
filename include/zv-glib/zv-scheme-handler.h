/* The framework's URL schemes for a web view: message parts by content id,
 * remote content through the URL cache, symbol images. */
#pragma once

#include <zv-glib/zv-resource-provider.h>
#include <zv-glib/zv-web-view.h>

G_BEGIN_DECLS

#define ZV_TYPE_SCHEME_HANDLER (zv_scheme_handler_get_type ())
G_DECLARE_FINAL_TYPE (ZvSchemeHandler, zv_scheme_handler, ZV, SCHEME_HANDLER, GObject)

ZvSchemeHandler    *zv_scheme_handler_new                   (void);
void                zv_scheme_handler_attach                (ZvSchemeHandler *self,
                                                             ZvWebView       *view);
void                zv_scheme_handler_add_resource          (ZvSchemeHandler *self,
                                                             const char      *url,
                                                             GBytes          *data,
                                                             const char      *mime_type,
                                                             const char      *text_encoding);
void                zv_scheme_handler_remove_all_resources  (ZvSchemeHandler *self);
ZvResourceProvider *zv_scheme_handler_get_resource_provider (ZvSchemeHandler *self);
void                zv_scheme_handler_set_resource_provider (ZvSchemeHandler    *self,
                                                             ZvResourceProvider *provider);
char              **zv_scheme_handler_get_pending_loads     (ZvSchemeHandler *self);
char              **zv_scheme_handler_get_completed_loads   (ZvSchemeHandler *self);
double              zv_scheme_handler_get_progress          (ZvSchemeHandler *self);

GBytes             *zv_symbol_image_png                     (const char *name,
                                                             double      point_size);

G_END_DECLS
