#include <zv/webview/ScriptValue.h>

#include <jsc/jsc.h>

namespace zv {

std::optional<nlohmann::json> valueFromJSCValue(JSCValue* value) {
    if (!value || jsc_value_is_undefined(value)) return std::nullopt;
    // A bare function or a cyclic object has no JSON text; the engine then
    // leaves an exception in its context, which must not leak to the next call.
    JSCContext* context = jsc_value_get_context(value);
    char* json = jsc_value_to_json(value, 0);
    if (context) jsc_context_clear_exception(context);
    if (!json) return std::nullopt;
    nlohmann::json parsed = nlohmann::json::parse(json, nullptr, false);
    g_free(json);
    if (parsed.is_discarded()) return std::nullopt;
    return parsed;
}

}  // namespace zv
