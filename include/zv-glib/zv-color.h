/* HTML colour keywords. */
#pragma once

#include <glib.h>

G_BEGIN_DECLS

gboolean zv_color_for_name (const char *name,
                            guint8     *red,
                            guint8     *green,
                            guint8     *blue);

G_END_DECLS
