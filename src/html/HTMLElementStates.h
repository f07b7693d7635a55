// The element states selectors read, as a static tree has them: what the
// markup says, since no user has clicked, typed or followed anything yet.
#pragma once

#include <zv/html/HTMLElement.h>

#include <string>
#include <vector>

namespace zv::html {

// :checked: a checkbox or radio <input> with `checked`, an <option> with `selected`.
bool isCheckedByMarkup(const HTMLElement& element);

// The HTML standard's "actually disabled": form controls with `disabled` or
// inside a disabled <fieldset> (but not in its first <legend>), options of a
// disabled <optgroup>, and so on.
bool isActuallyDisabled(const HTMLElement& element);
// :enabled: the elements that can be disabled, when they are not.
bool isEnabledFormElement(const HTMLElement& element);

// :link and :any-link: <a> and <area> with an `href`.
bool isHyperlink(const HTMLElement& element);

// :lang(): the language from the nearest `xml:lang` or `lang`, equal to one
// of the ranges or starting with it and "-", ASCII case-insensitively.
bool matchesLanguageRanges(const HTMLElement& element, const std::vector<std::string>& ranges);

}  // namespace zv::html
