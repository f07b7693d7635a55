#include "zv-private.h"

#include <zv/scheme/URLCache.h>

#include <vector>

/**
 * ZvUrlCache:
 *
 * A cache of URL loads: for each URL, the response's type and status and
 * its body, kept in an SQLite database on disk. It answers whatever it
 * holds, whatever its age; once the bodies pass the capacity, the entries
 * read least recently go. A database that cannot be opened is never fatal:
 * the cache then starts empty, in memory if need be
 * (zv_url_cache_is_on_disk()). Safe to use from any thread.
 */
struct _ZvUrlCache {
    GObject parent_instance;
    std::shared_ptr<zv::URLCache>* cache;
};

G_DEFINE_FINAL_TYPE(ZvUrlCache, zv_url_cache, G_TYPE_OBJECT)

static void zv_url_cache_finalize(GObject* object)
{
    delete ZV_URL_CACHE(object)->cache;
    G_OBJECT_CLASS(zv_url_cache_parent_class)->finalize(object);
}

static void zv_url_cache_class_init(ZvUrlCacheClass* klass)
{
    G_OBJECT_CLASS(klass)->finalize = zv_url_cache_finalize;
}

static void zv_url_cache_init(ZvUrlCache* self)
{
    self->cache = new std::shared_ptr<zv::URLCache>();
}

static ZvUrlCache* wrap(std::shared_ptr<zv::URLCache> cache)
{
    auto* self = ZV_URL_CACHE(g_object_new(ZV_TYPE_URL_CACHE, nullptr));
    *self->cache = std::move(cache);
    return self;
}

/**
 * zv_url_cache_new:
 * @path: (type filename): the database file, made with its folder when
 *   missing
 * @capacity: the most bytes of bodies kept; 0 or less for 64 MiB
 *
 * Returns: (transfer full): the cache
 */
ZvUrlCache* zv_url_cache_new(const char* path, gint64 capacity)
{
    g_return_val_if_fail(path, nullptr);
    return wrap(zv::URLCache::open(path, capacity > 0 ? capacity : zv::URLCache::kDefaultCapacity));
}

// One wrapper for the process at a time, replaced when the shared cache is.
// A wrapper once handed out is never freed: it is transfer none, and another
// thread may still be using it. Hosts replace the shared cache once or twice.
static GMutex sharedLock;
static ZvUrlCache* sharedWrapper;
static std::vector<ZvUrlCache*> retiredWrappers;

static void replaceSharedWrapper(ZvUrlCache* wrapper)
{
    if (sharedWrapper)
        retiredWrappers.push_back(sharedWrapper);
    sharedWrapper = wrapper;
}

/**
 * zv_url_cache_get_shared:
 *
 * The cache every scheme handler uses: by default
 * `$XDG_CACHE_HOME/<program name>/URLCache.sqlite`, opened on first use.
 *
 * Returns: (transfer none): the shared cache
 */
ZvUrlCache* zv_url_cache_get_shared(void)
{
    g_autoptr(GMutexLocker) locker = g_mutex_locker_new(&sharedLock);
    auto cache = zv::URLCache::shared();
    if (!sharedWrapper || *sharedWrapper->cache != cache)
        replaceSharedWrapper(wrap(std::move(cache)));
    return sharedWrapper;
}

/**
 * zv_url_cache_set_shared:
 * @cache: the cache the scheme handlers use from now on
 *
 * Replaces the shared cache. zv_url_cache_get_shared() answers @cache from
 * now on; what it answered before stays usable.
 */
void zv_url_cache_set_shared(ZvUrlCache* cache)
{
    g_return_if_fail(ZV_IS_URL_CACHE(cache));
    g_autoptr(GMutexLocker) locker = g_mutex_locker_new(&sharedLock);
    zv::URLCache::setShared(*cache->cache);
    if (cache != sharedWrapper)
        replaceSharedWrapper(ZV_URL_CACHE(g_object_ref(cache)));
}

/**
 * zv_url_cache_lookup:
 * @self: a cache
 * @url: the address
 * @mime_type: (out) (optional) (nullable) (transfer full): the content's type
 * @status: (out) (optional): the HTTP status, 0 for a load that was not HTTP
 *
 * Returns: (transfer full) (nullable): the body stored for @url, or %NULL
 *   when there is none
 */
GBytes* zv_url_cache_lookup(ZvUrlCache* self, const char* url, char** mime_type, guint* status)
{
    g_return_val_if_fail(ZV_IS_URL_CACHE(self), nullptr);
    if (mime_type)
        *mime_type = nullptr;
    if (status)
        *status = 0;
    auto cached = (*self->cache)->cachedResponse(zv::glib::Utf8Input(url).string());
    if (!cached)
        return nullptr;
    if (mime_type)
        *mime_type = zv::glib::newText(cached->response.mimeType);
    if (status)
        *status = cached->response.statusCode;
    return g_bytes_new(cached->data.data(), cached->data.size());
}

/**
 * zv_url_cache_store:
 * @self: a cache
 * @url: the address
 * @mime_type: the content's type
 * @status: the HTTP status, 0 for a load that was not HTTP
 * @body: the content
 *
 * Replaces what is stored for @url. A body larger than a twentieth of the
 * capacity is not kept.
 */
void zv_url_cache_store(ZvUrlCache* self, const char* url, const char* mime_type, guint status, GBytes* body)
{
    g_return_if_fail(ZV_IS_URL_CACHE(self));
    g_return_if_fail(body);
    std::string address = zv::glib::Utf8Input(url).string();
    std::string type = zv::glib::Utf8Input(mime_type).string();
    gsize size = 0;
    auto* bytes = static_cast<const uint8_t*>(g_bytes_get_data(body, &size));
    zv::CachedURLResponse cached;
    cached.response = status ? zv::URLResponse::http(address, int(status), "HTTP/1.1", {{"Content-Type", type}})
                             : zv::URLResponse::forData(address, type, int64_t(size));
    cached.response.mimeType = type;
    cached.data.assign(bytes, bytes + size);
    (*self->cache)->storeCachedResponse(address, cached);
}

/**
 * zv_url_cache_remove:
 * @self: a cache
 * @url: the address
 *
 * Forgets what is stored for @url.
 */
void zv_url_cache_remove(ZvUrlCache* self, const char* url)
{
    g_return_if_fail(ZV_IS_URL_CACHE(self));
    (*self->cache)->removeCachedResponse(zv::glib::Utf8Input(url).string());
}

/**
 * zv_url_cache_clear:
 * @self: a cache
 *
 * Forgets everything.
 */
void zv_url_cache_clear(ZvUrlCache* self)
{
    g_return_if_fail(ZV_IS_URL_CACHE(self));
    (*self->cache)->removeAllCachedResponses();
}

/**
 * zv_url_cache_get_current_usage:
 * @self: a cache
 *
 * Returns: the bytes of bodies stored now
 */
gint64 zv_url_cache_get_current_usage(ZvUrlCache* self)
{
    g_return_val_if_fail(ZV_IS_URL_CACHE(self), 0);
    return (*self->cache)->currentUsage();
}

/**
 * zv_url_cache_get_capacity:
 * @self: a cache
 *
 * Returns: the most bytes of bodies the cache keeps
 */
gint64 zv_url_cache_get_capacity(ZvUrlCache* self)
{
    g_return_val_if_fail(ZV_IS_URL_CACHE(self), 0);
    return (*self->cache)->capacity();
}

/**
 * zv_url_cache_is_on_disk:
 * @self: a cache
 *
 * Returns: %FALSE when the cache fell back to memory because no file could
 *   be used
 */
gboolean zv_url_cache_is_on_disk(ZvUrlCache* self)
{
    g_return_val_if_fail(ZV_IS_URL_CACHE(self), FALSE);
    return (*self->cache)->isOnDisk();
}
