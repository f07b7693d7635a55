// The style sheets of a document's head, as the head CSS operations find and
// drop them.
#pragma once

#include <zv/html/HTMLElement.h>

#include <vector>

namespace zv::css {

// The <style> elements within `head`, at any depth, in document order. They
// are held, so removing one cannot free another still to be visited.
std::vector<html::Ref<html::HTMLElement>> headStyleElements(const html::HTMLElement& head);

// Removes `element` from its parent element; one without a parent element
// (detached, or a child of the document itself) stays where it is.
void removeFromParentElement(html::HTMLElement& element);

}  // namespace zv::css
