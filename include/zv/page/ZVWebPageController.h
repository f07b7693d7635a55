// The native object behind one HTML page shown in a page window.
//
// A host subclasses ZVWebPageController once per page (an About page, a help
// page, a settings sheet). The controller
// - gives the page a script object `PageController` whose functions post
//   script messages: `PageController.name()` posts null, `PageController.name(x)`
//   posts x, and a call with two or more arguments posts nothing (a page
//   passes several values as one object or array);
// - routes each message named N, in this order, to the controller's own
//   action N (registered with registerAction, as subclasses do in their
//   constructors), to the delegate's action N, or to the handler registered
//   with registerJavascriptFunctionName; a message nobody serves is dropped.
//   The receiver gets a Notification named N whose object is the controller
//   and whose user info is {"ScriptMessage": {"name", "body", "webView"}};
// - carries the page's loads to its hooks (pageWillLoad, pageDidLoad,
//   pageFailed), to its delegate, to the notification
//   "PageControllerDidFinishLoadingPage" (user info {"url"}) and to
//   pageLoadedCompletion, which runs after every later load too until it is
//   replaced (on failure with an error of kPageControllerErrorDomain, code 1);
// - answers the page's localized strings (PageLocalization, its base);
//   with no localization bundle set, from the delegate's bundle when there
//   is a delegate, else from its window's bundle when the host set one
//   (ZVWebWindowController::setResourceBundle: the pages and their strings
//   live together), else from classBundle();
// - reads and writes the live page by element id (DOM access below).
//
// The bridge's scripts are added at every load and never removed: the object
// script in the main frame only, one function script per handler name in all
// frames (in a subframe the functions have no object to join, so only the
// main frame has them). Handlers are removed and added again at each load,
// so a name has exactly one handler per web view.
//
// The bundle that holds a class. A class belongs to the binary that defines
// it, so ZVWebPageController itself (like ZVWebWindowController, which hosts
// do not subclass) holds the framework's resources (webKitResourceBundle(),
// FrameworkResources.h), and a subclass, which
// only a host writes, holds the host's Bundle::mainBundle(); a subclass
// whose resources live elsewhere overrides classBundle(). A delegate names
// its own in ZVPageDelegate::bundle. The window finds pages in the same way
// (ZVWebWindowController::resourceBundle).
//
// Everything that touches the web view runs on the main thread; the load
// calls and the DOM reads may be called from any thread.
#pragma once

#include <zv/Export.h>
#include <zv/foundation/Error.h>
#include <zv/foundation/NotificationCenter.h>
#include <zv/foundation/URL.h>
#include <zv/foundation/Value.h>
#include <zv/localization/PageLocalization.h>
#include <zv/page/ZVPageDelegate.h>
#include <zv/webview/ZVWebView.h>

#include <gtk/gtk.h>

#include <atomic>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace zv {

class ZVWebWindowController;

ZV_EXPORT inline constexpr char kPageControllerErrorDomain[] = "com.quillmere.PageController";
ZV_EXPORT inline constexpr char kPageControllerDidFinishLoadingPageNotification[] =
    "PageControllerDidFinishLoadingPage";

class ZV_EXPORT ZVWebPageController : public PageLocalization,
                                      public std::enable_shared_from_this<ZVWebPageController> {
public:
    using Handler = std::function<void(const Notification&)>;
    using Completion = std::function<void(std::optional<Error>)>;

    static std::shared_ptr<ZVWebPageController> create();
    static std::shared_ptr<ZVWebPageController> create(const URL& url);
    ZVWebPageController() = default;
    ~ZVWebPageController() override;

    // --- Attachment (set by the window controller) --------------------------
    std::shared_ptr<ZVWebView> webView() const;
    void setWebView(std::shared_ptr<ZVWebView> webView);
    std::shared_ptr<ZVWebWindowController> windowController() const;
    void setWindowController(const std::shared_ptr<ZVWebWindowController>& controller);
    // The web view's window, if it is in one.
    GtkWindow* window() const;

    std::shared_ptr<ZVPageDelegate> delegate() const;
    void setDelegate(const std::shared_ptr<ZVPageDelegate>& delegate);

    // The bundle that holds this object's class (above).
    virtual std::shared_ptr<const Bundle> classBundle() const;

    // --- Script bridge ------------------------------------------------------
    // Installed at the next load; a later registration of a name replaces it.
    void registerJavascriptFunctionName(const std::string& name, Handler handler);
    std::vector<std::string> javascriptHandlerNames() const;
    // Installs a script function for the action `selector` (":" trimmed from
    // both ends) in the web view at once.
    void registerJavascriptMethod(std::string_view selector);
    // Routes one script message (see above). The bridge calls it; hosts may too.
    void didReceiveScriptMessage(const std::string& name, const std::optional<Value>& body);

    // --- Lifecycle ----------------------------------------------------------
    // Called by the window controller at fixed points of a load.
    void _pageWillLoad();
    void _pageDidLoad();
    void _pageFailed();

    void setPageLoadedCompletion(Completion completion);
    void setCloseWindowHandler(std::function<void()> handler);
    // Runs the close handler once and clears it (the window is closing).
    void runCloseWindowHandler();

    // Set the URL, then (on the main thread, later) have the window load it.
    // Without a window controller they only set the URL.
    void loadURL(const URL& url);
    void loadURL(const URL& url, Completion completion);
    void loadURLWithDelegate(const URL& url, const std::shared_ptr<ZVPageDelegate>& delegate);

    // --- Modal running ------------------------------------------------------
    // On the main thread: shows the window modal and runs a nested main loop
    // until stopModal. On another thread: polls every millisecond, letting
    // that thread's own main context (if it has one) work meanwhile.
    void runModal();
    void stopModal();
    bool isModal() const { return isModal_.load(); }

    // --- DOM access by element id --------------------------------------------
    // Writes assign the value as a quoted string and do not wait; with the
    // launch argument "-logZVWebKitErrors YES" a failing write is logged.
    // Reads wait for the page's answer (spinning the main context on the main
    // thread, blocking elsewhere) and give nothing when the element is missing.
    void setValueForAttribute(std::string_view value, std::string_view propertyPath, std::string_view elementId);
    std::optional<Value> valueForAttribute(std::string_view propertyPath, std::string_view elementId);
    // "#id.property.path"; a path not starting with "#" is ignored. One of
    // fewer than two components is a programming error, "Insufficient
    // DOMPath": a build with assertions aborts; a release build logs it as a
    // GLib critical (fatal under G_DEBUG=fatal-criticals) and goes on
    // without the access, since a page window is not worth a crash.
    void setValueForDOMPath(std::string_view value, std::string_view path);
    std::optional<Value> valueForDOMPath(std::string_view path);

    std::optional<Value> contentOfElementId(std::string_view id);
    void setContentOfElementId(std::string_view id, std::string_view text);
    std::optional<Value> htmlOfElementId(std::string_view id);
    void setHtmlOfElementId(std::string_view id, std::string_view html);
    double heightOfElementId(std::string_view id);
    void setDisabled(bool disabled, std::string_view id);
    bool disabledOnElementId(std::string_view id);
    void setDisplayOfElementId(std::string_view id, std::string_view display);
    std::optional<Value> displayValueForElementId(std::string_view id);
    void setHidden(bool hidden, std::string_view id);
    bool hiddenOnElementId(std::string_view id);
    std::vector<std::string> attributeNamesforElementId(std::string_view id);
    std::optional<std::string> currentDocumentHTML();

    // The write script for one assignment (exposed for hosts that batch).
    static std::string attributeWriteScript(std::string_view value, std::string_view propertyPath,
                                            std::string_view elementId);

    // --- Hooks for subclasses -----------------------------------------------
    virtual void pageWillLoad() {}
    virtual void pageDidLoad() {}
    virtual void pageFailed() {}
    virtual void initPage() {}
    virtual void localizeElements() {}

protected:
    // A named action, served first for messages named `name`. The page gets
    // the function `PageController.name` from registerJavascriptMethod (in
    // pageWillLoad, when the web view is there) or from a handler of that name.
    void registerAction(std::string name, Handler action);
    template <class T>
    void registerAction(std::string name, void (T::*method)(const Notification&)) {
        T* self = static_cast<T*>(this);
        registerAction(std::move(name), [self, method](const Notification& n) { (self->*method)(n); });
    }

    VariableResolver variableResolver() const override;
    std::shared_ptr<const Bundle> defaultBundle() const override;

private:
    void installHandler(const std::string& name);
    std::optional<Value> evaluateAndWait(std::string script);

    std::shared_ptr<ZVWebView> webView_;
    std::weak_ptr<ZVWebWindowController> windowController_;
    std::weak_ptr<ZVPageDelegate> delegate_;
    std::map<std::string, Handler, std::less<>> actions_;
    std::shared_ptr<const std::map<std::string, Handler, std::less<>>> javascriptHandlers_ =
        std::make_shared<const std::map<std::string, Handler, std::less<>>>();
    Completion pageLoadedCompletion_;
    std::function<void()> closeWindowHandler_;
    std::atomic<bool> isModal_{false};
};

}  // namespace zv
