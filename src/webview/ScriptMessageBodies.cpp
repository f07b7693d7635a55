#include "ScriptMessageBodies.h"

#include <zv/foundation/WholeNumber.h>
#include <zv/webview/Event.h>

#include <cstdlib>

namespace zv {

namespace {

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

}  // namespace

int64_t integerFromValue(const Value* value) {
    if (!value) return 0;
    if (value->is_number()) return wholeNumber(*value);
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

std::optional<KeyDownBody> keyDownFromBody(const std::optional<Value>& body) {
    if (!body || !body->is_object()) return std::nullopt;
    auto name = body->find("keyName");
    const Value* keyName = name != body->end() && name->is_string() ? &*name : nullptr;

    const Value* first = lookup(kModifierNameTable, keyName);
    const Value* second = lookup(kKeyCodeTable, first);
    const Value* found = second ? second : first;
    std::optional<std::string> characters;
    if (found && found->is_string()) characters = found->get<std::string>();
    const Value* code = lookup(kKeyCodeTable, keyName);
    std::optional<int64_t> keyCode;
    if (code && code->is_number()) keyCode = integerFromValue(code);

    if (!characters && !keyCode) return std::nullopt;
    if ((!characters || characters->empty()) && keyCode.value_or(0) == 0) return std::nullopt;

    auto modifiers = body->find("modifiers");
    return KeyDownBody{characters.value_or(""), static_cast<uint16_t>(keyCode.value_or(0)),
                       static_cast<uint64_t>(integerFromValue(modifiers != body->end() ? &*modifiers : nullptr))};
}

}  // namespace zv
