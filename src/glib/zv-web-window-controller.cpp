#include "zv-private.h"

#include <zv/foundation/Bundle.h>
#include <zv/foundation/URL.h>
#include <zv/page/ZVWebWindowController.h>

/**
 * ZvWebWindowController:
 *
 * A window showing one of the host's own HTML pages, driven by a
 * #ZvPageController. Loading a page fetches it, merges its
 * `<include src="…" name="…"></include>` elements, sizes the window,
 * localizes the document through the page controller's strings, gives the
 * page its `PageController` script object and shows the window when the
 * page has loaded. Pages are found by zv_web_window_controller_load_file()
 * in the resource directory, in `<lang>.lproj` for the preferred language,
 * else at its top. Links that leave the page go to the desktop's handler.
 *
 * Main thread only.
 */
struct _ZvWebWindowController {
    GObject parent_instance;
    struct Private {
        std::shared_ptr<zv::ZVWebWindowController> window;
        ZvPageController* pageController = nullptr;
    }* p;
};

G_DEFINE_FINAL_TYPE(ZvWebWindowController, zv_web_window_controller, G_TYPE_OBJECT)

static void zv_web_window_controller_dispose(GObject* object)
{
    auto* self = ZV_WEB_WINDOW_CONTROLLER(object);
    if (self->p->window) {
        self->p->window->closeWindow();
        self->p->window->setPageController(nullptr);
    }
    self->p->window.reset();
    g_clear_object(&self->p->pageController);
    G_OBJECT_CLASS(zv_web_window_controller_parent_class)->dispose(object);
}

static void zv_web_window_controller_finalize(GObject* object)
{
    delete ZV_WEB_WINDOW_CONTROLLER(object)->p;
    G_OBJECT_CLASS(zv_web_window_controller_parent_class)->finalize(object);
}

static void zv_web_window_controller_class_init(ZvWebWindowControllerClass* klass)
{
    G_OBJECT_CLASS(klass)->dispose = zv_web_window_controller_dispose;
    G_OBJECT_CLASS(klass)->finalize = zv_web_window_controller_finalize;
}

static void zv_web_window_controller_init(ZvWebWindowController* self)
{
    self->p = new _ZvWebWindowController::Private;
}

/**
 * zv_web_window_controller_new:
 *
 * A hidden window with a web view and a page controller without hooks.
 *
 * Returns: (transfer full): the controller
 */
ZvWebWindowController* zv_web_window_controller_new(void)
{
    g_return_val_if_fail(gtk_is_initialized(), nullptr);
    auto* self = ZV_WEB_WINDOW_CONTROLLER(g_object_new(ZV_TYPE_WEB_WINDOW_CONTROLLER, nullptr));
    self->p->window = zv::ZVWebWindowController::create();
    g_autoptr(ZvPageController) controller = zv_page_controller_new();
    zv_web_window_controller_set_page_controller(self, controller);
    return self;
}

/**
 * zv_web_window_controller_get_window:
 * @self: a controller
 *
 * Returns: (transfer none): the window
 */
GtkWindow* zv_web_window_controller_get_window(ZvWebWindowController* self)
{
    g_return_val_if_fail(ZV_IS_WEB_WINDOW_CONTROLLER(self), nullptr);
    return self->p->window->window();
}

/**
 * zv_web_window_controller_get_web_view:
 * @self: a controller
 *
 * Returns: (transfer full): the view showing the page
 */
ZvWebView* zv_web_window_controller_get_web_view(ZvWebWindowController* self)
{
    g_return_val_if_fail(ZV_IS_WEB_WINDOW_CONTROLLER(self), nullptr);
    return ZV_WEB_VIEW(g_object_ref(zv::glib::wrapWebView(self->p->window->webView())));
}

/**
 * zv_web_window_controller_get_page_controller:
 * @self: a controller
 *
 * Returns: (transfer none): the page's controller
 */
ZvPageController* zv_web_window_controller_get_page_controller(ZvWebWindowController* self)
{
    g_return_val_if_fail(ZV_IS_WEB_WINDOW_CONTROLLER(self), nullptr);
    return self->p->pageController;
}

/**
 * zv_web_window_controller_set_page_controller:
 * @self: a controller
 * @controller: the controller of the pages loaded from now on
 *
 * Attaches @controller to the window.
 */
void zv_web_window_controller_set_page_controller(ZvWebWindowController* self, ZvPageController* controller)
{
    g_return_if_fail(ZV_IS_WEB_WINDOW_CONTROLLER(self));
    g_return_if_fail(ZV_IS_PAGE_CONTROLLER(controller));
    g_set_object(&self->p->pageController, controller);
    self->p->window->setPageController(zv::glib::pageControllerOf(controller));
}

/**
 * zv_web_window_controller_set_resource_directory:
 * @self: a controller
 * @path: (type filename): the folder of the host's pages, with their
 *   `<lang>.lproj` folders
 *
 * Where zv_web_window_controller_load_file() finds pages and their strings.
 */
void zv_web_window_controller_set_resource_directory(ZvWebWindowController* self, const char* path)
{
    g_return_if_fail(ZV_IS_WEB_WINDOW_CONTROLLER(self));
    g_return_if_fail(path);
    self->p->window->setResourceBundle(std::make_shared<const zv::Bundle>(path));
}

/**
 * zv_web_window_controller_set_preferred_localization:
 * @self: a controller
 * @language: (nullable): the language of the pages ("de"); %NULL follows
 *   the user's languages
 *
 * Which `<lang>.lproj` pages and strings are taken.
 */
void zv_web_window_controller_set_preferred_localization(ZvWebWindowController* self, const char* language)
{
    g_return_if_fail(ZV_IS_WEB_WINDOW_CONTROLLER(self));
    self->p->window->setPreferredLocalization(language ? std::optional<std::string>(language) : std::nullopt);
}

/**
 * zv_web_window_controller_load_file:
 * @self: a controller
 * @name: the page's file name without extension ("About")
 * @extension: its extension ("html")
 *
 * Loads a page of the resource directory; the window shows once it loaded.
 */
void zv_web_window_controller_load_file(ZvWebWindowController* self, const char* name, const char* extension)
{
    g_return_if_fail(ZV_IS_WEB_WINDOW_CONTROLLER(self));
    self->p->window->loadFile(zv::glib::Utf8Input(name).string(), zv::glib::Utf8Input(extension).string());
}

/**
 * zv_web_window_controller_load_uri:
 * @self: a controller
 * @uri: the page's address (a file, or http and https)
 *
 * Loads a page; an address that is no URL loads nothing.
 */
void zv_web_window_controller_load_uri(ZvWebWindowController* self, const char* uri)
{
    g_return_if_fail(ZV_IS_WEB_WINDOW_CONTROLLER(self));
    if (auto url = zv::URL::parse(zv::glib::Utf8Input(uri).view()))
        self->p->window->loadURL(*url);
}

/**
 * zv_web_window_controller_expose_window_methods:
 * @self: a controller
 *
 * Gives the page a `WindowController` script object with `log(message)`,
 * `openURL(url)`, `closeWindow()` and `showEmbeddedPage(path)`.
 */
void zv_web_window_controller_expose_window_methods(ZvWebWindowController* self)
{
    g_return_if_fail(ZV_IS_WEB_WINDOW_CONTROLLER(self));
    self->p->window->exposeWindowMethodsToPage();
}

/**
 * zv_web_window_controller_close:
 * @self: a controller
 *
 * Hides the window.
 */
void zv_web_window_controller_close(ZvWebWindowController* self)
{
    g_return_if_fail(ZV_IS_WEB_WINDOW_CONTROLLER(self));
    self->p->window->closeWindow();
}
