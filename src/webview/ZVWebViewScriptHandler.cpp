#include "ZVWebViewScriptHandler.h"

#include <zv/foundation/Geometry.h>
#include <zv/foundation/Log.h>
#include <zv/foundation/UserDefaults.h>
#include <zv/webview/ZVWebView.h>

#include <cctype>
#include <cstdlib>

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

// Key names the page may report for modifier keys, and key codes by key
// name. The second lookup is keyed by the first one's answer, so with these
// tables it never matches: modifier names give empty characters and no key
// code, Backspace gives key code 51 and no characters.
const Value kModifierNameTable = {{"Alt", ""}, {"Ctrl", ""}, {"Meta", ""}, {"Shift", ""}};
const Value kKeyCodeTable = {{"Backspace", kKeyCodeDelete}};

const Value* lookup(const Value& table, const Value* key) {
    if (!key || !key->is_string()) return nullptr;
    auto found = table.find(key->get<std::string>());
    return found == table.end() ? nullptr : &*found;
}

int64_t integerValue(const Value* value) {
    if (!value) return 0;
    if (value->is_number_integer()) return value->get<int64_t>();
    if (value->is_number_float()) return static_cast<int64_t>(value->get<double>());
    if (value->is_boolean()) return value->get<bool>() ? 1 : 0;
    if (value->is_string()) return std::strtoll(value->get<std::string>().c_str(), nullptr, 10);
    return 0;
}

Value eventInfoFromBody(const std::optional<Value>& body, uint64_t webViewIdentifier, Rect& rect) {
    Value info = body && body->is_object() ? *body : Value::object();
    auto frame = info.find("elementFrame");
    rect = frame != info.end() && frame->is_string() ? rectFromString(frame->get<std::string>()) : Rect{};
    Value attributes = Value::object();
    auto text = info.find("elementAttributes");
    if (text != info.end() && text->is_string() && !text->get<std::string>().empty()) {
        Value parsed = Value::parse(text->get<std::string>(), nullptr, false);
        if (parsed.is_object()) attributes = std::move(parsed);
    }
    info["elementAttributes"] = std::move(attributes);
    info["elementFrame"] = rect;
    info["webView"] = webViewIdentifier;
    return info;
}

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
    if (!body || !body->is_object()) return;
    auto name = body->find("keyName");
    const Value* keyName = name != body->end() && name->is_string() ? &*name : nullptr;

    const Value* first = lookup(kModifierNameTable, keyName);
    const Value* second = lookup(kKeyCodeTable, first);
    const Value* found = second ? second : first;
    std::optional<std::string> characters;
    if (found && found->is_string()) characters = found->get<std::string>();
    const Value* code = lookup(kKeyCodeTable, keyName);
    std::optional<int64_t> keyCode;
    if (code && code->is_number()) keyCode = integerValue(code);

    if (!characters && !keyCode) return;
    if ((!characters || characters->empty()) && keyCode.value_or(0) == 0) return;

    auto modifiers = body->find("modifiers");
    Event event;
    event.type = EventType::KeyDown;
    event.modifierFlags = static_cast<uint64_t>(integerValue(modifiers != body->end() ? &*modifiers : nullptr));
    event.timestamp = systemUptime();
    event.windowNumber = windowNumberOf(GTK_WIDGET(webView.webView()));
    event.characters = characters.value_or("");
    event.charactersIgnoringModifiers = event.characters;
    event.keyCode = static_cast<uint16_t>(keyCode.value_or(0));
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
