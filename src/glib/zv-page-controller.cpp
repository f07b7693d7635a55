#include "zv-private.h"

#include <zv/foundation/Bundle.h>
#include <zv/foundation/URL.h>
#include <zv/page/ZVWebPageController.h>

/**
 * ZvPageController:
 *
 * The native side of a page shown by a #ZvWebWindowController (an About
 * box, a help page, a small dialog). Subclass it, from C, Python or Vala,
 * once per page, and give the window an instance
 * (zv_web_window_controller_set_page_controller()) or the type
 * (zv_web_window_controller_register_page()):
 *
 * - the hooks page_will_load, page_did_load and page_failed follow the
 *   page's loads;
 * - the page calls `PageController.name(value)` for each name given to
 *   zv_page_controller_register_action(); the call reaches the class's
 *   action handler and #ZvPageController::action (detailed by the name),
 *   with the value as a #GVariant (%NULL for none);
 * - the page's strings come from strings tables
 *   (`<lang>.lproj/<Page>.html.strings` in the strings directory), with
 *   overrides and `${name}` variables set here; elements marked with
 *   `localizationkey` are filled before the page is shown;
 * - the live page is read and written by element id.
 *
 * Main thread only.
 */

namespace {

// The engine's page controller, carrying the hooks to the GObject.
class HostPageController final : public zv::ZVWebPageController {
public:
    explicit HostPageController(ZvPageController* wrapper) { g_weak_ref_init(&wrapper_, wrapper); }
    ~HostPageController() override { g_weak_ref_clear(&wrapper_); }
    HostPageController(const HostPageController&) = delete;
    HostPageController& operator=(const HostPageController&) = delete;

    // The page's functions go in before the page's own hook runs.
    void pageWillLoad() override
    {
        for (const auto& name : actionNames_)
            registerJavascriptMethod(name);
        hook(&ZvPageControllerClass::page_will_load);
    }
    void pageDidLoad() override { hook(&ZvPageControllerClass::page_did_load); }
    void pageFailed() override { hook(&ZvPageControllerClass::page_failed); }

    void registerHostAction(const std::string& name);

protected:
    VariableResolver variableResolver() const override
    {
        return [this](const std::string& name, const std::string& key) -> std::optional<std::string> {
            g_autoptr(ZvPageController) self = wrapper();
            g_autofree char* value = self ? zv_page_controller_expand_variable(self, name.c_str(), key.c_str()) : nullptr;
            return value ? std::optional<std::string>(value) : std::nullopt;
        };
    }

public:
    ZvPageController* wrapper() const
    {
        return static_cast<ZvPageController*>(g_weak_ref_get(const_cast<GWeakRef*>(&wrapper_)));
    }

private:
    using Hook = void (*)(ZvPageController*);
    void hook(Hook ZvPageControllerClass::*field)
    {
        g_autoptr(ZvPageController) self = wrapper();
        if (!self)
            return;
        if (Hook method = ZV_PAGE_CONTROLLER_GET_CLASS(self)->*field)
            method(self);
    }

    GWeakRef wrapper_;
    std::vector<std::string> actionNames_;
};

}  // namespace

typedef struct {
    std::shared_ptr<HostPageController> controller;
    ZvWebView* webView;  // the wrapper last handed out
    std::shared_ptr<GTask*> pendingLoad;  // the load_uri_async task not yet answered
} ZvPageControllerPrivate;

G_DEFINE_TYPE_WITH_PRIVATE(ZvPageController, zv_page_controller, G_TYPE_OBJECT)

enum { SIGNAL_ACTION, N_SIGNALS };
static guint signals[N_SIGNALS];

void HostPageController::registerHostAction(const std::string& name)
{
    registerAction(name, [this, name](const zv::Notification& notification) {
        g_autoptr(ZvPageController) self = wrapper();
        if (!self)
            return;
        const auto& message = notification.userInfo.is_object() ? notification.userInfo.value("ScriptMessage", zv::Value())
                                                                 : zv::Value();
        GVariant* body = nullptr;
        if (message.is_object() && message.contains("body") && !message["body"].is_null())
            body = g_variant_ref_sink(zv::glib::variantFromValue(message["body"]));
        g_signal_emit(self, signals[SIGNAL_ACTION], g_quark_from_string(name.c_str()), name.c_str(), body);
        if (body)
            g_variant_unref(body);
    });
    actionNames_.push_back(name);
    registerJavascriptMethod(name);
}

static ZvPageControllerPrivate* privateOf(ZvPageController* self)
{
    return static_cast<ZvPageControllerPrivate*>(zv_page_controller_get_instance_private(self));
}

static void zv_page_controller_dispose(GObject* object)
{
    g_clear_object(&privateOf(ZV_PAGE_CONTROLLER(object))->webView);
    G_OBJECT_CLASS(zv_page_controller_parent_class)->dispose(object);
}

static void zv_page_controller_finalize(GObject* object)
{
    privateOf(ZV_PAGE_CONTROLLER(object))->~ZvPageControllerPrivate();
    G_OBJECT_CLASS(zv_page_controller_parent_class)->finalize(object);
}

static void zv_page_controller_class_init(ZvPageControllerClass* klass)
{
    G_OBJECT_CLASS(klass)->dispose = zv_page_controller_dispose;
    G_OBJECT_CLASS(klass)->finalize = zv_page_controller_finalize;
    /**
     * ZvPageController::action:
     * @self: the controller
     * @name: the action's name, also the signal's detail
     * @body: (nullable): the value the page passed, %NULL for none
     *
     * The page called `PageController.name(value)` for a name registered
     * with zv_page_controller_register_action().
     */
    signals[SIGNAL_ACTION] = g_signal_new("action", G_TYPE_FROM_CLASS(klass),
        GSignalFlags(G_SIGNAL_RUN_LAST | G_SIGNAL_DETAILED), G_STRUCT_OFFSET(ZvPageControllerClass, action), nullptr,
        nullptr, nullptr, G_TYPE_NONE, 2, G_TYPE_STRING, G_TYPE_VARIANT);
}

static void zv_page_controller_init(ZvPageController* self)
{
    auto* p = new (privateOf(self)) ZvPageControllerPrivate();
    p->controller = std::make_shared<HostPageController>(self);
}

static GTask* takePendingLoad(ZvPageControllerPrivate* p)
{
    return p->pendingLoad ? std::exchange(*p->pendingLoad, nullptr) : nullptr;
}

// Answers a load given up from the task's own main context, later: called
// from a dispatched source, GTask would run the callback at once, inside the
// host's call that replaced the load.
static void answerCancelledLater(GTask* task, const char* why)
{
    struct Answer {
        GTask* task;
        const char* why;
    };
    GSource* idle = g_idle_source_new();
    g_source_set_callback(
        idle,
        [](gpointer data) -> gboolean {
            std::unique_ptr<Answer> answer(static_cast<Answer*>(data));
            g_autoptr(GTask) task = answer->task;
            g_task_return_new_error(task, G_IO_ERROR, G_IO_ERROR_CANCELLED, "%s", answer->why);
            return G_SOURCE_REMOVE;
        },
        new Answer{task, why}, nullptr);
    g_source_attach(idle, g_task_get_context(task));
    g_source_unref(idle);
}

namespace zv::glib {

void cancelPendingLoad(ZvPageController* controller)
{
    if (GTask* task = takePendingLoad(privateOf(controller)))
        answerCancelledLater(task, "the page controller left its window");
}

// The engine holds the wrapper as long as the engine's controller: a
// controller made for a page's name has nobody else to keep it.
std::shared_ptr<ZVWebPageController> pageControllerOf(ZvPageController* controller)
{
    std::shared_ptr<void> owner(g_object_ref(controller), g_object_unref);
    return std::shared_ptr<ZVWebPageController>(owner, privateOf(controller)->controller.get());
}

ZvPageController* pageControllerWrapper(const std::shared_ptr<ZVWebPageController>& controller)
{
    auto* host = dynamic_cast<HostPageController*>(controller.get());
    ZvPageController* wrapper = host ? host->wrapper() : nullptr;
    if (wrapper)
        g_object_unref(wrapper);  // the engine's reference keeps it
    return wrapper;
}

}  // namespace zv::glib

/**
 * zv_page_controller_new:
 *
 * A controller with no hooks, for a page that only needs strings.
 *
 * Returns: (transfer full): the controller
 */
ZvPageController* zv_page_controller_new(void)
{
    return ZV_PAGE_CONTROLLER(g_object_new(ZV_TYPE_PAGE_CONTROLLER, nullptr));
}

/**
 * zv_page_controller_register_action:
 * @self: a controller
 * @name: the function's name in the page's `PageController` object
 *
 * Gives the page the function `PageController.name`, whose calls reach
 * #ZvPageController::action. Register in page_will_load, or before the
 * page loads.
 */
void zv_page_controller_register_action(ZvPageController* self, const char* name)
{
    g_return_if_fail(ZV_IS_PAGE_CONTROLLER(self));
    g_return_if_fail(name && *name);
    privateOf(self)->controller->registerHostAction(zv::glib::Utf8Input(name).string());
}

/**
 * zv_page_controller_get_web_view:
 * @self: a controller
 *
 * Returns: (transfer none) (nullable): the view showing the page, %NULL
 *   while the controller is in no window
 */
ZvWebView* zv_page_controller_get_web_view(ZvPageController* self)
{
    g_return_val_if_fail(ZV_IS_PAGE_CONTROLLER(self), nullptr);
    auto* p = privateOf(self);
    g_autoptr(ZvWebView) view = zv::glib::wrapWebView(p->controller->webView());
    g_set_object(&p->webView, view);
    return p->webView;
}

/**
 * zv_page_controller_expand_variable: (virtual expand_variable)
 * @self: a controller
 * @name: the variable's name
 * @key: the key of the string it is in
 *
 * Asked for a `${name}` variable of the page's strings that no table holds.
 *
 * Returns: (transfer full) (nullable): the value, or %NULL to leave the
 *   variable empty
 */
char* zv_page_controller_expand_variable(ZvPageController* self, const char* name, const char* key)
{
    g_return_val_if_fail(ZV_IS_PAGE_CONTROLLER(self), nullptr);
    auto* klass = ZV_PAGE_CONTROLLER_GET_CLASS(self);
    return klass->expand_variable ? klass->expand_variable(self, name, key) : nullptr;
}

/**
 * zv_page_controller_load_uri_async:
 * @self: a controller in a window
 * @uri: the page's address (a file, or http and https)
 * @cancellable: (nullable): to stop waiting
 * @callback: (scope async): called when the page has loaded or failed
 * @user_data: (closure): for @callback
 *
 * Has the window load the page. A load started before this one has
 * answered, or whose controller leaves the window first, is given up: its
 * callback gets %G_IO_ERROR_CANCELLED. A controller in no window fails at
 * once (%ZV_ERROR_LOAD_FAILED).
 */
void zv_page_controller_load_uri_async(ZvPageController* self, const char* uri, GCancellable* cancellable,
                                       GAsyncReadyCallback callback, gpointer user_data)
{
    g_return_if_fail(ZV_IS_PAGE_CONTROLLER(self));
    g_autoptr(GTask) task = g_task_new(self, cancellable, callback, user_data);
    auto url = zv::URL::parse(zv::glib::Utf8Input(uri).view());
    if (!url) {
        g_task_return_new_error(task, ZV_ERROR, ZV_ERROR_INVALID_ARGUMENT, "\"%s\" is not a URL", uri ? uri : "");
        return;
    }
    // Without a window nothing loads, and the completion would wait for
    // whichever load a window makes once it is given this controller.
    if (!privateOf(self)->controller->windowController()) {
        g_task_return_new_error(task, ZV_ERROR, ZV_ERROR_LOAD_FAILED, "the page controller is in no window");
        return;
    }
    // The engine calls back after every later load too: only the first answers.
    auto pending = std::make_shared<GTask*>(static_cast<GTask*>(g_object_ref(task)));
    auto* p = privateOf(self);
    // The engine keeps one completion: a load still waiting loses its own to
    // this one, so it is answered here or never.
    if (GTask* replaced = takePendingLoad(p))
        answerCancelledLater(replaced, "a later load replaced this one");
    p->pendingLoad = pending;
    p->controller->loadURL(*url, [pending](std::optional<zv::Error> error) {
        g_autoptr(GTask) task = std::exchange(*pending, nullptr);
        if (!task)
            return;
        if (error)
            g_task_return_new_error(task, ZV_ERROR, ZV_ERROR_LOAD_FAILED, "%s", error->message.c_str());
        else
            g_task_return_boolean(task, TRUE);
    });
}

/**
 * zv_page_controller_load_uri_finish:
 * @self: a controller
 * @result: the result handed to the callback
 * @error: set when the page could not be loaded (%ZV_ERROR_LOAD_FAILED) or
 *   the load was given up (%G_IO_ERROR_CANCELLED)
 *
 * Returns: %TRUE when the page loaded
 */
gboolean zv_page_controller_load_uri_finish(ZvPageController* self, GAsyncResult* result, GError** error)
{
    g_return_val_if_fail(g_task_is_valid(result, self), FALSE);
    return g_task_propagate_boolean(G_TASK(result), error);
}

/**
 * zv_page_controller_set_strings_directory:
 * @self: a controller
 * @path: (type filename): a folder of `<lang>.lproj/<Table>.strings` files
 *
 * Where the page's strings tables are.
 */
void zv_page_controller_set_strings_directory(ZvPageController* self, const char* path)
{
    g_return_if_fail(ZV_IS_PAGE_CONTROLLER(self));
    g_return_if_fail(path);
    privateOf(self)->controller->setLocalizationBundle(std::make_shared<const zv::Bundle>(path));
}

/**
 * zv_page_controller_set_strings_table:
 * @self: a controller
 * @table: (nullable): the table's name; %NULL names it after the page's
 *   file ("About.html")
 *
 * Which strings table the page reads.
 */
void zv_page_controller_set_strings_table(ZvPageController* self, const char* table)
{
    g_return_if_fail(ZV_IS_PAGE_CONTROLLER(self));
    privateOf(self)->controller->setLocalizationTable(table ? std::optional<std::string>(table) : std::nullopt);
}

/**
 * zv_page_controller_get_localized_string:
 * @self: a controller
 * @key: the string's key
 * @default_value: (nullable): the answer when the table lacks @key
 *
 * Returns: (transfer full): the override set for @key, else the table's
 *   string, else @default_value when not empty, else @key
 */
char* zv_page_controller_get_localized_string(ZvPageController* self, const char* key, const char* default_value)
{
    g_return_val_if_fail(ZV_IS_PAGE_CONTROLLER(self), nullptr);
    return zv::glib::newText(privateOf(self)->controller->localizedStringForKey(zv::glib::Utf8Input(key).view(),
                                                                              zv::glib::Utf8Input(default_value).view()));
}

/**
 * zv_page_controller_set_localized_string:
 * @self: a controller
 * @key: the string's key
 * @value: the string, which wins over the table's
 *
 * Overrides one string of the page.
 */
void zv_page_controller_set_localized_string(ZvPageController* self, const char* key, const char* value)
{
    g_return_if_fail(ZV_IS_PAGE_CONTROLLER(self));
    privateOf(self)->controller->setLocalizedString(zv::glib::Utf8Input(value).string(),
                                                    zv::glib::Utf8Input(key).string());
}

/**
 * zv_page_controller_set_variable:
 * @self: a controller
 * @name: the variable, written `${name}` in strings
 * @value: its value
 * @key: (nullable): the one string it is for; %NULL for every string
 *
 * Sets a variable of the page's strings.
 */
void zv_page_controller_set_variable(ZvPageController* self, const char* name, const char* value, const char* key)
{
    g_return_if_fail(ZV_IS_PAGE_CONTROLLER(self));
    privateOf(self)->controller->setValueForVariable(zv::glib::Utf8Input(value).string(),
                                                     zv::glib::Utf8Input(name).string(), key ? key : "*");
}

/**
 * zv_page_controller_set_page_size:
 * @self: a controller
 * @width: the page's width
 * @height: its height
 *
 * The size the window takes for the page, unless its strings table sets
 * "@WindowSize".
 */
void zv_page_controller_set_page_size(ZvPageController* self, double width, double height)
{
    g_return_if_fail(ZV_IS_PAGE_CONTROLLER(self));
    privateOf(self)->controller->setPageSize({width, height});
}

/**
 * zv_page_controller_get_element_content:
 * @self: a controller whose page has loaded
 * @element_id: the element's id
 *
 * Reads the element's text from the live page, waiting for its answer.
 *
 * Returns: (transfer full) (nullable): the text, or %NULL when there is no
 *   such element
 */
char* zv_page_controller_get_element_content(ZvPageController* self, const char* element_id)
{
    g_return_val_if_fail(ZV_IS_PAGE_CONTROLLER(self), nullptr);
    auto value = privateOf(self)->controller->contentOfElementId(zv::glib::Utf8Input(element_id).view());
    if (!value || value->is_null())
        return nullptr;
    return zv::glib::newText(value->is_string() ? value->get<std::string>() : value->dump());
}

/**
 * zv_page_controller_set_element_content:
 * @self: a controller whose page has loaded
 * @element_id: the element's id
 * @text: its new text
 *
 * Replaces the element's text in the live page.
 */
void zv_page_controller_set_element_content(ZvPageController* self, const char* element_id, const char* text)
{
    g_return_if_fail(ZV_IS_PAGE_CONTROLLER(self));
    // The engine escapes line breaks and double quotes but leaves backslashes to its callers.
    std::string value = zv::glib::scriptLiteralText(zv::glib::Utf8Input(text).view(), "\\");
    privateOf(self)->controller->setContentOfElementId(zv::glib::Utf8Input(element_id).view(), value);
}

/**
 * zv_page_controller_set_element_html:
 * @self: a controller whose page has loaded
 * @element_id: the element's id
 * @html: its new content
 *
 * Replaces the element's inner HTML in the live page.
 */
void zv_page_controller_set_element_html(ZvPageController* self, const char* element_id, const char* html)
{
    g_return_if_fail(ZV_IS_PAGE_CONTROLLER(self));
    // The engine escapes line breaks and double quotes but leaves backslashes to its callers.
    std::string value = zv::glib::scriptLiteralText(zv::glib::Utf8Input(html).view(), "\\");
    privateOf(self)->controller->setHtmlOfElementId(zv::glib::Utf8Input(element_id).view(), value);
}

/**
 * zv_page_controller_set_element_hidden:
 * @self: a controller whose page has loaded
 * @element_id: the element's id
 * @hidden: whether to hide it
 *
 * Hides or shows the element in the live page.
 */
void zv_page_controller_set_element_hidden(ZvPageController* self, const char* element_id, gboolean hidden)
{
    g_return_if_fail(ZV_IS_PAGE_CONTROLLER(self));
    privateOf(self)->controller->setHidden(hidden, zv::glib::Utf8Input(element_id).view());
}
