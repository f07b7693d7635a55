/* The native side of one HTML page shown in a page window. */
#pragma once

#include <gtk/gtk.h>
#include <zv-glib/zv-web-view.h>

G_BEGIN_DECLS

#define ZV_TYPE_PAGE_CONTROLLER (zv_page_controller_get_type ())
G_DECLARE_DERIVABLE_TYPE (ZvPageController, zv_page_controller, ZV, PAGE_CONTROLLER, GObject)

/**
 * ZvPageControllerClass:
 * @parent_class: the parent class
 * @page_will_load: the page is about to load; the web view is there
 * @page_did_load: the page has loaded
 * @page_failed: the page could not be fetched
 * @action: class handler of #ZvPageController::action
 * @expand_variable: the value of a `${name}` variable no table holds, or
 *   %NULL to leave it empty
 *
 * The hooks a page's controller overrides.
 */
struct _ZvPageControllerClass {
  GObjectClass parent_class;

  void  (*page_will_load)  (ZvPageController *self);
  void  (*page_did_load)   (ZvPageController *self);
  void  (*page_failed)     (ZvPageController *self);
  void  (*action)          (ZvPageController *self,
                            const char       *name,
                            GVariant         *body);
  char *(*expand_variable) (ZvPageController *self,
                            const char       *name,
                            const char       *key);

  /*< private >*/
  gpointer padding[8];
};

ZvPageController *zv_page_controller_new                   (void);
void              zv_page_controller_register_action       (ZvPageController *self,
                                                            const char       *name);
ZvWebView        *zv_page_controller_get_web_view          (ZvPageController *self);
char             *zv_page_controller_expand_variable       (ZvPageController *self,
                                                            const char       *name,
                                                            const char       *key);

void              zv_page_controller_load_uri_async        (ZvPageController    *self,
                                                            const char          *uri,
                                                            GCancellable        *cancellable,
                                                            GAsyncReadyCallback  callback,
                                                            gpointer             user_data);
gboolean          zv_page_controller_load_uri_finish       (ZvPageController  *self,
                                                            GAsyncResult      *result,
                                                            GError           **error);

void              zv_page_controller_set_strings_directory (ZvPageController *self,
                                                            const char       *path);
void              zv_page_controller_set_strings_table     (ZvPageController *self,
                                                            const char       *table);
char             *zv_page_controller_get_localized_string  (ZvPageController *self,
                                                            const char       *key,
                                                            const char       *default_value);
void              zv_page_controller_set_localized_string  (ZvPageController *self,
                                                            const char       *key,
                                                            const char       *value);
void              zv_page_controller_set_variable          (ZvPageController *self,
                                                            const char       *name,
                                                            const char       *value,
                                                            const char       *key);
void              zv_page_controller_set_page_size         (ZvPageController *self,
                                                            double            width,
                                                            double            height);

char             *zv_page_controller_get_element_content   (ZvPageController *self,
                                                            const char       *element_id);
void              zv_page_controller_set_element_content   (ZvPageController *self,
                                                            const char       *element_id,
                                                            const char       *text);
void              zv_page_controller_set_element_html      (ZvPageController *self,
                                                            const char       *element_id,
                                                            const char       *html);
void              zv_page_controller_set_element_hidden    (ZvPageController *self,
                                                            const char       *element_id,
                                                            gboolean          hidden);

G_END_DECLS
