/* The find bar of a find controller, as a widget. */
#pragma once

#include <gtk/gtk.h>
#include <zv-glib/zv-find-controller.h>

G_BEGIN_DECLS

#define ZV_TYPE_FIND_BAR (zv_find_bar_get_type ())
G_DECLARE_FINAL_TYPE (ZvFindBar, zv_find_bar, ZV, FIND_BAR, GtkWidget)

GtkWidget        *zv_find_bar_new            (ZvFindController *controller);
ZvFindController *zv_find_bar_get_controller (ZvFindBar        *self);
void              zv_find_bar_focus          (ZvFindBar        *self,
                                              const char       *text);

G_END_DECLS
