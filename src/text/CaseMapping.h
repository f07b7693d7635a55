// Unicode case mapping the way the platform's string class does it: full
// mappings (ß → SS), root locale, so results do not depend on the user's
// locale. Pure ASCII takes a short cut around ICU with the same result.
#pragma once

#include <string>
#include <string_view>

namespace zv::textcase {

std::string lowercase(std::string_view utf8);
std::string uppercase(std::string_view utf8);

// Each word title-cased and the rest of it lower-cased, words as ICU's word
// break iterator finds them ("hello WORLD's" → "Hello World's").
std::string capitalize(std::string_view utf8);

bool isASCII(std::string_view s) noexcept;

}  // namespace zv::textcase
