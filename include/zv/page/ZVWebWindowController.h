// A window showing one of the host's own HTML pages (an About box, a help
// page, a small dialog), driven by a page controller.
//
// The window holds a ZVWebView whose "zvfile" scheme serves the page's images
// and style sheets from disk. Loading a page (loadURL) goes:
//   fetch the HTML (a file at once; http(s) with libsoup, 5 s, no cache,
//   status 200 only) → merge its <include src="…" name="…"></include>
//   elements, at most three fetched at a time, each landing at its own place
//   and filling ${name} (any case) in the included text; a failed one is
//   removed → on the main thread: size the window from the strings table's
//   "@WindowSize" ("{w, h}"; else the controller's pageSize), localize the
//   document (DocumentLocalization.h), title the window ("@WindowTitle" wins
//   over a localized <title>), point relative img/link references of a file
//   page at "zvfile", inject the script bridge (pageController's
//   _pageWillLoad) and hand the document to the web view → when navigation
//   finishes: switch the page's context menu off, _pageDidLoad, show the
//   window. A page that cannot be fetched ends in _pageFailed and the window
//   stays as it was; a navigation that fails in the web view (a link to a
//   file that is not there) does nothing at all: neither _pageDidLoad nor
//   _pageFailed, and the window is not shown. Includes must be written with an end tag: HTML has no
//   self-closing elements, so `<include/>` would swallow what follows it.
//
// Pages are found by loadFile in resourceBundle(): the bundle the host set,
// else the one that holds the page controller's class (hosts subclass the
// page controller, not the window, so its class says whose pages these are:
// the framework's for ZVWebPageController itself, the host's main bundle for
// a host's subclass; see ZVWebPageController.h). A bundle the host set is
// also where the page controller finds its strings unless it has a
// localization bundle or a delegate. Within the bundle: in <lang>.lproj for the preferred localization (or the first
// of the bundle's languages that has the file, else "en"), else at the
// bundle's top. A page's strings are the table named after its file name,
// extension included (About.html.strings).
//
// Navigation: the page's own URL, file URLs and about: stay in the view;
// every other link is cancelled and handed to the URL opener (by default the
// desktop's handler for the URL, g_app_info_launch_default_for_uri). A link
// that asks for a new window (target=_blank, window.open) is decided the
// same way; one that may stay opens in this window, which has no second
// view to give it. On a page loaded over http, a link to one of its own
// anchors counts as leaving it, since the URLs differ. Every response that
// arrives is given to the view to show, never turned into a download.
//
// Sizing: GTK 4 leaves placing a window to the window manager, so a window
// cannot be centred on its old centre nor moved at all. What is kept: the
// content takes the page's width and height, the height capped by the height
// of the monitor the window is on (its whole height: GTK 4 does not report
// the work area portably), less the window's own title bar when it has one.
//
// Script-visible window methods: the page reaches them through script
// messages the window installs when the host calls exposeWindowMethodsToPage():
// the page gets an object `WindowController` with one-argument functions
// setPageControllerClassName(name), log(message), openURL(url),
// closeWindow() and showEmbeddedPage(path), posting to the message handlers
// "ZVWindow_<method>". Page-controller classes are found by name in
// PageControllerRegistry.h.
//
// All members are for the main thread.
#pragma once

#include <zv/Export.h>
#include <zv/foundation/Bundle.h>
#include <zv/foundation/Geometry.h>
#include <zv/foundation/URL.h>
#include <zv/html/HTMLDocument.h>
#include <zv/page/ZVWebPageController.h>
#include <zv/scheme/ZVWebViewURLSchemeHandler.h>
#include <zv/webview/ZVWebView.h>

#include <gtk/gtk.h>

#include <functional>
#include <memory>
#include <optional>
#include <string>

namespace zv {

class ZV_EXPORT ZVWebWindowController : public std::enable_shared_from_this<ZVWebWindowController> {
public:
    using URLOpener = std::function<void(const URL&)>;
    using FetchCompletion = std::function<void(std::optional<std::string> html, std::optional<Error> error)>;
    // Makes the controller a page names; null when it knows no such name.
    using PageControllerFactory = std::function<std::shared_ptr<ZVWebPageController>(const std::string& name)>;

    // A hidden titled window with a web view and a fresh page controller.
    static std::shared_ptr<ZVWebWindowController> create();
    // One window for the whole process, made on first use.
    static std::shared_ptr<ZVWebWindowController> sharedInstance();
    ~ZVWebWindowController();
    ZVWebWindowController(const ZVWebWindowController&) = delete;
    ZVWebWindowController& operator=(const ZVWebWindowController&) = delete;

    GtkWindow* window() const { return window_.get(); }
    const std::shared_ptr<ZVWebView>& webView() const { return webView_; }
    const std::shared_ptr<ZVWebViewURLSchemeHandler>& schemeHandler() const { return schemeHandler_; }

    std::shared_ptr<ZVWebPageController> pageController() const { return pageController_; }
    // Attaches `controller` (none leaves the window without one).
    void setPageController(const std::shared_ptr<ZVWebPageController>& controller);
    // Makes and attaches the class registered under `name`, then calls its
    // pageDidLoad hook; logs "ERROR cannot find Class NAME!" or "ERROR Class
    // NAME does not inherit from ZVWebPageController!" and keeps the current one.
    // A factory the host set is asked instead of the registry (bindings make
    // their own classes, which the registry cannot name).
    void setPageControllerClassName(const std::string& name);
    void setPageControllerFactory(PageControllerFactory factory) { pageControllerFactory_ = std::move(factory); }

    std::optional<std::string> preferredLocalization() const { return preferredLocalization_; }
    void setPreferredLocalization(std::optional<std::string> language) { preferredLocalization_ = std::move(language); }
    std::shared_ptr<const Bundle> resourceBundle() const;
    void setResourceBundle(std::shared_ptr<const Bundle> bundle) { resourceBundle_ = std::move(bundle); }
    bool hasResourceBundle() const { return resourceBundle_ != nullptr; }
    // The page file loadFile found last; empty when it found none.
    const std::string& filePath() const { return filePath_; }

    // Links that leave the page go here instead of the desktop (tests record them).
    void setURLOpener(URLOpener opener) { urlOpener_ = std::move(opener); }

    void loadURL(const URL& url);
    void loadPageController();
    void loadFile(const std::string& name, const std::string& extension);
    void showEmbeddedPage(const std::string& path,
                          const std::shared_ptr<ZVWebPageController>& controller = nullptr);
    // Loads nothing, despite its name. Elsewhere it centres a hidden window;
    // GTK 4 leaves placement to the window manager, so here it changes
    // nothing, and the window still shows when its page has loaded.
    void showWindowAndLoadURL() {}
    // A URL with a host goes to the URL opener; anything else is a page of
    // the resources, loaded here.
    void openURL(const std::string& text);
    // "Javascript Log: MESSAGE".
    void log(const std::string& message);
    // Closes (hides) the window; the page controller's close handler runs.
    void closeWindow();
    void sizeWindowToPageSize(Size size);

    // The page's HTML (never an error object: failures give no text).
    static void fetchHTMLAtURL(const URL& url, FetchCompletion completion);

    // Localization of a document through the attached page controller; the
    // table name is the caller's and the controller's own is used.
    void localizeHTMLDocument(html::HTMLDocument& document, const std::string& table);
    std::string localizeHTML(std::string_view html, const std::string& table);

    void exposeWindowMethodsToPage();

private:
    ZVWebWindowController();
    void setupWebView();
    void finishLoad(html::HTMLDocument& document, const URL& url);
    void didFinishNavigation();
    bool decideNavigation(WebKitNavigationPolicyDecision* decision, bool newWindow);
    void openExternally(const URL& url);

    static gboolean onDecidePolicy(WebKitWebView*, WebKitPolicyDecision* decision, WebKitPolicyDecisionType type,
                                   gpointer self);
    static void onLoadChanged(WebKitWebView*, WebKitLoadEvent event, gpointer self);
    static gboolean onLoadFailed(WebKitWebView*, WebKitLoadEvent, char*, GError*, gpointer self);
    static gboolean onCloseRequest(GtkWindow*, gpointer self);

    GObjectRef<GtkWindow> window_;
    std::shared_ptr<ZVWebView> webView_;
    std::shared_ptr<ZVWebViewURLSchemeHandler> schemeHandler_;
    std::shared_ptr<ZVWebPageController> pageController_;
    std::optional<std::string> preferredLocalization_;
    std::shared_ptr<const Bundle> resourceBundle_;
    std::string filePath_;
    URLOpener urlOpener_;
    PageControllerFactory pageControllerFactory_;
    bool windowMethodsExposed_ = false;
    bool navigationFailed_ = false;
};

}  // namespace zv
