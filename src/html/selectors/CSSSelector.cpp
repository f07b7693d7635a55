#include <zv/html/CSSSelector.h>

#include <zv/html/HTMLDocument.h>

#include "CSSSelectorMatcher.h"
#include "CSSSelectorParser.h"

namespace zv::html {

namespace {

// One complex selector of one compound holding `simple`.
std::shared_ptr<const CompiledSelectorList> singleSimple(SimpleSelector simple) {
    CompoundSelector compound;
    compound.simples.push_back(std::move(simple));
    ComplexSelector complex;
    complex.compounds.push_back(std::move(compound));
    complex.topDown = true;
    auto list = std::make_shared<CompiledSelectorList>();
    list->selectors.push_back(std::move(complex));
    return list;
}

}  // namespace

CSSSelector CSSSelector::parse(std::string_view text) {
    return CSSSelector(std::shared_ptr<const CompiledSelectorList>(parseSelectorList(text)));
}

CSSSelector CSSSelector::typeSelector(std::string_view name) {
    if (name.empty()) return {};
    return CSSSelector(singleSimple(makeTypeSelector(name)));
}

CSSSelector CSSSelector::hasAttributeSelector(std::string_view name) {
    if (name.empty()) return {};
    return CSSSelector(singleSimple(makeAttributeSelector(name)));
}

CSSSelector CSSSelector::idSelector(std::string_view id) {
    if (id.empty()) return {};
    SimpleSelector simple{SimpleSelectorKind::Id};
    simple.name = id;
    return CSSSelector(singleSimple(std::move(simple)));
}

bool CSSSelector::matches(const HTMLElement& element) const {
    return compiled_ && matchesSelectorList(*compiled_, element, selectorMatchContextFor(element));
}

bool CSSSelector::matches(const HTMLElement& element, HTMLQuirksMode mode) const {
    if (!compiled_) return false;
    SelectorMatchContext context;
    context.quirks = mode == HTMLQuirksMode::Quirks;
    context.scope = &element;
    return matchesSelectorList(*compiled_, element, context);
}

}  // namespace zv::html
