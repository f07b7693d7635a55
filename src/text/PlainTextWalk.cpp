// plainText in one walk over the tree, writing the text as it goes.
//
// The literal pipeline serializes the copy, rewrites the markup and parses it
// again only to take the text of the result. Where the parser gives back the
// same text in the same order, what each rewrite does to that text can be read
// off the tree instead:
// - a line feed follows every "</div>", and in a paragraph body every "</p>";
//   it stands for a line feed the next text starts with, if there is one;
// - in a paragraph body a line feed goes before every "<br>" (a br without
//   attributes), and a "<br>" with nothing but white-space text between it
//   and its paragraph's "</p>" goes, with that text;
// - in a note body a div holding nothing or only no-break spaces loses them;
// - the parser drops a line feed right after a <pre>, <listing> or <textarea>
//   start tag, the one a rewrite puts before a <br> included.
// The passes before the serialization are read off the tree the same way:
// hidden elements are skipped and each paragraph's break cleaning is worked
// out from its children. Citations and the reply separator add nodes, so a
// tree holding one is walked as a copy those two passes changed.
//
// Raw text is read back as its text through the rewrites, which cannot match
// across its ends.
//
// The walk gives up where the reparse could give other text: templates,
// <plaintext>, raw text that would hold its own end tag, elements foreign
// content would not keep, content a table would foster-parent, names and
// comments that do not read back as they were written, children the
// serializer leaves out, and characters the parser's input stream changes
// (NUL, CR, malformed UTF-8).
#include "ASCIIText.h"
#include "PlainTextPasses.h"
#include "PlainTextWalk.h"

#include <zv/foundation/Strings.h>
#include <zv/html/HTMLCharacterData.h>
#include <zv/html/HTMLSerializer.h>

#include <unicode/uchar.h>

#include <cstring>
#include <vector>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace zv {

using html::HTMLAttribute;
using html::HTMLComment;
using html::HTMLElement;
using html::HTMLNode;
using html::HTMLNodeType;
using html::HTMLText;
using html::Namespace;
using html::Ref;
using html::Tag;

namespace {

enum class Body : uint8_t { Paragraphs, Notes };

// How a walk ended.
enum class Outcome : uint8_t {
    Done,
    NeedsPasses,  // a citation or the reply separator: walk a copy they changed
    NoteBody,     // a div[zv-note]: walk again with the note-body rewrites
    Unsure,       // the reparse might not give the walked text
};

bool isUnicodeSpace(char32_t c) {
    if (c < 0x80) return c == ' ' || (c >= '\t' && c <= '\r');
    return u_isUWhiteSpace(UChar32(c));
}

bool isASCIISpaceOrNonASCII(char c) { return static_cast<unsigned char>(c) >= 0x80 || isUnicodeSpace(char32_t(c)); }

// The text without white space at either end, as zvTrim cuts it; most text
// starts and ends with a visible ASCII character and is taken as it is.
std::string_view trimmed(std::string_view s) {
    if (s.empty() || (!isASCIISpaceOrNonASCII(s.front()) && !isASCIISpaceOrNonASCII(s.back()))) return s;
    return trimCodePoints(s, isUnicodeSpace);
}

// White space as the rewrite of the markup sees it: U+00A0 is written "&nbsp;".
bool isMarkupSpace(char32_t c) { return c != 0xA0 && isUnicodeSpace(c); }

bool onlyASCIIWhitespace(std::string_view s) {
    for (char c : s)
        if (!isASCIIWhitespace(c)) return false;
    return true;
}

bool onlyMarkupSpace(std::string_view s) { return trimCodePoints(s, isMarkupSpace).empty(); }

bool onlyNoBreakSpaces(std::string_view s) {
    if (s.size() % 2) return false;
    for (size_t i = 0; i < s.size(); i += 2)
        if (s[i] != '\xC2' || s[i + 1] != '\xA0') return false;
    return true;
}

bool equalsIgnoringASCIICase(std::string_view s, std::string_view lower) {
    if (s.size() != lower.size()) return false;
    for (size_t i = 0; i < s.size(); ++i)
        if (toASCIILower(s[i]) != lower[i]) return false;
    return true;
}

bool startsWithIgnoringASCIICase(std::string_view s, std::string_view lower) {
    return s.size() >= lower.size() && equalsIgnoringASCIICase(s.substr(0, lower.size()), lower);
}

bool containsIgnoringASCIICase(std::string_view s, std::string_view lower) {
    for (size_t i = 0; i + lower.size() <= s.size(); ++i)
        if (equalsIgnoringASCIICase(s.substr(i, lower.size()), lower)) return true;
    return false;
}

// The elements the pipeline removes before the text is taken; its selectors
// match these names in any namespace.
bool isHidden(const HTMLElement& e) {
    const Tag tag = e.tag();
    return tag == Tag::head || tag == Tag::script || tag == Tag::style;
}

// A name the parser reads back as written: nothing that ends or splits a tag,
// and nothing a rewrite pattern matches ("<div..." would). HTML names must be
// lower case: the parser lowers them, and the pipeline's selectors would
// match them.
bool isPlainName(std::string_view name, Namespace ns) {
    if (name.empty() || startsWithIgnoringASCIICase(name, "div")) return false;
    for (char c : name)
        if (c == '<' || c == '>' || c == '/' || c == '\0' || isASCIIWhitespace(c) ||
            (ns == Namespace::HTML && c >= 'A' && c <= 'Z'))
            return false;
    return true;
}

// Start tags that end foreign content. The parser never puts one in an SVG or
// MathML element, so such an element would not be read back where it is.
bool breaksOutOfForeignContent(const HTMLElement& e) {
    Tag tag = e.tag();
    if (tag == Tag::Unknown && hasASCIIUpper(e.localName())) tag = html::tagFromName(toASCIILower(e.localName()));
    switch (tag) {
    case Tag::b: case Tag::big: case Tag::blockquote: case Tag::body: case Tag::br: case Tag::center:
    case Tag::code: case Tag::dd: case Tag::div: case Tag::dl: case Tag::dt: case Tag::em: case Tag::embed:
    case Tag::h1: case Tag::h2: case Tag::h3: case Tag::h4: case Tag::h5: case Tag::h6: case Tag::head:
    case Tag::hr: case Tag::i: case Tag::img: case Tag::li: case Tag::listing: case Tag::menu: case Tag::meta:
    case Tag::nobr: case Tag::ol: case Tag::p: case Tag::pre: case Tag::ruby: case Tag::s: case Tag::small:
    case Tag::span: case Tag::strong: case Tag::strike: case Tag::sub: case Tag::sup: case Tag::table:
    case Tag::tt: case Tag::u: case Tag::ul: case Tag::var:
        return true;
    case Tag::font:
        return e.hasAttribute("color") || e.hasAttribute("face") || e.hasAttribute("size");
    default:
        return false;
    }
}

// Where the parser reads HTML inside SVG or MathML.
bool isIntegrationPoint(const HTMLElement& e) {
    switch (e.htmlNamespace()) {
    case Namespace::SVG:
        return e.tag() == Tag::foreignObject || e.tag() == Tag::desc || e.tag() == Tag::title;
    case Namespace::MathML: {
        if (e.tag() == Tag::annotation_xml) {
            const std::string* encoding = e.attribute("encoding");
            return encoding && (equalsIgnoringASCIICase(*encoding, "text/html") ||
                                equalsIgnoringASCIICase(*encoding, "application/xhtml+xml"));
        }
        const Tag tag = e.tag();
        return tag == Tag::mi || tag == Tag::mo || tag == Tag::mn || tag == Tag::ms || tag == Tag::mtext;
    }
    default:
        return false;
    }
}

// Whether the parser would put an element of this namespace under a parent
// of that one: foreign content starts with <svg> or <math> where HTML is read,
// HTML starts again only at an integration point.
bool crossesNamespacesAlike(const HTMLElement& e, const HTMLElement* parent) {
    const Namespace ns = e.htmlNamespace();
    const Namespace parentNamespace = parent ? parent->htmlNamespace() : Namespace::HTML;
    if (ns == parentNamespace) return true;
    const bool readsHTML = parentNamespace == Namespace::HTML || isIntegrationPoint(*parent);
    switch (ns) {
    case Namespace::HTML: return readsHTML;
    case Namespace::SVG:
        return e.tag() == Tag::svg && (readsHTML || parent->tag() == Tag::annotation_xml);
    case Namespace::MathML: return e.tag() == Tag::math && readsHTML;
    }
    return false;
}

// Whether the element's tags read back as the same element, its content
// aside. Not templates (their content is no child), <plaintext> (which takes
// the rest of the markup as text) nor <selectedcontent>, whose content the
// parser replaces with a copy of the selected option's.
bool tagsReparseAlike(const HTMLElement& e) {
    const Namespace ns = e.htmlNamespace();
    switch (e.tag()) {
    case Tag::Unknown:
        if (!isPlainName(e.localName(), ns)) return false;
        if (ns == Namespace::HTML) return e.localName() != "selectedcontent";
        break;
    case Tag::template_: return false;
    case Tag::plaintext: case Tag::svg: case Tag::math:
        if (ns == Namespace::HTML) return false;
        break;
    default:
        break;
    }
    return ns == Namespace::HTML || !breaksOutOfForeignContent(e);
}

// Elements whose text the serializer writes as it is and the parser reads
// back up to the element's end tag. A script or style gets here only as the
// walk's root, which is not removed.
bool holdsRawText(const HTMLElement& e) {
    if (e.htmlNamespace() != Namespace::HTML) return false;
    switch (e.tag()) {
    case Tag::xmp: case Tag::iframe: case Tag::noembed: case Tag::noframes: case Tag::script: case Tag::style:
        return true;
    default:
        return false;
    }
}

// In a note body, whether a "<div" in `s` has no ">" after it: the rewrite
// of empty lines, which skips up to a ">", could then start inside `s` and
// end past it.
bool opensDivRewrite(std::string_view s, Body body) {
    if (body == Body::Paragraphs) return false;
    const size_t end = s.rfind('>');
    return containsIgnoringASCIICase(end == std::string_view::npos ? s : s.substr(end), "<div");
}

enum class RawText : uint8_t { AsItIs, Rewritten, Unsure };

// What the reparse makes of a raw text element's text. No rewrite can match
// across its ends (the start tag and the end tag right after the text stop
// every pattern), so it is the text through the rewrites, unless that holds
// the end tag, comes in several nodes, or is script text with a "<" (which
// could start one of its escapes).
RawText rawTextAfterReparse(const HTMLElement& e, Body body, std::string& rewritten) {
    const HTMLNode* child = e.firstChild();
    if (!child) return RawText::AsItIs;
    if (!child->isText() || child->nextSibling()) return RawText::Unsure;
    const std::string& text = static_cast<const HTMLText*>(child)->data();
    if (text.find('<') == std::string::npos) return RawText::AsItIs;
    if (e.is(Tag::script) || opensDivRewrite(text, body)) return RawText::Unsure;
    rewritten = rewriteMarkup(text, body == Body::Notes);
    const std::string endTag = "</" + std::string(e.localName());
    if (containsIgnoringASCIICase(rewritten, endTag)) return RawText::Unsure;
    return rewritten == text ? RawText::AsItIs : RawText::Rewritten;
}

// A comment the parser reads back as one comment with the same data, and
// that no rewrite can start in.
bool isPlainComment(std::string_view data, Body body) {
    if (data.starts_with('>') || data.starts_with("->") || data.ends_with("<!-")) return false;
    if (data.find("-->") != std::string_view::npos || data.find("--!>") != std::string_view::npos) return false;
    return !opensDivRewrite(data, body);
}

// Where a parent puts its content in table insertion modes: text there must
// be white space and elements of the table's own kinds, or the parser moves
// them in front of the table.
enum class TablePart : uint8_t { None, Table, RowGroup, Row, ColumnGroup };

TablePart tablePartOf(const HTMLNode* parent) {
    const HTMLElement* e = parent ? parent->as<HTMLElement>() : nullptr;
    if (!e || e->htmlNamespace() != Namespace::HTML) return TablePart::None;
    switch (e->tag()) {
    case Tag::table: return TablePart::Table;
    case Tag::tbody: case Tag::thead: case Tag::tfoot: return TablePart::RowGroup;
    case Tag::tr: return TablePart::Row;
    case Tag::colgroup: return TablePart::ColumnGroup;
    default: return TablePart::None;
    }
}

bool staysInTablePart(const HTMLElement& e, TablePart part) {
    switch (e.tag()) {
    case Tag::caption: case Tag::colgroup: case Tag::thead: case Tag::tbody: case Tag::tfoot:
        return part == TablePart::Table;
    case Tag::col: return part == TablePart::Table || part == TablePart::ColumnGroup;
    case Tag::tr: return part == TablePart::Table || part == TablePart::RowGroup;
    case Tag::td: case Tag::th: return part != TablePart::ColumnGroup;
    // The parser closes a form in a table at once, so one with content
    // comes back without it.
    case Tag::form: return part != TablePart::ColumnGroup && !e.firstChild();
    case Tag::input: return part != TablePart::ColumnGroup;
    default: return false;
    }
}

// What one element's attributes say, in one pass over them.
struct AttributeFacts {
    bool plainNames = true;  // no ">", which ends the tag, nor in a note body "<", which starts a rewrite
    bool separator = false;  // id="zv-reply-separator"
    bool citation = false;   // type="cite" (the value ASCII case-insensitive, as for HTML selectors)
    bool noteMarker = false; // zv-note
};

// A name is always written followed by '="', so only the pattern of empty
// div lines, which skips attributes, can start inside one.
AttributeFacts attributeFacts(const HTMLElement& e, Body body) {
    AttributeFacts facts;
    for (const HTMLAttribute& a : e.attributes()) {
        std::string_view name = a.name;
        if (name.find('>') != name.npos || (body == Body::Notes && name.find('<') != name.npos))
            facts.plainNames = false;
        if (a.ns != html::AttributeNamespace::None) continue;
        if (a.name == "id" && a.value == "zv-reply-separator") facts.separator = true;
        if (equalsIgnoringASCIICase(a.name, "type") && equalsIgnoringASCIICase(a.value, "cite")) facts.citation = true;
        if (equalsIgnoringASCIICase(a.name, "zv-note")) facts.noteMarker = true;
    }
    return facts;
}

// A note body's empty line: a div with nothing but no-break spaces in it
// once hidden elements are gone.
bool isEmptyLineDiv(const HTMLElement& div, bool& hiddenChildren) {
    for (const HTMLNode* child = div.firstChild(); child; child = child->nextSibling()) {
        if (const HTMLText* text = child->as<HTMLText>()) {
            if (!onlyNoBreakSpaces(text->data())) return false;
        } else if (const HTMLElement* e = child->as<HTMLElement>(); e && isHidden(*e)) {
            hiddenChildren = true;
        } else {
            return false;
        }
    }
    return true;
}

// A paragraph as break cleaning and the rewrites leave it, worked out from
// its children before they are walked. Hidden children do not count: they
// are gone by the time breaks are cleaned.
struct Paragraph {
    const HTMLElement* element;
    bool cleaned;                          // the walk's root is not: the passes look below it
    const HTMLNode* stop = nullptr;        // the first child element that is not a br
    const HTMLNode* lastChild = nullptr;
    const HTMLNode* lastTextKept = nullptr;  // without a stop, the breaks after it go
    const HTMLNode* closingBreak = nullptr;  // the "<br>" dropped with the white space up to "</p>"
    bool pastStop = false;
    bool pastLastTextKept = false;
    bool dropping = false;  // past closingBreak

    // Whether cleanBreaks removes this br child, as the walk reaches it.
    bool removes(const HTMLNode& br) const {
        if (!cleaned) return false;
        return stop ? &br == lastChild : pastLastTextKept;
    }
};

bool isHiddenNode(const HTMLNode& node) {
    const HTMLElement* e = node.as<HTMLElement>();
    return e && isHidden(*e);
}

Paragraph paragraph(const HTMLElement& p, bool cleaned, Body body) {
    Paragraph r{&p, cleaned};
    if (cleaned) {
        for (const HTMLNode* child = p.firstChild(); child; child = child->nextSibling()) {
            if (const HTMLElement* e = child->as<HTMLElement>()) {
                if (isHidden(*e)) continue;
                if (!e->is(Tag::br)) {
                    r.stop = child;
                    break;
                }
            } else if (const HTMLText* text = child->as<HTMLText>()) {
                if (!trimmed(text->data()).empty()) r.lastTextKept = child;
            }
        }
        r.pastLastTextKept = !r.lastTextKept;
        for (const HTMLNode* child = p.lastChild(); child && !r.lastChild; child = child->previousSibling())
            if (!isHiddenNode(*child)) r.lastChild = child;
    }
    // Without a stop, every break after the last text goes and text before a
    // kept one is not white space: there is no closing break to look for.
    if (body == Body::Notes || (cleaned && !r.stop)) return r;
    for (const HTMLNode* child = p.lastChild(); child; child = child->previousSibling()) {
        if (const HTMLText* text = child->as<HTMLText>()) {
            if (onlyMarkupSpace(text->data())) continue;
            return r;
        }
        const HTMLElement* e = child->as<HTMLElement>();
        if (!e) return r;
        if (isHidden(*e)) continue;
        if (!e->is(Tag::br)) return r;
        if (cleaned && child == r.lastChild) continue;
        if (e->attributes().empty()) r.closingBreak = child;
        return r;
    }
    return r;
}

class Walk {
public:
    Walk(const HTMLElement& root, Body body, bool passesDone, std::string& out)
        : root_(root), body_(body), passesDone_(passesDone), out_(out) {}

    Outcome run() {
        const HTMLNode* node = &root_;
        for (;;) {
            const bool descend = enter(*node);
            if (outcome_ != Outcome::Done) return outcome_;
            if (descend) {
                node = node->firstChild();
                continue;
            }
            for (;;) {
                if (node == &root_) return outcome_;
                if (const HTMLNode* next = node->nextSibling()) {
                    node = next;
                    break;
                }
                node = node->parentNode();
                leave(static_cast<const HTMLElement&>(*node));
            }
        }
    }

private:
    // Handles the node or an element's start tag; true to walk its children.
    bool enter(const HTMLNode& node) {
        switch (node.nodeType()) {
        case HTMLNodeType::Element: return enterElement(static_cast<const HTMLElement&>(node));
        case HTMLNodeType::Text:
            if (!hidden_) text(static_cast<const HTMLText&>(node));
            return false;
        case HTMLNodeType::Comment:
            if (!hidden_) comment(static_cast<const HTMLComment&>(node));
            return false;
        default:
            outcome_ = Outcome::Unsure;
            return false;
        }
    }

    bool enterElement(const HTMLElement& e) {
        const bool root = &e == &root_;
        const AttributeFacts facts = attributeFacts(e, body_);
        // The passes find citations and the separator before hidden elements
        // go, so those are looked for inside them too.
        if (!root && !passesDone_ && (facts.separator || (facts.citation && e.is(Tag::blockquote)))) {
            outcome_ = Outcome::NeedsPasses;
            return false;
        }
        if (hidden_) return e.firstChild() != nullptr;
        if (!root && isHidden(e)) {
            if (passesDone_ || !e.firstChild()) return false;
            hidden_ = &e;
            return true;
        }
        const HTMLElement* parentElement = root ? nullptr : e.parentElement();
        if (!tagsReparseAlike(e) || !crossesNamespacesAlike(e, parentElement) || !facts.plainNames) return unsure();
        if (!root && body_ == Body::Paragraphs && facts.noteMarker && e.is(Tag::div)) {
            outcome_ = Outcome::NoteBody;
            return false;
        }
        if (!root) {
            if (TablePart part = tablePartOf(parentElement); part != TablePart::None && !staysInTablePart(e, part))
                return unsure();
            if (Paragraph* p = paragraphOf(parentElement)) {
                if (p->dropping) return false;
                if (&e == p->stop) p->pastStop = true;
                if (&e == p->closingBreak) {
                    p->dropping = true;
                    return false;
                }
                if (e.is(Tag::br) && p->removes(e)) return false;
            }
        }
        if (serializesAsVoid(e)) {
            if (e.firstChild()) return unsure();
            if (e.is(Tag::br) && body_ == Body::Paragraphs && e.attributes().empty() && !afterPreStart_) out_ += '\n';
            markup();
            return false;
        }
        markup();
        if (e.is(Tag::p)) {
            paragraphs_.push_back(paragraph(e, !root, body_));
        } else if (e.is(Tag::textarea) || e.is(Tag::title)) {
            for (const HTMLNode* child = e.firstChild(); child; child = child->nextSibling())
                if (!child->isText()) return unsure();
        } else if (holdsRawText(e)) {
            std::string rewritten;
            switch (rawTextAfterReparse(e, body_, rewritten)) {
            case RawText::AsItIs: break;
            case RawText::Unsure: return unsure();
            case RawText::Rewritten:
                writeText(rewritten);
                leave(e);
                return false;
            }
        }
        if (e.is(Tag::pre) || e.is(Tag::listing) || e.is(Tag::textarea)) skipLineFeed_ = afterPreStart_ = true;
        if (body_ == Body::Notes && e.is(Tag::div) && e.firstChild()) {
            bool hiddenChildren = false;
            if (isEmptyLineDiv(e, hiddenChildren)) {
                // Its hidden children are not walked, so nothing in them is
                // looked for: the separator might be there.
                if (hiddenChildren && !passesDone_) return unsure();
                leave(e);
                return false;
            }
        }
        if (e.firstChild()) return true;
        leave(e);
        return false;
    }

    // An element's end tag.
    void leave(const HTMLElement& e) {
        if (hidden_) {
            if (&e == hidden_) hidden_ = nullptr;
            return;
        }
        markup();
        if (e.is(Tag::p)) {
            paragraphs_.pop_back();
            if (body_ == Body::Paragraphs) lineFeedAfterEndTag();
        } else if (e.is(Tag::div)) {
            lineFeedAfterEndTag();
        }
    }

    void text(const HTMLText& node) {
        std::string_view data = node.data();
        const HTMLNode* parent = node.parentNode();
        if (tablePartOf(parent) != TablePart::None && !onlyASCIIWhitespace(data)) {
            unsure();
            return;
        }
        if (Paragraph* p = paragraphOf(parent)) {
            if (p->dropping) return;
            if (p->cleaned && !p->pastStop) {
                if (std::string_view cut = trimmed(data); !cut.empty()) {
                    data = cut;
                    if (&node == p->lastTextKept) p->pastLastTextKept = true;
                }
            }
        }
        writeText(data);
    }

    void writeText(std::string_view data) {
        if (data.empty()) return;
        if (skipLineFeed_ && data.front() == '\n') data.remove_prefix(1);
        markup();
        out_.append(data);
    }

    void comment(const HTMLComment& node) {
        if (!isPlainComment(node.data(), body_)) {
            unsure();
            return;
        }
        markup();
    }

    Paragraph* paragraphOf(const HTMLNode* parent) {
        return !paragraphs_.empty() && paragraphs_.back().element == parent ? &paragraphs_.back() : nullptr;
    }

    // Any markup written ends what the line feed rules look at.
    void markup() { skipLineFeed_ = afterPreStart_ = false; }

    void lineFeedAfterEndTag() {
        out_ += '\n';
        skipLineFeed_ = true;
    }

    bool unsure() {
        outcome_ = Outcome::Unsure;
        return false;
    }

    const HTMLElement& root_;
    const Body body_;
    const bool passesDone_;
    std::string& out_;
    Outcome outcome_ = Outcome::Done;
    const HTMLElement* hidden_ = nullptr;  // the removed element being looked through
    std::vector<Paragraph> paragraphs_;
    bool skipLineFeed_ = false;   // a line feed starting the next text is not written again
    bool afterPreStart_ = false;  // nor is the one a rewrite puts before a br
};

// The length of the valid UTF-8 sequence at p (lead byte >= 0x80), 0 when it
// is malformed, by the rules the parser's input stream applies.
size_t sequenceLength(const unsigned char* p, const unsigned char* end) {
    const unsigned char lead = p[0];
    size_t needed;
    unsigned char lower = 0x80, upper = 0xBF;
    if (lead >= 0xC2 && lead <= 0xDF) {
        needed = 1;
    } else if (lead >= 0xE0 && lead <= 0xEF) {
        needed = 2;
        if (lead == 0xE0) lower = 0xA0;
        if (lead == 0xED) upper = 0x9F;
    } else if (lead >= 0xF0 && lead <= 0xF4) {
        needed = 3;
        if (lead == 0xF0) lower = 0x90;
        if (lead == 0xF4) upper = 0x8F;
    } else {
        return 0;
    }
    if (size_t(end - p) <= needed) return 0;
    for (size_t k = 1; k <= needed; ++k) {
        if (p[k] < lower || p[k] > upper) return 0;
        lower = 0x80;
        upper = 0xBF;
    }
    return needed + 1;
}

// The first byte in [p, end) that the cleanup looks at: a tab, NUL, CR or a
// non-ASCII byte. Sixteen at a time where SSE2 is available.
const char* findSpecialByte(const char* p, const char* end) {
#if defined(__SSE2__)
    const __m128i tab = _mm_set1_epi8('\t'), cr = _mm_set1_epi8('\r'), nul = _mm_setzero_si128();
    for (; end - p >= 16; p += 16) {
        const __m128i bytes = _mm_loadu_si128(reinterpret_cast<const __m128i*>(p));
        const __m128i special = _mm_or_si128(_mm_or_si128(_mm_cmpeq_epi8(bytes, tab), _mm_cmpeq_epi8(bytes, cr)),
                                             _mm_cmpeq_epi8(bytes, nul));
        if (const int mask = _mm_movemask_epi8(bytes) | _mm_movemask_epi8(special))
            return p + __builtin_ctz(unsigned(mask));
    }
#endif
    while (p < end && *p != '\t' && *p != '\r' && *p != '\0' && static_cast<unsigned char>(*p) < 0x80) ++p;
    return p;
}

// The walked text without tabs, through squireCleanup and trimmed, in place;
// false when it holds what the parser's input stream would have changed.
bool finishText(std::string& text) {
    char* const begin = text.data();
    const char* const end = begin + text.size();
    char* w = begin;
    const char* p = begin;
    for (;;) {
        const char* special = findSpecialByte(p, end);
        if (w != p) std::memmove(w, p, size_t(special - p));
        w += special - p;
        p = special;
        if (p == end) break;
        const auto* bytes = reinterpret_cast<const unsigned char*>(p);
        if (bytes[0] < 0x80) {
            if (bytes[0] != '\t') return false;  // NUL or CR
            ++p;
            continue;
        }
        const size_t length = sequenceLength(bytes, reinterpret_cast<const unsigned char*>(end));
        if (!length) return false;
        if (length == 2 && bytes[0] == 0xC2 && bytes[1] == 0xA0) {
            *w++ = ' ';  // U+00A0
        } else if (length != 3 || !((bytes[0] == 0xE2 && bytes[1] == 0x80 && (bytes[2] == 0x8B || bytes[2] == 0x8C)) ||
                                    (bytes[0] == 0xEF && bytes[1] == 0xBF && bytes[2] == 0xBC))) {  // U+200B, U+200C, U+FFFC
            std::memmove(w, p, length);
            w += length;
        }
        p += length;
    }
    text.resize(size_t(w - begin));
    const std::string_view kept = trimCodePoints(text, isUnicodeSpace);
    const size_t from = size_t(kept.data() - text.data());
    text.resize(from + kept.size());
    text.erase(0, from);
    return true;
}

}  // namespace

std::optional<std::string> plainTextByWalking(const HTMLElement& element) {
    Ref<HTMLElement> copy;
    const HTMLElement* tree = &element;
    Body body = Body::Paragraphs;
    std::string raw;
    for (;;) {
        raw.clear();
        switch (Walk(*tree, body, copy.get() != nullptr, raw).run()) {
        case Outcome::Done:
            if (!finishText(raw)) return std::nullopt;
            return raw;
        case Outcome::Unsure: return std::nullopt;
        case Outcome::NoteBody: body = Body::Notes; break;
        case Outcome::NeedsPasses:
            copy = Ref<HTMLElement>(element.cloneNodeDeep(true)->as<HTMLElement>());
            markCitationsAndSeparator(*copy);
            tree = copy.get();
            break;
        }
    }
}

}  // namespace zv
