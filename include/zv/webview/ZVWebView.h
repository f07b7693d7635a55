// The message web view and its event bridge.
//
// A ZVWebView owns one WebKitWebView (put webView() into a window like any
// widget) and reports what the user does inside the page to one native
// object, its event delegate (ZVWebViewEventDelegate.h):
//
// - From the delegate's wishes it builds a page script, added as a user
//   script at document start in the top frame, that listens, once the
//   document's content is loaded, for click, dblclick, contextmenu,
//   dragstart and keydown events on the elements the delegate's selectors
//   match, and for Backspace anywhere. Elements added later get no
//   listeners. Changing the delegate reaches pages loaded afterwards.
// - The page reports through three script messages, registered when the
//   view is made: "_ZVWebViewEvent" (an element event), "_ZVKeyDownEvent"
//   (Backspace) and "_ZVLog" (a log line, printed when the launch argument
//   "-enableWebViewDebugging YES" is given).
// - It trims the context menu the engine builds (see willOpenMenu) and
//   publishes a content size that the host measures and sets.
// - Placed in a scrolled column (inside a GtkViewport, as a conversation's
//   messages are), it stops drawing while it is more than a screen above or
//   below the part shown: it is kept unmapped there (not child-visible), so
//   neither its web process paints it nor the window copies it. Its page still
//   loads and runs scripts; animation frames and resize observers wait until it
//   is mapped again, a screen before it comes into sight. A view with the
//   keyboard focus keeps drawing.
//
// Event info (Event::webViewEventInfo, lastEventInfo) is a dictionary with
// the keys the page sent:
//   "eventType"         "click", "dblclick", "contextmenu", "dragstart", "keydown"
//   "elementTag"        the element's tagName ("DIV")
//   "elementFrame"      the element's rectangle in the viewport, as a Rect value
//                       {"x", "y", "width", "height"} (zero when the page sent none)
//   "elementAttributes" every attribute name to its value (empty when the page
//                       sent none or sent text that is not a JSON object)
//   "elementClass"      the class attribute, when there is one
//   "elementId"         the id, or else the "wren-id" attribute, when there is one
//   "href"              the resolved link, when the element has one
//   "keyPressed"        the DOM key, for keydown events
//   "error"             what went wrong while the page read the attributes
// and "webView", this view's identifier().
//
// The event a delegate receives for an element event is the last GDK button
// or key event the view received, or, when it has received none, an event
// of the type that stands for the DOM event (see eventTypeForDOMEvent). All
// of it runs on the main thread.
#pragma once

#include <zv/Export.h>

#include <zv/foundation/Geometry.h>
#include <zv/html/HTMLElement.h>
#include <zv/foundation/Value.h>
#include <zv/webview/Event.h>
#include <zv/foundation/GObjectRef.h>
#include <zv/webview/UserScript.h>
#include <zv/webview/ZVWebViewEventDelegate.h>

#include <webkit/webkit.h>

#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace zv {

// Posted by setContentSize with the view (its address) as object and user
// info {"contentSize": Size, "previousValue": Size}, sizes as Values
// ({"width", "height"}).
inline constexpr char ZVWebViewContentSizeChangedNotification[] = "ZVWebViewContentSizeChanged";

// The names of the script messages the page posts.
inline constexpr char kZVWebViewEventMessage[] = "_ZVWebViewEvent";
inline constexpr char kZVLogMessage[] = "_ZVLog";
inline constexpr char kZVKeyDownEventMessage[] = "_ZVKeyDownEvent";

// What a new view is built with; empty members get WebKit's defaults. The
// user content manager must not be shared with another ZVWebView: both
// would receive each other's messages.
//
// relatedView makes the new view share that view's web process (WebKit's
// "related-view"): every message of a conversation in one process instead of
// about 200 MiB each. The new view then takes the related view's web context
// and network session, so those two members are ignored; it still keeps its
// own user content manager, scripts and message handlers. Start the process
// first (load a blank page in the related view) and make the others once
// that page has loaded: dozens of views loading into a web process still
// starting have crashed it, or had pages that never loaded.
struct ZV_EXPORT ZVWebViewConfiguration {
    GObjectRef<WebKitUserContentManager> userContentManager;
    GObjectRef<WebKitSettings> settings;
    GObjectRef<WebKitWebContext> webContext;
    GObjectRef<WebKitNetworkSession> networkSession;
    GObjectRef<WebKitWebView> relatedView;
};

class OutOfSightDrawing;
class ZVWebViewScriptHandler;

class ZV_EXPORT ZVWebView : public std::enable_shared_from_this<ZVWebView> {
public:
    static std::shared_ptr<ZVWebView> create(const ZVWebViewConfiguration& configuration = {});
    ~ZVWebView();
    ZVWebView(const ZVWebView&) = delete;
    ZVWebView& operator=(const ZVWebView&) = delete;

    WebKitWebView* webView() const { return webView_.get(); }
    WebKitUserContentManager* userContentManager() const { return userContentManager_.get(); }
    // A number naming this view in event info ("webView"); unique in the
    // process, never reused.
    uint64_t identifier() const { return identifier_; }

    // The live view with this identifier (an event info's "webView"), or
    // the one that owns `webView`; none when it is gone or never was. Hosts
    // use them to get from an event or a load to its view. Main thread only.
    ZV_EXPORT static std::shared_ptr<ZVWebView> withIdentifier(uint64_t identifier);
    ZV_EXPORT static std::shared_ptr<ZVWebView> owning(WebKitWebView* webView);

    // Held weakly: the view never keeps its delegate alive, and events for a
    // delegate that is gone are dropped. Setting a different delegate takes
    // the previous delegate's page script out (other user scripts stay, in
    // their order) and adds one built for the new delegate, if it wants any
    // events. Setting the same delegate again changes nothing.
    std::shared_ptr<ZVWebViewEventDelegate> eventDelegate() const { return eventDelegate_.lock(); }
    void setEventDelegate(const std::shared_ptr<ZVWebViewEventDelegate>& delegate);

    // The page script built for the delegate most recently given one (it
    // stays here, no longer installed, after a delegate that wants none).
    WebKitUserScript* eventDelegateUserScript() const { return eventDelegateUserScript_.get(); }

    // The view's user scripts. Add and remove them here rather than on the
    // user content manager directly: the manager cannot list its scripts,
    // and the view must know them to take out its own.
    void addUserScript(WebKitUserScript* script);
    void removeUserScript(WebKitUserScript* script);
    void removeAllUserScripts();
    const std::vector<UserScriptRef>& userScripts() const { return userScripts_; }

    // The size of the page content as the host last measured and set it.
    // Setting posts ZVWebViewContentSizeChangedNotification, also when the
    // size did not change.
    Size contentSize() const;
    void setContentSize(Size size);

    // The info of the last element event delivered to the delegate.
    std::optional<Value> lastEventInfo() const;
    void setLastEventInfo(std::optional<Value> info);

    // The last GDK button or key event the view received, converted; none
    // before the first.
    const std::optional<Event>& currentEvent() const { return lastInputEvent_; }

    // In-page search (the commands a find controller drives). The page
    // needs the search scripts (searchScriptElements) in its document; the
    // calls below only evaluate their functions, on the main thread, and
    // their completions run there too.
    //
    // scriptIdent names this view to the page's search script, which puts it
    // into every "searchValues" message it posts. scriptsLoaded records that
    // a find controller has registered its "searchValues" handler here.
    const std::string& scriptIdent() const { return scriptIdent_; }
    void setScriptIdent(std::string ident) { scriptIdent_ = std::move(ident); }
    bool scriptsLoaded() const { return scriptsLoaded_; }
    void setScriptsLoaded(bool loaded) { scriptsLoaded_ = loaded; }

    // Two <script> elements for a document's head: mark.js, then the search
    // script, each with charset "utf-8" and src the file-system path of the
    // framework's resource ("js/mark.min.js", "js/SearchWebView.js").
    static std::vector<html::Ref<html::HTMLElement>> searchScriptElements();
    // The same two scripts as user scripts of this view, run at document
    // start in the main frame of every later load. A safe message view turns
    // the page's own scripts off (enable-javascript-markup), and then the
    // elements above never run; user scripts still do. False, with nothing
    // added, when a script file cannot be read.
    bool addSearchUserScripts();

    // The page's selection as its script describes it; on a script error
    // the completion is never called.
    void selectionWithCompletion(std::function<void(std::optional<Value>)> completion);
    // Options: one style (1 contains, 2 starts with, 4 exactly, 8 regular
    // expression) plus 256 to ignore case. The text goes between backquotes
    // unescaped: a backquote in it breaks the call, silently.
    void highlightOccurrencesOfString(std::string_view text, int64_t options);
    // The number of matches highlighted now; -1 when the page cannot say.
    void getFindResultCount(std::function<void(int64_t count)> completion);
    void removeAllHighlights();
    void clearCurrentHighlight();
    // The stepping calls answer with the new current match's position below
    // the visible top of the page; 0 on error (logged).
    void selectMatchAt(int64_t index, std::function<void(double position)> completion);
    void findNextWithCompletion(std::function<void(double position)> completion);
    void findPreviousWithCompletion(std::function<void(double position)> completion);
    // The text goes between single quotes unescaped.
    void replaceAndMoveToNext(std::string_view text);
    void replaceAll(std::string_view text);
    // Whether the current match is the first / the last: asked of the page
    // and waited for while the main context keeps turning. False on error.
    bool atFirst();
    bool atLast();

    // Accepted and ignored: scrolling stays as the engine has it.
    void setScrollEnabled(bool enabled);

    // Run before the page's context menu opens (the view calls it from the
    // engine's "context-menu" signal; `event` is the one that opened the
    // menu). Removes the Reload, Download Linked File, Open Image in New
    // Window and Download Image items, retitles Open Link in New Window to
    // the host's "Open Link in Default Browser" (main bundle, Localizable
    // table), attaches a pending "contextmenu" lastEventInfo to `event` (and
    // clears it), and lets the delegate see the menu.
    void willOpenMenu(WebKitContextMenu* menu, Event& event);

private:
    explicit ZVWebView(const ZVWebViewConfiguration& configuration);
    void connectSignals();
    void installEventScript(const std::shared_ptr<ZVWebViewEventDelegate>& delegate);

    struct MessageRoute;
    static void onScriptMessage(WebKitUserContentManager* manager, JSCValue* body, gpointer route);
    static gboolean onContextMenu(WebKitWebView*, WebKitContextMenu* menu, WebKitHitTestResult*, gpointer self);
    static gboolean onInputEvent(GtkEventControllerLegacy* controller, GdkEvent* event, gpointer self);

    GObjectRef<WebKitWebView> webView_;
    GObjectRef<WebKitUserContentManager> userContentManager_;
    std::unique_ptr<ZVWebViewScriptHandler> scriptHandler_;
    uint64_t identifier_;
    std::weak_ptr<ZVWebViewEventDelegate> eventDelegate_;
    UserScriptRef eventDelegateUserScript_;
    std::vector<UserScriptRef> userScripts_;
    std::optional<Event> lastInputEvent_;
    std::vector<gulong> managerHandlers_;
    GObjectRef<GtkEventController> inputController_;
    std::unique_ptr<OutOfSightDrawing> outOfSightDrawing_;

    std::string scriptIdent_;
    bool scriptsLoaded_ = false;

    mutable std::mutex mutex_;  // guards the two values below
    Size contentSize_;
    std::optional<Value> lastEventInfo_;
};

}  // namespace zv
