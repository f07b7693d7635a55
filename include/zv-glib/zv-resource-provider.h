/* Where a scheme handler turns for message parts it was not given. */
#pragma once

#include <gio/gio.h>

G_BEGIN_DECLS

#define ZV_TYPE_RESOURCE_PROVIDER (zv_resource_provider_get_type ())
G_DECLARE_INTERFACE (ZvResourceProvider, zv_resource_provider, ZV, RESOURCE_PROVIDER, GObject)

/**
 * ZvResourceProviderInterface:
 * @g_iface: the parent interface
 * @lookup_resource: the bytes and type of the part known by a URL
 *   ("cid:part1@host"), or %NULL when there is no such part
 * @lookup_resource_async: looks the part up without blocking; by default
 *   answers at once with lookup_resource's
 * @lookup_resource_finish: the answer of lookup_resource_async
 *
 * What a host implements to hand message parts to a #ZvSchemeHandler on
 * demand (typically its mail store).
 */
struct _ZvResourceProviderInterface {
  GTypeInterface g_iface;

  GBytes *(*lookup_resource) (ZvResourceProvider  *self,
                              const char          *url,
                              char               **mime_type);
  void    (*lookup_resource_async)  (ZvResourceProvider  *self,
                                     const char          *url,
                                     GCancellable        *cancellable,
                                     GAsyncReadyCallback  callback,
                                     gpointer             user_data);
  GBytes *(*lookup_resource_finish) (ZvResourceProvider  *self,
                                     GAsyncResult        *result,
                                     char               **mime_type,
                                     GError             **error);
};

GBytes *zv_resource_provider_lookup_resource (ZvResourceProvider  *self,
                                              const char          *url,
                                              char               **mime_type);
void    zv_resource_provider_lookup_resource_async  (ZvResourceProvider  *self,
                                                     const char          *url,
                                                     GCancellable        *cancellable,
                                                     GAsyncReadyCallback  callback,
                                                     gpointer             user_data);
GBytes *zv_resource_provider_lookup_resource_finish (ZvResourceProvider  *self,
                                                     GAsyncResult        *result,
                                                     char               **mime_type,
                                                     GError             **error);

G_END_DECLS
