// The document: the root of a parsed page.
#pragma once

#include <zv/Export.h>

#include <zv/html/HTMLNode.h>

#include <string>
#include <string_view>

namespace zv::html {

class HTMLDocumentType;
class HTMLElement;

enum class HTMLQuirksMode : uint8_t { NoQuirks, LimitedQuirks, Quirks };

class ZV_EXPORT HTMLDocument final : public HTMLNode {
public:
    HTMLDocument() : HTMLNode(HTMLNodeType::Document) {}
    static Ref<HTMLDocument> create() { return make<HTMLDocument>(); }
    // Parses UTF-8 text as a whole document.
    static Ref<HTMLDocument> documentWithString(std::string_view html);

    HTMLQuirksMode quirksMode() const noexcept { return quirksMode_; }
    void setQuirksMode(HTMLQuirksMode mode) noexcept { quirksMode_ = mode; }

    HTMLDocumentType* documentType() const noexcept;
    HTMLElement* documentElement() const noexcept;
    // The first <head> / <body> child of the document element, or null.
    HTMLElement* head() const noexcept;
    HTMLElement* body() const noexcept;
    // The first <title> element's text, white space stripped and collapsed.
    std::string title() const;

    static bool isKind(const HTMLNode& n) noexcept { return n.nodeType() == HTMLNodeType::Document; }

protected:
    Ref<HTMLNode> cloneShallow() const override;

private:
    HTMLQuirksMode quirksMode_ = HTMLQuirksMode::NoQuirks;
};

}  // namespace zv::html
