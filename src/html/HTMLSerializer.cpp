#include <zv/html/HTMLSerializer.h>

#include <zv/html/HTMLCharacterData.h>
#include <zv/html/HTMLDocumentFragment.h>
#include <zv/html/HTMLDocumentType.h>
#include <zv/html/HTMLElement.h>

#include <array>
#include <cstring>
#include <vector>

namespace zv::html {

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

namespace {

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

// Which bytes stop the scan for a run that needs no escaping: the special
// characters of the context and 0xC2, the lead byte of U+00A0.
using StopTable = std::array<bool, 256>;

constexpr StopTable stopTable(std::string_view specials) {
    StopTable table{};
    for (char c : specials) table[static_cast<unsigned char>(c)] = true;
    table[0xC2] = true;
    return table;
}

constexpr StopTable kTextStops = stopTable("&<>");
constexpr StopTable kAttributeStops = stopTable("&<>\"");

// Appends `s` with its special characters replaced by their references;
// U+00A0 (C2 A0 in UTF-8) becomes "&nbsp;". Runs of ordinary bytes are
// copied whole, since most text has nothing to escape.
void appendEscaped(std::string& out, std::string_view s, const StopTable& stops) {
    const size_t n = s.size();
    size_t i = 0;
    while (i < n) {
        size_t run = i;
        while (i < n && !stops[static_cast<unsigned char>(s[i])]) ++i;
        out.append(s.data() + run, i - run);
        if (i == n) return;
        switch (s[i]) {
        case '&': out += "&amp;"; break;
        case '<': out += "&lt;"; break;
        case '>': out += "&gt;"; break;
        case '"': out += "&quot;"; break;
        default:  // 0xC2
            if (i + 1 < n && static_cast<unsigned char>(s[i + 1]) == 0xA0) {
                out += "&nbsp;";
                ++i;
            } else {
                out += s[i];
            }
        }
        ++i;
    }
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
    appendEscaped(out, text, kTextStops);
}

void appendEscapedAttributeValue(std::string& out, std::string_view value) {
    appendEscaped(out, value, kAttributeStops);
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
