/* The process's cache of URL loads, in SQLite on disk. */
#pragma once

#include <glib-object.h>

G_BEGIN_DECLS

#define ZV_TYPE_URL_CACHE (zv_url_cache_get_type ())
G_DECLARE_FINAL_TYPE (ZvUrlCache, zv_url_cache, ZV, URL_CACHE, GObject)

ZvUrlCache *zv_url_cache_new               (const char *path,
                                            gint64      capacity);
ZvUrlCache *zv_url_cache_get_shared        (void);
void        zv_url_cache_set_shared        (ZvUrlCache *cache);

GBytes     *zv_url_cache_lookup            (ZvUrlCache  *self,
                                            const char  *url,
                                            char       **mime_type,
                                            guint       *status);
void        zv_url_cache_store             (ZvUrlCache *self,
                                            const char *url,
                                            const char *mime_type,
                                            guint       status,
                                            GBytes     *body);
void        zv_url_cache_remove            (ZvUrlCache *self,
                                            const char *url);
void        zv_url_cache_clear             (ZvUrlCache *self);
gint64      zv_url_cache_get_current_usage (ZvUrlCache *self);
gint64      zv_url_cache_get_capacity      (ZvUrlCache *self);
gboolean    zv_url_cache_is_on_disk        (ZvUrlCache *self);

G_END_DECLS
