// libFuzzer over the bodies of the script messages a page sends.
//
// The input is the JSON text a page's message arrives as (what
// valueFromJSCValue reads; text that is not JSON arrives as no body). The
// body goes through each reader the framework has for it: the event
// bridge's element event and key down, the search script's "searchValues",
// and the find entry's split into search values (of the input as typed and
// of a string body). Besides the absence of faults:
// - an element event's info is an object whose attributes are an object and
//   whose "webView" is the view's identifier, and it can be written as JSON;
// - the search values are never empty and each is made of the text's
//   characters in their order (a word may close over a quoted phrase taken out).
#include "ScriptMessageBodies.h"
#include "SearchValuesMessage.h"

#include <zv/find/SearchValues.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <optional>
#include <string>
#include <string_view>

namespace {

[[noreturn]] void fail(const std::string& what) {
    std::fprintf(stderr, "%s\n", what.c_str());
    std::abort();
}

bool isSubsequence(std::string_view part, std::string_view text) {
    size_t at = 0;
    for (char c : part) {
        at = text.find(c, at);
        if (at == std::string_view::npos) return false;
        ++at;
    }
    return true;
}

void checkSearchValues(std::string_view text) {
    const std::vector<std::string> values = zv::parseStringForValues(text);
    if (values.empty()) fail("no search values");
    for (const std::string& value : values)
        if (!isSubsequence(value, text)) fail("search value \"" + value + "\" is not in the text");
}

void checkEventInfo(const std::optional<zv::Value>& body) {
    constexpr uint64_t kView = 7;
    zv::Rect rect;
    const zv::Value info = zv::eventInfoFromBody(body, kView, rect);
    if (!info.is_object() || !info["elementAttributes"].is_object() || info["webView"] != kView)
        fail("element event info of the wrong shape: " + info.dump());
    info.dump();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    checkSearchValues(text);

    zv::Value parsed = zv::Value::parse(text, nullptr, false);
    const std::optional<zv::Value> body =
        parsed.is_discarded() ? std::nullopt : std::optional<zv::Value>(std::move(parsed));
    checkEventInfo(body);
    zv::keyDownFromBody(body);
    if (!body) return 0;
    const zv::SearchValuesMessage message = zv::readSearchValuesMessage(*body);
    if (message.kind == zv::SearchValuesMessage::Kind::Malformed) body->dump();
    if (body->is_string()) checkSearchValues(body->get<std::string>());
    return 0;
}
