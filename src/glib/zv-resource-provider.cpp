#include "zv-private.h"

/**
 * ZvResourceProvider:
 *
 * Message parts on demand, implemented by the host, for a #ZvSchemeHandler
 * asked for a part it was not given. The handler asks with
 * zv_resource_provider_lookup_resource_async(), on the main thread. A host
 * that has its parts at hand implements lookup_resource only; one that reads
 * them from its store without blocking implements lookup_resource_async and
 * lookup_resource_finish (a Vala `async` method).
 */
G_DEFINE_INTERFACE(ZvResourceProvider, zv_resource_provider, G_TYPE_OBJECT)

namespace {

struct Part {
    GBytes* bytes;
    char* mimeType;
};

void freePart(gpointer data)
{
    auto* part = static_cast<Part*>(data);
    g_bytes_unref(part->bytes);
    g_free(part->mimeType);
    delete part;
}

void lookupAtOnce(ZvResourceProvider* self, const char* url, GCancellable* cancellable, GAsyncReadyCallback callback,
                  gpointer user_data)
{
    g_autoptr(GTask) task = g_task_new(self, cancellable, callback, user_data);
    g_task_set_source_tag(task, reinterpret_cast<gpointer>(lookupAtOnce));
    if (g_task_return_error_if_cancelled(task))
        return;
    auto* part = new Part{nullptr, nullptr};
    part->bytes = zv_resource_provider_lookup_resource(self, url, &part->mimeType);
    if (!part->bytes) {
        freePart(part);
        g_task_return_pointer(task, nullptr, nullptr);
        return;
    }
    g_task_return_pointer(task, part, freePart);
}

GBytes* lookupAtOnceFinish(ZvResourceProvider* self, GAsyncResult* result, char** mime_type, GError** error)
{
    g_return_val_if_fail(g_task_is_valid(result, self), nullptr);
    auto* part = static_cast<Part*>(g_task_propagate_pointer(G_TASK(result), error));
    if (!part)
        return nullptr;
    GBytes* bytes = std::exchange(part->bytes, nullptr);
    *mime_type = std::exchange(part->mimeType, nullptr);
    freePart(part);
    return bytes;
}

}  // namespace

static void zv_resource_provider_default_init(ZvResourceProviderInterface* iface)
{
    iface->lookup_resource_async = lookupAtOnce;
    iface->lookup_resource_finish = lookupAtOnceFinish;
}

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

/**
 * zv_resource_provider_lookup_resource_async: (virtual lookup_resource_async)
 * @self: a provider
 * @url: the part's URL, as the page refers to it ("cid:part1@host")
 * @cancellable: (nullable): to give up waiting
 * @callback: (scope async): called with the answer
 * @user_data: (closure): for @callback
 *
 * Looks up the part known by @url.
 */
void zv_resource_provider_lookup_resource_async(ZvResourceProvider* self, const char* url, GCancellable* cancellable,
                                                GAsyncReadyCallback callback, gpointer user_data)
{
    g_return_if_fail(ZV_IS_RESOURCE_PROVIDER(self));
    g_return_if_fail(!cancellable || G_IS_CANCELLABLE(cancellable));
    ZV_RESOURCE_PROVIDER_GET_IFACE(self)->lookup_resource_async(self, url, cancellable, callback, user_data);
}

/**
 * zv_resource_provider_lookup_resource_finish: (virtual lookup_resource_finish)
 * @self: a provider
 * @result: the result handed to the callback
 * @mime_type: (out) (transfer full) (nullable): the part's type
 * @error: set when the part could not be read (%G_IO_ERROR_CANCELLED when
 *   cancelled)
 *
 * Returns: (transfer full) (nullable): the part's bytes, or %NULL when there
 *   is no such part
 */
GBytes* zv_resource_provider_lookup_resource_finish(ZvResourceProvider* self, GAsyncResult* result, char** mime_type,
                                                    GError** error)
{
    g_return_val_if_fail(ZV_IS_RESOURCE_PROVIDER(self), nullptr);
    g_return_val_if_fail(G_IS_ASYNC_RESULT(result), nullptr);
    g_return_val_if_fail(mime_type, nullptr);
    *mime_type = nullptr;
    return ZV_RESOURCE_PROVIDER_GET_IFACE(self)->lookup_resource_finish(self, result, mime_type, error);
}
