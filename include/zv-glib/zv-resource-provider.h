/* Where a scheme handler turns for message parts it was not given. */
#pragma once

#include <glib-object.h>

G_BEGIN_DECLS

#define ZV_TYPE_RESOURCE_PROVIDER (zv_resource_provider_get_type ())
G_DECLARE_INTERFACE (ZvResourceProvider, zv_resource_provider, ZV, RESOURCE_PROVIDER, GObject)

/**
 * ZvResourceProviderInterface:
 * @g_iface: the parent interface
 * @lookup_resource: the bytes and type of the part known by a URL
 *   ("cid:part1@host"), or %NULL when there is no such part
 *
 * What a host implements to hand message parts to a #ZvSchemeHandler on
 * demand (typically its mail store).
 */
struct _ZvResourceProviderInterface {
  GTypeInterface g_iface;

  GBytes *(*lookup_resource) (ZvResourceProvider  *self,
                              const char          *url,
                              char               **mime_type);
};

GBytes *zv_resource_provider_lookup_resource (ZvResourceProvider  *self,
                                              const char          *url,
                                              char               **mime_type);

G_END_DECLS
