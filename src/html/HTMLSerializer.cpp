#include <zv/html/HTMLSerializer.h>

#include <zv/html/HTMLCharacterData.h>
#include <zv/html/HTMLDocumentFragment.h>
#include <zv/html/HTMLDocumentType.h>
#include <zv/html/HTMLElement.h>

#include <cstring>
#include <vector>

namespace zv::html {

namespace {

// Elements that "serialize as void": no children and no end tag are written.
bool serializesAsVoid(const HTMLElement& e) {
    if (e.htmlNamespace() != Namespace::HTML) return false;
    switch (e.tag()) {
    case Tag::area: case Tag::base: case Tag::basefont: case Tag::bgsound: case Tag::br:
    case Tag::col: case Tag::embed: case Tag::frame: case Tag::hr: case Tag::img:
    case Tag::input: case Tag::keygen: case Tag::link: case Tag::meta: case Tag::param:
    case Tag::source: case Tag::track: case Tag::wbr:
        return true;
    default:
        return false;
    }
}

// Text inside these is written as it is. <noscript> is not among them: the
// library parses with scripting off, where its content is markup.
bool holdsRawText(const HTMLNode* parent) {
    auto* e = parent ? parent->as<HTMLElement>() : nullptr;
    if (!e || e->htmlNamespace() != Namespace::HTML) return false;
    switch (e->tag()) {
    case Tag::style: case Tag::script: case Tag::xmp: case Tag::iframe:
    case Tag::noembed: case Tag::noframes: case Tag::plaintext:
        return true;
    default:
        return false;
    }
}

// Appends `s` with the bytes for which `special` holds replaced by their
// references; U+00A0 (C2 A0 in UTF-8) always becomes "&nbsp;".
template <class Special>
void appendEscaped(std::string& out, std::string_view s, Special special) {
    size_t run = 0;
    for (size_t i = 0; i < s.size(); ++i) {
        unsigned char c = s[i];
        const char* ref = nullptr;
        size_t width = 1;
        if (c == 0xC2 && i + 1 < s.size() && (unsigned char)s[i + 1] == 0xA0) {
            ref = "&nbsp;";
            width = 2;
        } else if (special(c)) {
            switch (c) {
            case '&': ref = "&amp;"; break;
            case '<': ref = "&lt;"; break;
            case '>': ref = "&gt;"; break;
            case '"': ref = "&quot;"; break;
            }
        }
        if (!ref) continue;
        out.append(s, run, i - run);
        out.append(ref);
        i += width - 1;
        run = i + 1;
    }
    out.append(s, run, s.size() - run);
}

const HTMLNode* firstChildToSerialize(const HTMLNode& node) {
    if (auto* e = node.as<HTMLElement>(); e && e->templateContent()) return e->templateContent()->firstChild();
    return node.firstChild();
}

void appendStartTag(std::string& out, const HTMLElement& e) {
    out += '<';
    out += e.localName();
    for (const auto& a : e.attributes()) {
        out += ' ';
        if (a.ns == AttributeNamespace::None) out += a.name;
        else out += a.qualifiedName();
        out += "=\"";
        appendEscapedAttributeValue(out, a.value);
        out += '"';
    }
    out += '>';
}

void appendEndTag(std::string& out, const HTMLElement& e) {
    out += "</";
    out += e.localName();
    out += '>';
}

// Writes a node that is not an element, or an element's start tag.
void appendLeaf(std::string& out, const HTMLNode& node) {
    switch (node.nodeType()) {
    case HTMLNodeType::Element:
        appendStartTag(out, static_cast<const HTMLElement&>(node));
        break;
    case HTMLNodeType::Text: {
        const auto& text = static_cast<const HTMLText&>(node).data();
        if (holdsRawText(node.parentNode())) out += text;
        else appendEscapedText(out, text);
        break;
    }
    case HTMLNodeType::Comment:
        out += "<!--";
        out += static_cast<const HTMLComment&>(node).data();
        out += "-->";
        break;
    case HTMLNodeType::DocumentType:
        out += "<!DOCTYPE ";
        out += static_cast<const HTMLDocumentType&>(node).name();
        out += '>';
        break;
    case HTMLNodeType::Document:
    case HTMLNodeType::DocumentFragment:
        break;
    }
}

// The children of `root`, walked with an explicit stack so that depth costs
// heap, not native stack.
void appendChildren(std::string& out, const HTMLNode& root) {
    struct Open {
        const HTMLElement* element;
        const HTMLNode* resumeAt;
    };
    std::vector<Open> open;
    const HTMLNode* node = firstChildToSerialize(root);
    for (;;) {
        while (node) {
            appendLeaf(out, *node);
            auto* e = node->as<HTMLElement>();
            if (!e || serializesAsVoid(*e)) {
                node = node->nextSibling();
                continue;
            }
            if (const HTMLNode* child = firstChildToSerialize(*e)) {
                open.push_back({e, node->nextSibling()});
                node = child;
                continue;
            }
            appendEndTag(out, *e);
            node = node->nextSibling();
        }
        if (open.empty()) return;
        appendEndTag(out, *open.back().element);
        node = open.back().resumeAt;
        open.pop_back();
    }
}

}  // namespace

void appendEscapedText(std::string& out, std::string_view text) {
    appendEscaped(out, text, [](unsigned char c) { return c == '&' || c == '<' || c == '>'; });
}

void appendEscapedAttributeValue(std::string& out, std::string_view value) {
    appendEscaped(out, value, [](unsigned char c) { return c == '&' || c == '"' || c == '<' || c == '>'; });
}

std::string serializeChildren(const HTMLNode& node) {
    std::string out;
    appendChildren(out, node);
    return out;
}

std::string serializeNode(const HTMLNode& node) {
    std::string out;
    auto* e = node.as<HTMLElement>();
    if (!e) {
        if (node.nodeType() == HTMLNodeType::Document || node.nodeType() == HTMLNodeType::DocumentFragment)
            appendChildren(out, node);
        else
            appendLeaf(out, node);
        return out;
    }
    appendStartTag(out, *e);
    if (serializesAsVoid(*e)) return out;
    appendChildren(out, node);
    appendEndTag(out, *e);
    return out;
}

}  // namespace zv::html
