#include "zv-private.h"

#include <zv/foundation/Bundle.h>
#include <zv/foundation/URL.h>
#include <zv/page/ZVWebWindowController.h>

#include <map>

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
 * else at its top. Links that leave the page go to the open_uri hook (the
 * desktop's handler).
 *
 * A page's controller is given as an instance
 * (zv_web_window_controller_set_page_controller()), or as a type registered
 * under the page's name (zv_web_window_controller_register_page()): loading
 * that page, or the page calling
 * `WindowController.setPageControllerClassName(name)`, makes a new one.
 * Subclasses may make them in their create_page_controller hook instead.
 *
 * Main thread only.
 */
namespace {

struct Private {
    std::shared_ptr<zv::ZVWebWindowController> window;
    ZvWebView* webView = nullptr;
    std::map<std::string, GType, std::less<>> pages;
};

}  // namespace

typedef struct {
    Private* p;
} ZvWebWindowControllerPrivate;

G_DEFINE_TYPE_WITH_PRIVATE(ZvWebWindowController, zv_web_window_controller, G_TYPE_OBJECT)

static Private* privateOf(ZvWebWindowController* self)
{
    return static_cast<ZvWebWindowControllerPrivate*>(zv_web_window_controller_get_instance_private(self))->p;
}

static ZvPageController* createRegisteredPageController(ZvWebWindowController* self, const char* name)
{
    auto* p = privateOf(self);
    auto page = p->pages.find(std::string_view(name ? name : ""));
    return page == p->pages.end() ? nullptr : ZV_PAGE_CONTROLLER(g_object_new(page->second, nullptr));
}

// The window's controller is about to be replaced.
static void leaveWindow(ZvWebWindowController* self)
{
    if (ZvPageController* current = zv::glib::pageControllerWrapper(privateOf(self)->window->pageController()))
        zv::glib::cancelPendingLoad(current);
}

static void openWithDesktop(ZvWebWindowController*, const char* uri)
{
    g_autoptr(GError) error = nullptr;
    if (!g_app_info_launch_default_for_uri(uri, nullptr, &error))
        g_warning("Cannot open %s: %s", uri, error->message);
}

// The window, its view and a page controller without hooks; the engine asks
// this object's hooks for named pages and for links that leave the page.
static void zv_web_window_controller_constructed(GObject* object)
{
    G_OBJECT_CLASS(zv_web_window_controller_parent_class)->constructed(object);
    auto* self = ZV_WEB_WINDOW_CONTROLLER(object);
    auto* p = privateOf(self);
    p->window = zv::ZVWebWindowController::create();
    p->webView = zv::glib::wrapWebView(p->window->webView());
    p->window->setPageControllerFactory([self](const std::string& name) -> std::shared_ptr<zv::ZVWebPageController> {
        g_autoptr(ZvPageController) controller = zv_web_window_controller_create_page_controller(self, name.c_str());
        if (!controller)
            return nullptr;
        leaveWindow(self);  // the engine puts the new one in its place
        return zv::glib::pageControllerOf(controller);
    });
    p->window->setURLOpener([self](const zv::URL& url) {
        zv_web_window_controller_open_uri(self, url.string().c_str());
    });
    g_autoptr(ZvPageController) controller = zv_page_controller_new();
    zv_web_window_controller_set_page_controller(self, controller);
}

static void zv_web_window_controller_dispose(GObject* object)
{
    auto* p = privateOf(ZV_WEB_WINDOW_CONTROLLER(object));
    if (p->window) {
        p->window->setPageControllerFactory(nullptr);
        p->window->setURLOpener(nullptr);
        p->window->closeWindow();
        leaveWindow(ZV_WEB_WINDOW_CONTROLLER(object));
        p->window->setPageController(nullptr);
    }
    p->window.reset();
    g_clear_object(&p->webView);
    G_OBJECT_CLASS(zv_web_window_controller_parent_class)->dispose(object);
}

static void zv_web_window_controller_finalize(GObject* object)
{
    delete privateOf(ZV_WEB_WINDOW_CONTROLLER(object));
    G_OBJECT_CLASS(zv_web_window_controller_parent_class)->finalize(object);
}

static void zv_web_window_controller_class_init(ZvWebWindowControllerClass* klass)
{
    G_OBJECT_CLASS(klass)->constructed = zv_web_window_controller_constructed;
    G_OBJECT_CLASS(klass)->dispose = zv_web_window_controller_dispose;
    G_OBJECT_CLASS(klass)->finalize = zv_web_window_controller_finalize;
    klass->create_page_controller = createRegisteredPageController;
    klass->open_uri = openWithDesktop;
}

static void zv_web_window_controller_init(ZvWebWindowController* self)
{
    static_cast<ZvWebWindowControllerPrivate*>(zv_web_window_controller_get_instance_private(self))->p = new Private;
}

/**
 * zv_web_window_controller_new:
 *
 * A hidden window with a web view and a page controller without hooks.
 * GTK must be initialized.
 *
 * Returns: (transfer full): the controller
 */
ZvWebWindowController* zv_web_window_controller_new(void)
{
    g_return_val_if_fail(gtk_is_initialized(), nullptr);
    return ZV_WEB_WINDOW_CONTROLLER(g_object_new(ZV_TYPE_WEB_WINDOW_CONTROLLER, nullptr));
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
    return privateOf(self)->window->window();
}

/**
 * zv_web_window_controller_get_web_view:
 * @self: a controller
 *
 * Returns: (transfer none): the view showing the page
 */
ZvWebView* zv_web_window_controller_get_web_view(ZvWebWindowController* self)
{
    g_return_val_if_fail(ZV_IS_WEB_WINDOW_CONTROLLER(self), nullptr);
    return privateOf(self)->webView;
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
    return zv::glib::pageControllerWrapper(privateOf(self)->window->pageController());
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
    if (controller != zv_web_window_controller_get_page_controller(self))
        leaveWindow(self);
    privateOf(self)->window->setPageController(zv::glib::pageControllerOf(controller));
}

/**
 * zv_web_window_controller_register_page:
 * @self: a controller
 * @name: the page's name: its file name without extension ("About"), or the
 *   name it gives `WindowController.setPageControllerClassName()`
 * @controller_type: a #ZvPageController type, made anew for each load
 *
 * Registers the controller type of a page; a subclass written in Python or
 * Vala is registered by its type.
 */
void zv_web_window_controller_register_page(ZvWebWindowController* self, const char* name, GType controller_type)
{
    g_return_if_fail(ZV_IS_WEB_WINDOW_CONTROLLER(self));
    g_return_if_fail(name && *name);
    g_return_if_fail(g_type_is_a(controller_type, ZV_TYPE_PAGE_CONTROLLER));
    g_return_if_fail(!G_TYPE_IS_ABSTRACT(controller_type));
    privateOf(self)->pages[name] = controller_type;
}

/**
 * zv_web_window_controller_create_page_controller: (virtual create_page_controller)
 * @self: a controller
 * @name: the page's name
 *
 * Makes the controller of the page @name.
 *
 * Returns: (transfer full) (nullable): a new controller, or %NULL when the
 *   page has none of its own
 */
ZvPageController* zv_web_window_controller_create_page_controller(ZvWebWindowController* self, const char* name)
{
    g_return_val_if_fail(ZV_IS_WEB_WINDOW_CONTROLLER(self), nullptr);
    auto* klass = ZV_WEB_WINDOW_CONTROLLER_GET_CLASS(self);
    return klass->create_page_controller ? klass->create_page_controller(self, name) : nullptr;
}

/**
 * zv_web_window_controller_open_uri: (virtual open_uri)
 * @self: a controller
 * @uri: the address a link of the page leads to
 *
 * Opens a link that leaves the page.
 */
void zv_web_window_controller_open_uri(ZvWebWindowController* self, const char* uri)
{
    g_return_if_fail(ZV_IS_WEB_WINDOW_CONTROLLER(self));
    g_return_if_fail(uri);
    auto* klass = ZV_WEB_WINDOW_CONTROLLER_GET_CLASS(self);
    if (klass->open_uri)
        klass->open_uri(self, uri);
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
    privateOf(self)->window->setResourceBundle(std::make_shared<const zv::Bundle>(path));
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
    privateOf(self)->window->setPreferredLocalization(language ? std::optional<std::string>(language) : std::nullopt);
}

/**
 * zv_web_window_controller_load_file:
 * @self: a controller
 * @name: the page's file name without extension ("About")
 * @extension: its extension ("html")
 *
 * Loads a page of the resource directory; the window shows once it loaded.
 * A page with a controller of its own (create_page_controller) gets a new
 * one; any other keeps the current controller.
 */
void zv_web_window_controller_load_file(ZvWebWindowController* self, const char* name, const char* extension)
{
    g_return_if_fail(ZV_IS_WEB_WINDOW_CONTROLLER(self));
    g_autoptr(ZvPageController) controller = zv_web_window_controller_create_page_controller(self, name);
    if (controller)
        zv_web_window_controller_set_page_controller(self, controller);
    privateOf(self)->window->loadFile(zv::glib::Utf8Input(name).string(), zv::glib::Utf8Input(extension).string());
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
        privateOf(self)->window->loadURL(*url);
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
    privateOf(self)->window->exposeWindowMethodsToPage();
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
    privateOf(self)->window->closeWindow();
}
