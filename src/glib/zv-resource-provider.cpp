#include "zv-private.h"

/**
 * ZvResourceProvider:
 *
 * Message parts on demand, implemented by the host, for a #ZvSchemeHandler
 * asked for a part it was not given. Called on the main thread.
 */
G_DEFINE_INTERFACE(ZvResourceProvider, zv_resource_provider, G_TYPE_OBJECT)

static void zv_resource_provider_default_init(ZvResourceProviderInterface*) {}

/**
 * zv_resource_provider_lookup_resource: (virtual lookup_resource)
 * @self: a provider
 * @url: the part's URL, as the page refers to it ("cid:part1@host")
 * @mime_type: (out) (transfer full) (nullable): the part's type
 *
 * Returns: (transfer full) (nullable): the part's bytes, or %NULL when there
 *   is no such part
 */
GBytes* zv_resource_provider_lookup_resource(ZvResourceProvider* self, const char* url, char** mime_type)
{
    g_return_val_if_fail(ZV_IS_RESOURCE_PROVIDER(self), nullptr);
    g_return_val_if_fail(mime_type, nullptr);
    *mime_type = nullptr;
    auto* iface = ZV_RESOURCE_PROVIDER_GET_IFACE(self);
    return iface->lookup_resource ? iface->lookup_resource(self, url, mime_type) : nullptr;
}
