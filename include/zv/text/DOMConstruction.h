// Building markup in code: elements made, set up and attached in one call,
// and the "src" attribute as a property.
//
// The creators work in a fixed order: create, set the class, set the id,
// attach (the addElement forms only), then call the set-up callback. So the
// callback sees the element already in the tree and may add children to it.
#pragma once

#include <zv/Export.h>

#include <zv/html/HTMLElement.h>

#include <functional>
#include <string>
#include <string_view>

namespace zv {

using ElementSetup = std::function<void(html::HTMLElement&)>;

// A new <tag> appended as the last child of `parent`. Its class attribute is
// `className`, "" when that is absent (empty); its id is set only when
// `elementId` is not empty. `setup`, when given, runs last. Returns the
// element, or null (and no callback) when `parent` cannot have children.
ZV_EXPORT html::HTMLElement* addElement(html::HTMLNode& parent, std::string_view tag, std::string_view className,
                              std::string_view elementId, const ElementSetup& setup = {});
// The same without class or id.
ZV_EXPORT html::HTMLElement* addElement(html::HTMLNode& parent, std::string_view tag, const ElementSetup& setup = {});

// The same set-up on a detached element that the caller owns.
ZV_EXPORT html::Ref<html::HTMLElement> newWithTag(std::string_view tag, std::string_view className,
                                        std::string_view elementId, const ElementSetup& setup = {});
ZV_EXPORT html::Ref<html::HTMLElement> newWithTag(std::string_view tag, const ElementSetup& setup = {});

// The "src" attribute, or null when there is none.
ZV_EXPORT const std::string* src(const html::HTMLElement& element);
ZV_EXPORT void setSrc(html::HTMLElement& element, std::string_view source);

}  // namespace zv
