// Page values at the web-view boundary.
//
// JavaScriptCore values are turned into JSON values once, where they leave
// the web engine (script results, script-message bodies); everything past
// that point works on plain JSON.
#pragma once

#include <zv/Export.h>

#include <nlohmann/json.hpp>

#include <optional>

typedef struct _JSCValue JSCValue;

namespace zv {

// The JSON form of `value`: objects, arrays, strings, numbers, booleans and
// null as JSON.stringify gives them. Undefined (and a null pointer) give
// nothing: the page answered without a value. A value JSON cannot hold
// (a function, a cyclic object) also gives nothing.
ZV_EXPORT std::optional<nlohmann::json> valueFromJSCValue(JSCValue* value);

}  // namespace zv
