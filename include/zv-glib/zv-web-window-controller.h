/* A window showing one of the host's own HTML pages. */
#pragma once

#include <gtk/gtk.h>
#include <zv-glib/zv-page-controller.h>
#include <zv-glib/zv-web-view.h>

G_BEGIN_DECLS

#define ZV_TYPE_WEB_WINDOW_CONTROLLER (zv_web_window_controller_get_type ())
G_DECLARE_FINAL_TYPE (ZvWebWindowController, zv_web_window_controller, ZV, WEB_WINDOW_CONTROLLER, GObject)

ZvWebWindowController *zv_web_window_controller_new                 (void);
GtkWindow        *zv_web_window_controller_get_window               (ZvWebWindowController *self);
ZvWebView        *zv_web_window_controller_get_web_view             (ZvWebWindowController *self);
ZvPageController *zv_web_window_controller_get_page_controller      (ZvWebWindowController *self);
void              zv_web_window_controller_set_page_controller      (ZvWebWindowController *self,
                                                                     ZvPageController      *controller);
void              zv_web_window_controller_set_resource_directory   (ZvWebWindowController *self,
                                                                     const char            *path);
void              zv_web_window_controller_set_preferred_localization (ZvWebWindowController *self,
                                                                       const char            *language);
void              zv_web_window_controller_load_file                (ZvWebWindowController *self,
                                                                     const char            *name,
                                                                     const char            *extension);
void              zv_web_window_controller_load_uri                 (ZvWebWindowController *self,
                                                                     const char            *uri);
void              zv_web_window_controller_expose_window_methods    (ZvWebWindowController *self);
void              zv_web_window_controller_close                    (ZvWebWindowController *self);

G_END_DECLS
