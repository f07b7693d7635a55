#include "WebViewHarness.h"

#include <gdk/x11/gdkx.h>

#include <cstdio>
#include <cstdlib>
#include <mutex>
#include <thread>
#include <vector>

// Under AddressSanitizer, leak checking is off for the programs that run web
// views: fontconfig and JavaScriptCore keep one-time allocations to the end
// of the process, some from modules unloaded by then, which no suppression
// can name. Every other check stays on. (Outside a sanitizer build nothing
// reads this.)
extern "C" const char* __asan_default_options() { return "detect_leaks=0"; }

namespace zv::test {

namespace {

// Set as the test program loads, before any test touches WebKit, which reads
// them once: the web process sandbox (bubblewrap) needs user namespaces,
// which containers and CI runners often refuse, and the pages loaded here
// are the tests' own. No accessibility bus either: nothing reads it in a test.
const bool gEnvironmentSet = [] {
    g_setenv("WEBKIT_DISABLE_SANDBOX_THIS_IS_DANGEROUS", "1", FALSE);
    g_setenv("GTK_A11Y", "none", FALSE);
    return true;
}();

}  // namespace

void initGtkOnce() {
    static std::once_flag once;
    std::call_once(once, [] {
        if (gtk_init_check()) return;
        std::fprintf(stderr, "WebViewHarness: no display; run the web-view tests under xvfb-run -a\n");
        std::abort();
    });
}

Watchdog::Watchdog(std::string what, std::chrono::milliseconds timeout) : what_(std::move(what)) {
    source_ = g_timeout_add(guint(timeout.count()), [](gpointer data) -> gboolean {
        std::fprintf(stderr, "Watchdog: %s did not return in time\n", static_cast<Watchdog*>(data)->what_.c_str());
        std::_Exit(EXIT_FAILURE);
    }, this);
}

Watchdog::~Watchdog() { g_source_remove(source_); }

bool spinUntil(const std::function<bool()>& done, std::chrono::milliseconds timeout) {
    auto deadline = std::chrono::steady_clock::now() + timeout;
    while (!done()) {
        if (std::chrono::steady_clock::now() >= deadline) return done();
        if (!g_main_context_iteration(nullptr, FALSE)) std::this_thread::sleep_for(1ms);
    }
    return true;
}

void spinFor(std::chrono::milliseconds duration) {
    spinUntil([] { return false; }, duration);
}

namespace {

// Runs xdotool with `args` after focusing `window`, which `args` may name as
// `id`: windows are named by their X id.
bool playInput(GtkWindow* window, const std::function<std::vector<std::string>(const std::string& id)>& args) {
    GdkSurface* surface = gtk_native_get_surface(GTK_NATIVE(window));
    if (!GDK_IS_X11_SURFACE(surface)) return false;
    const std::string id = std::to_string(gdk_x11_surface_get_xid(surface));
    std::vector<std::string> all = {"xdotool", "windowfocus", "--sync", id};
    for (std::string& arg : args(id)) all.push_back(std::move(arg));
    std::vector<char*> argv;
    for (std::string& arg : all) argv.push_back(arg.data());
    argv.push_back(nullptr);
    GPid pid = 0;
    if (!g_spawn_async(nullptr, argv.data(), nullptr, GSpawnFlags(G_SPAWN_SEARCH_PATH | G_SPAWN_DO_NOT_REAP_CHILD),
                       nullptr, nullptr, &pid, nullptr))
        return false;
    std::optional<int> status;
    g_child_watch_add(pid, [](GPid, int s, gpointer out) { *static_cast<std::optional<int>*>(out) = s; }, &status);
    bool exited = spinUntil([&] { return status.has_value(); }, kScriptTimeout);
    return exited && g_spawn_check_wait_status(*status, nullptr);
}

}  // namespace

bool playKeys(GtkWindow* window, const char* action, const char* keys) {
    return playInput(window, [&](const std::string&) { return std::vector<std::string>{action, keys}; });
}

bool playWheel(GtkWindow* window, int x, int y, int clicks) {
    return playInput(window, [&](const std::string& id) {
        return std::vector<std::string>{"mousemove", "--window", id, std::to_string(x), std::to_string(y), "click",
                                        "--repeat", std::to_string(std::abs(clicks)), clicks > 0 ? "5" : "4"};
    });
}

std::string jsString(std::string_view text) {
    // Invalid UTF-8 is replaced rather than thrown on: a test's odd input must
    // reach the page, not end the run.
    return nlohmann::json(std::string(text)).dump(-1, ' ', false, nlohmann::json::error_handler_t::replace);
}

WebViewWindow::WebViewWindow(WebKitWebView* view, int width, int height) {
    initGtkOnce();
    view_ = view ? GObjectRef<WebKitWebView>::ref(view)
                 : GObjectRef<WebKitWebView>::adopt(WEBKIT_WEB_VIEW(g_object_new(WEBKIT_TYPE_WEB_VIEW, nullptr)));
    loadChangedHandler_ = g_signal_connect(view_.get(), "load-changed", G_CALLBACK(onLoadChanged), this);
    loadFailedHandler_ = g_signal_connect(view_.get(), "load-failed", G_CALLBACK(onLoadFailed), this);
    window_ = GTK_WINDOW(gtk_window_new());
    gtk_window_set_default_size(window_, width, height);
    gtk_window_set_child(window_, GTK_WIDGET(view_.get()));
    gtk_window_present(window_);
}

WebViewWindow::~WebViewWindow() {
    g_signal_handler_disconnect(view_.get(), loadChangedHandler_);
    g_signal_handler_disconnect(view_.get(), loadFailedHandler_);
    gtk_window_destroy(window_);
    // Let the view's teardown run now rather than inside the next test's waits.
    spinFor(10ms);
}

void WebViewWindow::onLoadChanged(WebKitWebView*, WebKitLoadEvent event, gpointer self) {
    if (event == WEBKIT_LOAD_FINISHED) ++static_cast<WebViewWindow*>(self)->loadsFinished_;
}

gboolean WebViewWindow::onLoadFailed(WebKitWebView*, WebKitLoadEvent, char* uri, GError* error, gpointer self) {
    std::fprintf(stderr, "WebViewHarness: load of %s failed: %s\n", uri, error ? error->message : "?");
    ++static_cast<WebViewWindow*>(self)->loadsFailed_;
    return FALSE;
}

bool WebViewWindow::waitForLoad(const std::function<void()>& startLoad, std::chrono::milliseconds timeout) {
    unsigned finishedBefore = loadsFinished_;
    unsigned failedBefore = loadsFailed_;
    startLoad();
    // A failed load also ends in FINISHED, so the finish is what is waited for.
    bool finished = spinUntil([&] { return loadsFinished_ != finishedBefore; }, timeout);
    if (!finished) std::fprintf(stderr, "WebViewHarness: navigation did not finish within the bound\n");
    return finished && loadsFailed_ == failedBefore;
}

bool WebViewWindow::loadHTML(std::string_view html, const char* baseURI, std::chrono::milliseconds timeout) {
    std::string text(html);
    return waitForLoad([&] { webkit_web_view_load_html(view_.get(), text.c_str(), baseURI); }, timeout);
}

namespace {

struct Evaluation {
    ScriptOutcome outcome;
};

void evaluationDone(GObject* view, GAsyncResult* result, gpointer data) {
    // The waiting side may have given up; it then leaves the slot to us.
    auto* slot = static_cast<std::shared_ptr<Evaluation>*>(data);
    ScriptOutcome& outcome = (*slot)->outcome;
    GError* error = nullptr;
    auto value = GObjectRef<JSCValue>::adopt(
        webkit_web_view_evaluate_javascript_finish(WEBKIT_WEB_VIEW(view), result, &error));
    if (error) {
        outcome.error = error->message ? error->message : "script error";
        if (outcome.error.empty()) outcome.error = "script error";
        g_error_free(error);
    } else if (value && !jsc_value_is_undefined(value.get())) {
        char* json = jsc_value_to_json(value.get(), 0);
        if (json) {
            outcome.value = nlohmann::json::parse(json, nullptr, false);
            g_free(json);
        } else {
            outcome.value = nlohmann::json();
        }
    }
    outcome.finished = true;
    delete slot;
}

}  // namespace

ScriptOutcome evaluateIn(WebKitWebView* view, std::string_view script, std::chrono::milliseconds timeout) {
    auto evaluation = std::make_shared<Evaluation>();
    std::string text(script);
    webkit_web_view_evaluate_javascript(view, text.c_str(), static_cast<gssize>(text.size()), nullptr, nullptr,
                                        nullptr, evaluationDone, new std::shared_ptr<Evaluation>(evaluation));
    if (!spinUntil([&] { return evaluation->outcome.finished; }, timeout))
        std::fprintf(stderr, "WebViewHarness: no answer within the bound to: %.200s\n", text.c_str());
    return evaluation->outcome;
}

ScriptOutcome WebViewWindow::evaluate(std::string_view script, std::chrono::milliseconds timeout) {
    return evaluateIn(view_.get(), script, timeout);
}

namespace {

std::string eventInit(double x, double y, const Modifiers& m, int button) {
    char buffer[256];
    std::snprintf(buffer, sizeof buffer,
                  "{bubbles: true, cancelable: true, composed: true, view: window, clientX: %g, clientY: %g, "
                  "button: %d, altKey: %s, ctrlKey: %s, shiftKey: %s, metaKey: %s}",
                  x, y, button, m.alt ? "true" : "false", m.ctrl ? "true" : "false", m.shift ? "true" : "false",
                  m.meta ? "true" : "false");
    return buffer;
}

std::optional<bool> dispatchAnswer(const ScriptOutcome& outcome) {
    if (!outcome.ok() || !outcome.value || !outcome.value->is_boolean()) return std::nullopt;
    return outcome.value->get<bool>();
}

}  // namespace

std::optional<bool> WebViewWindow::mouseEventAt(std::string_view type, double x, double y, Modifiers modifiers) {
    bool drag = type.starts_with("drag") || type == "drop";
    int button = type == "contextmenu" ? 2 : 0;
    char point[64];
    std::snprintf(point, sizeof point, "%g, %g", x, y);
    std::string script = "(function() { const target = document.elementFromPoint(" + std::string(point) +
                         "); if (!target) return null; return target.dispatchEvent(new " +
                         (drag ? "DragEvent(" : "MouseEvent(") + jsString(type) + ", " +
                         eventInit(x, y, modifiers, button) + ")); })()";
    return dispatchAnswer(evaluate(script));
}

std::optional<std::pair<double, double>> WebViewWindow::centreOf(std::string_view selector) {
    ScriptOutcome outcome = evaluate("(function() { const e = document.querySelector(" + jsString(selector) +
                                     "); if (!e) return null; const r = e.getBoundingClientRect();"
                                     " return [r.left + r.width / 2, r.top + r.height / 2]; })()");
    if (!outcome.ok() || !outcome.value || !outcome.value->is_array()) return std::nullopt;
    return std::pair((*outcome.value)[0].get<double>(), (*outcome.value)[1].get<double>());
}

std::optional<bool> WebViewWindow::mouseEventOn(std::string_view type, std::string_view selector,
                                                Modifiers modifiers) {
    auto centre = centreOf(selector);
    if (!centre) return std::nullopt;
    return mouseEventAt(type, centre->first, centre->second, modifiers);
}

std::optional<bool> WebViewWindow::keyDownOn(std::string_view selector, std::string_view key, int keyCode,
                                             Modifiers m) {
    std::string target = selector.empty() ? "document" : "document.querySelector(" + jsString(selector) + ")";
    auto flag = [](bool on) { return std::string(on ? "true" : "false"); };
    std::string init = "{bubbles: true, cancelable: true, composed: true, view: window, key: " + jsString(key) +
                       ", keyCode: " + std::to_string(keyCode) + ", altKey: " + flag(m.alt) +
                       ", ctrlKey: " + flag(m.ctrl) + ", shiftKey: " + flag(m.shift) + ", metaKey: " + flag(m.meta) +
                       "}";
    std::string script = "(function() { const target = " + target +
                         "; if (!target) return null; return target.dispatchEvent(new KeyboardEvent('keydown', " +
                         init + ")); })()";
    return dispatchAnswer(evaluate(script));
}

ColumnWindow::ColumnWindow(int width, int height) {
    window_ = GTK_WINDOW(gtk_window_new());
    gtk_window_set_default_size(window_, width, height);
    GtkWidget* scroller = gtk_scrolled_window_new();
    gtk_scrolled_window_set_policy(GTK_SCROLLED_WINDOW(scroller), GTK_POLICY_NEVER, GTK_POLICY_AUTOMATIC);
    column_ = gtk_box_new(GTK_ORIENTATION_VERTICAL, 12);
    gtk_scrolled_window_set_child(GTK_SCROLLED_WINDOW(scroller), column_);
    gtk_window_set_child(window_, scroller);
    adjustment_ = gtk_scrolled_window_get_vadjustment(GTK_SCROLLED_WINDOW(scroller));
    gtk_window_present(window_);
}

ColumnWindow::~ColumnWindow() { gtk_window_destroy(window_); }

void ColumnWindow::add(WebKitWebView* view, int height) {
    gtk_widget_set_size_request(GTK_WIDGET(view), -1, height);
    gtk_box_append(GTK_BOX(column_), GTK_WIDGET(view));
}

void ColumnWindow::remove(WebKitWebView* view) { gtk_box_remove(GTK_BOX(column_), GTK_WIDGET(view)); }

void ColumnWindow::scrollToBottom() {
    gtk_adjustment_set_value(adjustment_, gtk_adjustment_get_upper(adjustment_) - gtk_adjustment_get_page_size(adjustment_));
}

}  // namespace zv::test
