/* A window showing one of the host's own HTML pages. */
#pragma once

#include <gtk/gtk.h>
#include <zv-glib/zv-page-controller.h>
#include <zv-glib/zv-web-view.h>

G_BEGIN_DECLS

#define ZV_TYPE_WEB_WINDOW_CONTROLLER (zv_web_window_controller_get_type ())
G_DECLARE_DERIVABLE_TYPE (ZvWebWindowController, zv_web_window_controller, ZV, WEB_WINDOW_CONTROLLER, GObject)

/**
 * ZvWebWindowControllerClass:
 * @parent_class: the parent class
 * @create_page_controller: the controller of the page @name, or %NULL; by
 *   default a new instance of the type registered for @name
 * @open_uri: a link leaving the page; by default the desktop opens it
 *
 * The hooks a window's controller overrides.
 */
struct _ZvWebWindowControllerClass {
  GObjectClass parent_class;

  ZvPageController *(*create_page_controller) (ZvWebWindowController *self,
                                               const char            *name);
  void              (*open_uri)               (ZvWebWindowController *self,
                                               const char            *uri);

  /*< private >*/
  gpointer padding[8];
};

ZvWebWindowController *zv_web_window_controller_new                 (void);
GtkWindow        *zv_web_window_controller_get_window               (ZvWebWindowController *self);
ZvWebView        *zv_web_window_controller_get_web_view             (ZvWebWindowController *self);
ZvPageController *zv_web_window_controller_get_page_controller      (ZvWebWindowController *self);
void              zv_web_window_controller_set_page_controller      (ZvWebWindowController *self,
                                                                     ZvPageController      *controller);
void              zv_web_window_controller_register_page            (ZvWebWindowController *self,
                                                                     const char            *name,
                                                                     GType                  controller_type);
ZvPageController *zv_web_window_controller_create_page_controller   (ZvWebWindowController *self,
                                                                     const char            *name);
void              zv_web_window_controller_open_uri                 (ZvWebWindowController *self,
                                                                     const char            *uri);
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
