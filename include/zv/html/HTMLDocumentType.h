// The <!DOCTYPE> node.
#pragma once

#include <zv/Export.h>

#include <zv/html/HTMLNode.h>

namespace zv::html {

class ZV_EXPORT HTMLDocumentType final : public HTMLNode {
public:
    HTMLDocumentType(std::string name, std::string publicIdentifier, std::string systemIdentifier)
        : HTMLNode(HTMLNodeType::DocumentType), name_(std::move(name)),
          publicIdentifier_(std::move(publicIdentifier)), systemIdentifier_(std::move(systemIdentifier)) {}
    static Ref<HTMLDocumentType> create(std::string name, std::string publicId = {}, std::string systemId = {}) {
        return make<HTMLDocumentType>(std::move(name), std::move(publicId), std::move(systemId));
    }

    const std::string& name() const noexcept { return name_; }
    const std::string& publicIdentifier() const noexcept { return publicIdentifier_; }
    const std::string& systemIdentifier() const noexcept { return systemIdentifier_; }

    static bool isKind(const HTMLNode& n) noexcept { return n.nodeType() == HTMLNodeType::DocumentType; }

protected:
    Ref<HTMLNode> cloneShallow() const override { return create(name_, publicIdentifier_, systemIdentifier_); }

private:
    std::string name_, publicIdentifier_, systemIdentifier_;
};

}  // namespace zv::html
