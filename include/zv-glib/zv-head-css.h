/* A message's head style sheets: purged, or copied onto its elements. */
#pragma once

#include <glib.h>

G_BEGIN_DECLS

char *zv_purge_head_css (const char         *html,
                         const char * const *filters);

char *zv_apply_head_css (const char          *html,
                         gboolean             purge,
                         const char * const  *exclusions,
                         const char * const  *scopes,
                         GError             **error);

G_END_DECLS
