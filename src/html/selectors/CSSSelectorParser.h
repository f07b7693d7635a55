// Selector text to its compiled form: the grammar of Selectors Level 4 over
// CSS tokens.
#pragma once

#include "CompiledSelector.h"

#include <memory>
#include <string_view>

namespace zv::html {

// A selector list, or null when the text is not one. Lists nest at most
// kMaxSelectorNesting functional pseudo-classes deep and complex selectors
// hold at most kMaxCompounds compounds, so matching, which recurses over
// both, keeps a small stack whatever the text.
std::unique_ptr<CompiledSelectorList> parseSelectorList(std::string_view text);

constexpr int kMaxSelectorNesting = 32;
constexpr size_t kMaxCompounds = 256;

// The simple selectors the factories of CSSSelector build without parsing.
SimpleSelector makeTypeSelector(std::string_view name);
SimpleSelector makeAttributeSelector(std::string_view name);

}  // namespace zv::html
