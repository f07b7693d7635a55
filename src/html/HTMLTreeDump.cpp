#include "HTMLTreeDump.h"

#include <zv/html/HTMLCharacterData.h>
#include <zv/html/HTMLDocumentFragment.h>
#include <zv/html/HTMLDocumentType.h>
#include <zv/html/HTMLElement.h>

#include <algorithm>
#include <utility>
#include <vector>

namespace zv::html {

namespace {

std::string_view attributePrefix(AttributeNamespace ns) {
    switch (ns) {
    case AttributeNamespace::None: return {};
    case AttributeNamespace::XLink: return "xlink ";
    case AttributeNamespace::XML: return "xml ";
    case AttributeNamespace::XMLNS: return "xmlns ";
    }
    return {};
}

void startLine(std::string& out, size_t depth) {
    out += "| ";
    out.append(depth * 2, ' ');
}

void dumpElement(std::string& out, const HTMLElement& element, size_t depth) {
    startLine(out, depth);
    out += '<';
    if (element.htmlNamespace() == Namespace::SVG) out += "svg ";
    if (element.htmlNamespace() == Namespace::MathML) out += "math ";
    out += element.localName();
    out += ">\n";

    std::vector<std::pair<std::string, const std::string*>> attributes;
    attributes.reserve(element.attributes().size());
    for (const auto& a : element.attributes())
        attributes.emplace_back(std::string(attributePrefix(a.ns)) + a.name, &a.value);
    std::sort(attributes.begin(), attributes.end(),
              [](const auto& x, const auto& y) { return x.first < y.first; });
    for (const auto& [name, value] : attributes) {
        startLine(out, depth + 1);
        out += name;
        out += "=\"";
        out += *value;
        out += "\"\n";
    }
}

void dumpLeaf(std::string& out, const HTMLNode& node, size_t depth) {
    startLine(out, depth);
    switch (node.nodeType()) {
    case HTMLNodeType::Text:
        out += '"';
        out += static_cast<const HTMLText&>(node).data();
        out += "\"\n";
        return;
    case HTMLNodeType::Comment:
        out += "<!-- ";
        out += static_cast<const HTMLComment&>(node).data();
        out += " -->\n";
        return;
    case HTMLNodeType::DocumentType: {
        const auto& doctype = static_cast<const HTMLDocumentType&>(node);
        out += "<!DOCTYPE ";
        out += doctype.name();
        if (!doctype.publicIdentifier().empty() || !doctype.systemIdentifier().empty()) {
            out += " \"";
            out += doctype.publicIdentifier();
            out += "\" \"";
            out += doctype.systemIdentifier();
            out += '"';
        }
        out += ">\n";
        return;
    }
    default:
        out += node.nodeName();
        out += '\n';
        return;
    }
}

// Appends lines to `out`, handing them to `stream` whenever a batch is ready,
// or keeping them all when there is no stream.
void dump(const HTMLNode& root, std::string& out, std::ostream* stream) {
    constexpr size_t kBatch = 1 << 16;
    struct Pending {
        const HTMLNode* node;  // null: the "content" line of a template
        const HTMLNode* contentOf;
        size_t depth;
    };
    std::vector<Pending> pending;
    auto pushChildren = [&](const HTMLNode& parent, size_t depth) {
        for (const HTMLNode* child = parent.lastChild(); child; child = child->previousSibling())
            pending.push_back({child, nullptr, depth});
    };
    auto handOver = [&] {
        if (!stream || out.size() < kBatch) return;
        stream->write(out.data(), std::streamsize(out.size()));
        out.clear();
    };
    pushChildren(root, 0);
    while (!pending.empty()) {
        Pending item = pending.back();
        pending.pop_back();
        handOver();
        if (!item.node) {
            startLine(out, item.depth);
            out += "content\n";
            if (item.contentOf) pushChildren(*item.contentOf, item.depth + 1);
            continue;
        }
        const auto* element = item.node->as<HTMLElement>();
        if (!element) {
            dumpLeaf(out, *item.node, item.depth);
            continue;
        }
        dumpElement(out, *element, item.depth);
        pushChildren(*element, item.depth + 1);
        // Every template shows its contents, created or not.
        if (element->is(Tag::template_)) pending.push_back({nullptr, element->templateContent(), item.depth + 1});
    }
    if (stream) stream->write(out.data(), std::streamsize(out.size()));
}

}  // namespace

std::string dumpTree(const HTMLNode& root) {
    std::string out;
    dump(root, out, nullptr);
    return out;
}

void dumpTree(const HTMLNode& root, std::ostream& out) {
    std::string batch;
    dump(root, batch, &out);
}

}  // namespace zv::html
