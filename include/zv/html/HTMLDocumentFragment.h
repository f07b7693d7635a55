// A parentless container of nodes, as fragment parsing returns it.
#pragma once

#include <zv/Export.h>

#include <zv/html/HTMLNode.h>

namespace zv::html {

class ZV_EXPORT HTMLDocumentFragment final : public HTMLNode {
public:
    HTMLDocumentFragment() : HTMLNode(HTMLNodeType::DocumentFragment) {}
    static Ref<HTMLDocumentFragment> create() { return make<HTMLDocumentFragment>(); }
    static bool isKind(const HTMLNode& n) noexcept { return n.nodeType() == HTMLNodeType::DocumentFragment; }

protected:
    Ref<HTMLNode> cloneShallow() const override { return create(); }
};

}  // namespace zv::html
