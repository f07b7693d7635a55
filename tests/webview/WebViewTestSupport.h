// What the web-view tests share: one window for a suite, a delegate that
// records what it is told, script answers, and reading the page's own view of
// an element.
#pragma once

#include "WebViewHarness.h"

#include <zv/foundation/Geometry.h>
#include <zv/webview/ScriptEvaluation.h>
#include <zv/webview/ZVWebView.h>

#include <gtest/gtest.h>

#include <map>
#include <memory>
#include <string>
#include <vector>

namespace zv::test {

// A suite whose tests share one plain web view in a window.
class SharedWindowTest : public ::testing::Test {
protected:
    static void SetUpTestSuite() { window = std::make_unique<WebViewWindow>(); }
    static void TearDownTestSuite() { window.reset(); }

    static inline std::unique_ptr<WebViewWindow> window;
};

// What a script completion was given, once it was called.
struct ScriptAnswer {
    bool called = false;
    std::optional<Value> value;
    std::optional<Error> error;

    ScriptCompletion completion() {
        return [this](std::optional<Value> v, std::optional<Error> e) { *this = {true, std::move(v), std::move(e)}; };
    }
};

// Posts `body`, a script expression, to the page's message handler `handler`.
inline bool postMessage(WebViewWindow& window, const std::string& handler, const std::string& body) {
    return window.evaluate("void window.webkit.messageHandlers." + handler + ".postMessage(" + body + ")").ok();
}

struct RecordingDelegate {
    std::vector<Event> events;
    std::vector<Event> keyDowns;
    std::vector<Event> menuEvents;
    std::vector<EventType> selectorQuestions;

    // A delegate whose members are set as asked: selectors by event type
    // (nothing for webViewDOMSelectorsForEventType when `selectors` is
    // empty and `askSelectors` false), and the other members when their flag is on.
    std::shared_ptr<ZVWebViewEventDelegate> make(std::map<EventType, std::vector<std::string>> selectors,
                                                 bool events = true, bool keyDowns = true, bool menus = true,
                                                 bool askSelectors = true) {
        auto delegate = std::make_shared<ZVWebViewEventDelegate>();
        if (askSelectors) {
            delegate->webViewDOMSelectorsForEventType = [this, selectors](EventType type) {
                selectorQuestions.push_back(type);
                auto found = selectors.find(type);
                return found == selectors.end() ? std::vector<std::string>{} : found->second;
            };
        }
        if (events) delegate->webViewEvent = [this](const Event& event) { this->events.push_back(event); };
        if (keyDowns)
            delegate->webViewReceivedKeyDown = [this](ZVWebView&, const Event& event) { this->keyDowns.push_back(event); };
        if (menus)
            delegate->webViewWillOpenMenu = [this](ZVWebView&, WebKitContextMenu*, Event& event) {
                menuEvents.push_back(event);
            };
        return delegate;
    }

    void clear() {
        events.clear();
        keyDowns.clear();
        menuEvents.clear();
    }
};

// The element's bounding rectangle as the page reports it.
inline Rect pageRectOf(WebViewWindow& window, const std::string& selector) {
    ScriptOutcome outcome = window.evaluate("(function() { const r = document.querySelector(" + jsString(selector) +
                                            ").getBoundingClientRect(); return [r.left, r.top, r.width, r.height]; })()");
    if (!outcome.ok() || !outcome.value || !outcome.value->is_array()) return {-1, -1, -1, -1};
    const auto& v = *outcome.value;
    return {v[0].get<double>(), v[1].get<double>(), v[2].get<double>(), v[3].get<double>()};
}

}  // namespace zv::test
