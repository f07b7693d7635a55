// Dictionaries, arrays and the other loosely typed values that cross the
// framework: notification user info, defaults, script results and messages.
//
// A Value is an nlohmann::json: objects are dictionaries with string keys,
// arrays hold any Values, and numbers keep integer and floating-point apart.
#pragma once

#include <nlohmann/json.hpp>

namespace zv {

using Value = nlohmann::json;

}  // namespace zv
