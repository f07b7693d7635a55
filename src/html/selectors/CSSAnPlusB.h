// The An+B microsyntax of CSS Syntax Level 3, read from tokens.
//
// It is defined on tokens, not text, which is what makes `2n- 1` valid and
// `2n -+1` or `+ n` invalid: the tokenizer has already turned `2n-1` into a
// dimension with the unit "n-1" and `-n` into an identifier.
#pragma once

#include "CSSSelectorTokenizer.h"
#include "CompiledSelector.h"

#include <optional>
#include <vector>

namespace zv::html {

// Reads An+B from tokens[pos, end), leading white space allowed, and moves
// `pos` past it (trailing white space is the caller's). Null when the tokens
// there are not An+B.
std::optional<AnPlusB> parseAnPlusB(const std::vector<CSSToken>& tokens, size_t& pos, size_t end);

}  // namespace zv::html
