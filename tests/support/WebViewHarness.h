// Test support for everything that needs a real web view.
//
// A WebViewWindow is a GTK window holding a WebKitGTK web view, shown on the
// display the tests run on (labelled test programs run through
// scripts/with-display, which starts Xvfb and a D-Bus session when needed). It loads HTML and waits for the navigation to
// finish, evaluates scripts synchronously, and plays DOM events into the page
// the way a user's input would reach page scripts.
//
// Every wait spins the default main context with a bound: a fault fails the
// test that waited, it never hangs the run. Nothing here uses the code under
// test (script values are read with JavaScriptCore's own JSON), so the
// harness can check the web-view library without trusting it.
//
// Typical use, one window per test suite:
//
//   static std::unique_ptr<zv::test::WebViewWindow> window;
//   static void SetUpTestSuite() { window = std::make_unique<zv::test::WebViewWindow>(); }
//   static void TearDownTestSuite() { window.reset(); }
//   ...
//   ASSERT_TRUE(window->loadHTML("<p id=x>hi</p>"));
//   EXPECT_EQ(window->evaluate("document.getElementById('x').textContent").value, "hi");
#pragma once

#include <zv/foundation/GObjectRef.h>

#include <gtk/gtk.h>
#include <nlohmann/json.hpp>
#include <webkit/webkit.h>

#include <chrono>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

namespace zv::test {

using namespace std::chrono_literals;

inline constexpr std::chrono::milliseconds kLoadTimeout = 20s;
inline constexpr std::chrono::milliseconds kScriptTimeout = 10s;
// How long a test waits for something that should NOT happen (a message that
// must not arrive) before it concludes that it did not.
inline constexpr std::chrono::milliseconds kQuietPeriod = 300ms;

// Initialises GTK once per process; aborts with a clear message when there is
// no display (the tests must run through scripts/with-display or in a desktop
// session).
void initGtkOnce();

// Runs the default main context until `done` returns true or `timeout` has
// passed; returns done()'s last answer. Sleeps 1 ms between idle iterations.
bool spinUntil(const std::function<bool()>& done, std::chrono::milliseconds timeout);
// Runs the default main context for `duration`, whatever happens.
void spinFor(std::chrono::milliseconds duration);

// Plays real key input on the display with xdotool (XTest): focuses `window`
// and runs `action` ("key", "keydown", "keyup") with `keys` in xdotool's
// names ("Return", "shift+Return"). The window is named by its X id, not
// searched by title: a search reads every window's name and fails when some
// other window closes meanwhile. True when xdotool did so within the bound.
bool playKeys(GtkWindow* window, const char* action, const char* keys);
// Turns the wheel `clicks` notches down (up when negative) with the pointer
// at (x, y) in `window`'s coordinates, likewise.
bool playWheel(GtkWindow* window, int x, int y, int clicks);

// Guards a call of the code under test that waits without a bound of its
// own: if the call has not returned within `timeout` (while it spins the
// default main context), the process ends with a failure naming `what`, so a
// broken engine fails the test instead of hanging the run.
class Watchdog {
public:
    Watchdog(std::string what, std::chrono::milliseconds timeout = kScriptTimeout);
    ~Watchdog();
    Watchdog(const Watchdog&) = delete;
    Watchdog& operator=(const Watchdog&) = delete;

private:
    std::string what_;
    unsigned source_ = 0;
};

// What a script evaluation gave.
struct ScriptOutcome {
    bool finished = false;                // false: no answer within the bound
    std::optional<nlohmann::json> value;  // the value as JSON; empty for undefined
    std::string error;                    // the exception's message when the script threw

    bool ok() const { return finished && error.empty(); }
};

// Evaluates `script` in the main frame of `view`, wherever the view is shown,
// and waits for the answer.
ScriptOutcome evaluateIn(WebKitWebView* view, std::string_view script,
                         std::chrono::milliseconds timeout = kScriptTimeout);

// Modifier keys held during a DOM key or mouse event.
struct Modifiers {
    bool alt = false;
    bool ctrl = false;
    bool shift = false;
    bool meta = false;
};

class WebViewWindow {
public:
    // A new window showing `view`, or a fresh plain web view when none is given.
    explicit WebViewWindow(WebKitWebView* view = nullptr, int width = 800, int height = 600);
    ~WebViewWindow();
    WebViewWindow(const WebViewWindow&) = delete;
    WebViewWindow& operator=(const WebViewWindow&) = delete;

    WebKitWebView* webView() const { return view_.get(); }
    GtkWindow* window() const { return window_; }

    // Loads `html` with `baseURI` and waits until the navigation has finished.
    bool loadHTML(std::string_view html, const char* baseURI = nullptr,
                  std::chrono::milliseconds timeout = kLoadTimeout);
    // Runs `startLoad` (which begins a navigation in this view by any means)
    // and waits until that navigation has finished. False on a time-out or
    // when the load failed.
    bool waitForLoad(const std::function<void()>& startLoad, std::chrono::milliseconds timeout = kLoadTimeout);

    // Evaluates `script` in the page's main frame and waits for the answer.
    ScriptOutcome evaluate(std::string_view script, std::chrono::milliseconds timeout = kScriptTimeout);

    // Dispatches a trusted-looking DOM mouse event of `type` ("click",
    // "dblclick", "contextmenu", "mousedown", ...; "dragstart" and other drag
    // types become DragEvents) at viewport point (x, y), on the element
    // there, bubbling and cancelable. Returns dispatchEvent's answer (false
    // when a listener called preventDefault), or nothing when no element is
    // at the point or the page did not answer.
    std::optional<bool> mouseEventAt(std::string_view type, double x, double y, Modifiers modifiers = {});
    // The same at the centre of the first element that `selector` matches.
    std::optional<bool> mouseEventOn(std::string_view type, std::string_view selector, Modifiers modifiers = {});
    // Dispatches a "keydown" KeyboardEvent with `key` (and the legacy
    // `keyCode`) on the first element `selector` matches, or on the document
    // when `selector` is empty. Returns dispatchEvent's answer as above.
    std::optional<bool> keyDownOn(std::string_view selector, std::string_view key, int keyCode = 0,
                                  Modifiers modifiers = {});

    // The centre of the first element `selector` matches, in viewport coordinates.
    std::optional<std::pair<double, double>> centreOf(std::string_view selector);

private:
    static void onLoadChanged(WebKitWebView*, WebKitLoadEvent event, gpointer self);
    static gboolean onLoadFailed(WebKitWebView*, WebKitLoadEvent, char*, GError*, gpointer self);

    GObjectRef<WebKitWebView> view_;
    GtkWindow* window_ = nullptr;  // owned by GTK's list of toplevels until destroyed
    unsigned loadsFinished_ = 0;
    unsigned loadsFailed_ = 0;
    gulong loadChangedHandler_ = 0;
    gulong loadFailedHandler_ = 0;
};

// A window showing web views one under the other, 12 pixels apart, in a
// scrolling column, as a mail reader shows the messages of a conversation.
class ColumnWindow {
public:
    ColumnWindow(int width = 800, int height = 600);
    ~ColumnWindow();
    ColumnWindow(const ColumnWindow&) = delete;
    ColumnWindow& operator=(const ColumnWindow&) = delete;

    // Appends `view` at a height of its own.
    void add(WebKitWebView* view, int height);
    void remove(WebKitWebView* view);
    // Scrolls the column to its end.
    void scrollToBottom();
    GtkWindow* window() const { return window_; }

private:
    GtkWindow* window_ = nullptr;
    GtkWidget* column_ = nullptr;
    GtkAdjustment* adjustment_ = nullptr;
};

// A JavaScript string literal (double quotes, JSON escaping) of `text`.
std::string jsString(std::string_view text);

}  // namespace zv::test
