// The snippet extraction itself, over tokens from wherever the caller's
// tokenizer reads them (a text in memory, a stream being decoded).
#pragma once

#include "HTMLTokenizer.h"

#include <optional>
#include <string>

namespace zv {

std::optional<std::string> snippetOfTokens(html::HTMLTokenizer& tokenizer, long maxLength, unsigned options);

}  // namespace zv
