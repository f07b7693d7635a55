#include "ZVWebViewScriptHandler.h"

#include "ScriptMessageBodies.h"

#include <zv/foundation/Geometry.h>
#include <zv/foundation/Log.h>
#include <zv/foundation/UserDefaults.h>
#include <zv/webview/ZVWebView.h>

#include <cctype>

namespace zv {

namespace {

// A launch argument read as a boolean the way the desktop toolkit reads
// one: leading blanks, a sign and zeros are skipped, then "Y", "y", "T", "t"
// or a digit from 1 to 9 mean true; the rest of the text does not matter.
bool boolValue(std::string_view text) {
    size_t i = 0;
    while (i < text.size() && std::isspace(static_cast<unsigned char>(text[i]))) ++i;
    if (i < text.size() && (text[i] == '+' || text[i] == '-')) ++i;
    while (i < text.size() && text[i] == '0') ++i;
    if (i == text.size()) return false;
    char c = text[i];
    return c == 'Y' || c == 'y' || c == 'T' || c == 't' || (c >= '1' && c <= '9');
}

std::string describe(const Value& value) { return value.is_string() ? value.get<std::string>() : value.dump(); }

// With no input event seen, the event is made from the DOM event's type.
Event eventStandingFor(const Value& info, ZVWebView& webView) {
    Event event;
    auto domType = info.find("eventType");
    if (domType != info.end() && domType->is_string())
        event.type = eventTypeForDOMEvent(domType->get<std::string>()).value_or(EventType::ApplicationDefined);
    event.timestamp = systemUptime();
    event.windowNumber = windowNumberOf(GTK_WIDGET(webView.webView()));
    return event;
}

void handleElementEvent(ZVWebView& webView, ZVWebViewEventDelegate& delegate, const std::optional<Value>& body) {
    Rect rect;
    Value info = eventInfoFromBody(body, webView.identifier(), rect);
    std::optional<Event> current = webView.currentEvent();
    Event event = current ? *current : eventStandingFor(info, webView);
    if (webViewDebuggingEnabled()) {
        auto id = info.find("elementId");
        log("[MessageDisplay:WebViewDebug] ZVWebView " + std::to_string(webView.identifier()) +
            " id:" + (id != info.end() ? describe(*id) : "(null)") + " rect:" + stringFromRect(rect) +
            " event: " + describe(event) + " info:" + info.dump());
    }
    event.webViewEventInfo = info;
    webView.setLastEventInfo(std::move(info));
    delegate.webViewEvent(event);
}

void handleKeyDown(ZVWebView& webView, ZVWebViewEventDelegate& delegate, const std::optional<Value>& body) {
    std::optional<KeyDownBody> key = keyDownFromBody(body);
    if (!key) return;
    Event event;
    event.type = EventType::KeyDown;
    event.modifierFlags = key->modifierFlags;
    event.timestamp = systemUptime();
    event.windowNumber = windowNumberOf(GTK_WIDGET(webView.webView()));
    event.characters = key->characters;
    event.charactersIgnoringModifiers = event.characters;
    event.keyCode = key->keyCode;
    delegate.webViewReceivedKeyDown(webView, event);
}

}  // namespace

bool webViewDebuggingEnabled() {
    std::optional<std::string> argument = UserDefaults::standard().launchArgumentForKey("enableWebViewDebugging");
    return argument && boolValue(*argument);
}

void ZVWebViewScriptHandler::didReceiveScriptMessage(ZVWebView& webView, std::string_view name,
                                                     const std::optional<Value>& body) {
    std::shared_ptr<ZVWebViewEventDelegate> delegate = eventDelegate_.lock();
    if (name == kZVWebViewEventMessage && delegate && delegate->webViewEvent)
        handleElementEvent(webView, *delegate, body);
    if (name == kZVKeyDownEventMessage && delegate && delegate->webViewReceivedKeyDown)
        handleKeyDown(webView, *delegate, body);
    if (name == kZVLogMessage && webViewDebuggingEnabled())
        log("[ZVWebViewLog] " + (body ? describe(*body) : std::string("(null)")));
}

}  // namespace zv
