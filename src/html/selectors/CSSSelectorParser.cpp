#include "CSSSelectorParser.h"

#include "ASCIIText.h"
#include "CSSAnPlusB.h"
#include "CSSSelectorTokenizer.h"

#include <algorithm>
#include <array>
#include <optional>

namespace zv::html {

namespace {

using Kind = SimpleSelectorKind;

// Attributes whose values selectors match ASCII case-insensitively on HTML
// elements in HTML documents, as the HTML standard lists them. Sorted.
constexpr std::array<std::string_view, 46> kLegacyCaseInsensitiveAttributes = {
    "accept",   "accept-charset", "align",    "alink",     "axis",     "bgcolor",    "charset", "checked",
    "clear",    "codetype",       "color",    "compact",   "declare",  "defer",      "dir",     "direction",
    "disabled", "enctype",        "face",     "frame",     "hreflang", "http-equiv", "lang",    "language",
    "link",     "media",          "method",   "multiple",  "nohref",   "noresize",   "noshade", "nowrap",
    "readonly", "rel",            "rev",      "rules",     "scope",    "scrolling",  "selected", "shape",
    "target",   "text",           "type",     "valign",    "valuetype", "vlink"};

bool isLegacyCaseInsensitive(std::string_view lowerName) {
    return std::binary_search(kLegacyCaseInsensitiveAttributes.begin(), kLegacyCaseInsensitiveAttributes.end(),
                              lowerName);
}

struct NamedKind {
    std::string_view name;
    Kind kind;
};

constexpr NamedKind kPseudoClasses[] = {
    {"root", Kind::Root},
    {"empty", Kind::Empty},
    {"first-child", Kind::FirstChild},
    {"last-child", Kind::LastChild},
    {"only-child", Kind::OnlyChild},
    {"first-of-type", Kind::FirstOfType},
    {"last-of-type", Kind::LastOfType},
    {"only-of-type", Kind::OnlyOfType},
    {"checked", Kind::Checked},
    {"disabled", Kind::Disabled},
    {"enabled", Kind::Enabled},
    {"link", Kind::AnyLink},
    {"any-link", Kind::AnyLink},
    {"scope", Kind::Scope},
    // User action, history and time: never true of a static tree.
    {"hover", Kind::Never},
    {"active", Kind::Never},
    {"focus", Kind::Never},
    {"focus-visible", Kind::Never},
    {"focus-within", Kind::Never},
    {"visited", Kind::Never},
    {"target", Kind::Never},
    {"target-within", Kind::Never},
    {"current", Kind::Never},
    {"past", Kind::Never},
    {"future", Kind::Never},
    {"user-valid", Kind::Never},
    {"user-invalid", Kind::Never},
};

constexpr NamedKind kNthPseudoClasses[] = {
    {"nth-child", Kind::NthChild},
    {"nth-last-child", Kind::NthLastChild},
    {"nth-of-type", Kind::NthOfType},
    {"nth-last-of-type", Kind::NthLastOfType},
};

// The pseudo-elements that CSS 2 let be written with one colon.
constexpr std::string_view kLegacyPseudoElements[] = {"before", "after", "first-line", "first-letter"};

constexpr std::string_view kPseudoElements[] = {
    "after",  "backdrop",    "before",    "cue",       "file-selector-button", "first-letter", "first-line",
    "grammar-error", "marker", "placeholder", "selection", "spelling-error",    "target-text",
};
constexpr std::string_view kFunctionalPseudoElements[] = {"cue", "highlight", "part", "slotted"};

template <class Range>
bool contains(const Range& names, std::string_view name) {
    return std::find(std::begin(names), std::end(names), name) != std::end(names);
}

template <size_t N>
std::optional<Kind> lookup(const NamedKind (&table)[N], std::string_view name) {
    for (const NamedKind& entry : table)
        if (entry.name == name) return entry.kind;
    return std::nullopt;
}

// Lower numbers are tested first: cheap tests that reject most elements.
int matchingCost(Kind kind) {
    switch (kind) {
    case Kind::Never:
    case Kind::NoNamespace:
    case Kind::HasAnchor:
    case Kind::Type: return 0;
    case Kind::Id:
    case Kind::Root:
    case Kind::Scope: return 1;
    case Kind::Class: return 2;
    case Kind::Attribute: return 3;
    case Kind::Empty:
    case Kind::FirstChild:
    case Kind::Checked:
    case Kind::AnyLink: return 4;
    case Kind::Disabled:
    case Kind::Enabled:
    case Kind::Lang:
    case Kind::LastChild:
    case Kind::OnlyChild: return 5;
    case Kind::FirstOfType:
    case Kind::LastOfType:
    case Kind::OnlyOfType:
    case Kind::NthChild:
    case Kind::NthLastChild:
    case Kind::NthOfType:
    case Kind::NthLastOfType: return 6;
    case Kind::Not:
    case Kind::Is: return 7;
    case Kind::Has: return 8;
    }
    return 8;
}

SimpleSelector simple(Kind kind) { return SimpleSelector{kind}; }

enum class Pseudo { Invalid, Class, Element };

struct ParseContext {
    bool relative = false;            // :has() arguments start with a combinator
    bool allowPseudoElements = true;  // only outside functional pseudo-classes
    bool insideHas = false;           // :has() does not nest
    int depth = 0;
};

class SelectorParser {
public:
    explicit SelectorParser(std::vector<CSSToken> tokens) : t_(std::move(tokens)) {}

    // Nesting past the limit fails the whole text, also inside a forgiving
    // list, which would otherwise turn it into a selector matching nothing.
    std::unique_ptr<CompiledSelectorList> parse() {
        std::unique_ptr<CompiledSelectorList> list = parseList(0, t_.size(), ParseContext{}, false);
        return tooDeep_ ? nullptr : std::move(list);
    }

private:
    bool isWhitespace(size_t pos, size_t end) const {
        return pos < end && t_[pos].type == CSSTokenType::Whitespace;
    }
    void skipWhitespace(size_t& pos, size_t end) const {
        while (isWhitespace(pos, end)) ++pos;
    }
    bool isDelim(size_t pos, size_t end, char c) const { return pos < end && t_[pos].isDelim(c); }
    bool isType(size_t pos, size_t end, CSSTokenType type) const { return pos < end && t_[pos].type == type; }

    // The index of the token closing the block opened at `open`, or `end`
    // when the text ends first (CSS closes open blocks at the end).
    size_t blockEnd(size_t open, size_t end) const {
        std::vector<CSSTokenType> closers;
        for (size_t i = open; i < end; ++i) {
            switch (t_[i].type) {
            case CSSTokenType::Function:
            case CSSTokenType::LeftParen: closers.push_back(CSSTokenType::RightParen); break;
            case CSSTokenType::LeftBracket: closers.push_back(CSSTokenType::RightBracket); break;
            case CSSTokenType::LeftBrace: closers.push_back(CSSTokenType::RightBrace); break;
            default:
                if (t_[i].type == closers.back()) {
                    closers.pop_back();
                    if (closers.empty()) return i;
                }
            }
        }
        return end;
    }

    // Splits [begin, end) at the commas outside blocks.
    std::vector<std::pair<size_t, size_t>> splitAtCommas(size_t begin, size_t end) const {
        std::vector<std::pair<size_t, size_t>> items;
        size_t start = begin;
        for (size_t i = begin; i < end; ++i) {
            CSSTokenType type = t_[i].type;
            if (type == CSSTokenType::Function || type == CSSTokenType::LeftParen ||
                type == CSSTokenType::LeftBracket || type == CSSTokenType::LeftBrace) {
                i = blockEnd(i, end);
                if (i == end) break;
            } else if (type == CSSTokenType::Comma) {
                items.emplace_back(start, i);
                start = i + 1;
            }
        }
        items.emplace_back(start, end);
        return items;
    }

    // A forgiving list (:is, :where) drops what does not parse, even all of it.
    std::unique_ptr<CompiledSelectorList> parseList(size_t begin, size_t end, ParseContext context, bool forgiving) {
        auto list = std::make_unique<CompiledSelectorList>();
        for (auto [itemBegin, itemEnd] : splitAtCommas(begin, end)) {
            std::optional<ComplexSelector> complex = parseComplex(itemBegin, itemEnd, context);
            if (complex)
                list->selectors.push_back(std::move(*complex));
            else if (!forgiving)
                return nullptr;
        }
        return list;
    }

    std::optional<ComplexSelector> parseComplex(size_t pos, size_t end, const ParseContext& context) {
        skipWhitespace(pos, end);
        while (end > pos && t_[end - 1].type == CSSTokenType::Whitespace) --end;
        if (pos == end) return std::nullopt;

        Combinator leading = Combinator::Descendant;
        if (context.relative) {
            if (std::optional<Combinator> c = combinatorAt(pos, end)) {
                leading = *c;
                ++pos;
                skipWhitespace(pos, end);
            }
        }
        std::vector<CompoundSelector> leftToRight;
        std::vector<Combinator> combinators;  // combinators[i] joins compounds i and i + 1
        bool sawPseudoElement = false;
        for (;;) {
            CompoundSelector compound;
            if (!parseCompound(pos, end, context, compound, sawPseudoElement)) return std::nullopt;
            leftToRight.push_back(std::move(compound));
            if (pos == end) break;
            bool spaced = isWhitespace(pos, end);
            skipWhitespace(pos, end);
            std::optional<Combinator> combinator = combinatorAt(pos, end);
            if (combinator) {
                ++pos;
                skipWhitespace(pos, end);
            } else if (spaced) {
                combinator = Combinator::Descendant;
            } else {
                return std::nullopt;
            }
            // Nothing may follow a pseudo-element.
            if (sawPseudoElement || leftToRight.size() == kMaxCompounds) return std::nullopt;
            combinators.push_back(*combinator);
        }

        ComplexSelector complex;
        // Said once here, so that a query for `a:hover` returns without a walk.
        complex.neverMatches = sawPseudoElement || std::any_of(leftToRight.begin(), leftToRight.end(), holdsNever);
        complex.topDown = !complex.neverMatches && leftToRight.size() <= 64;
        size_t count = leftToRight.size();
        for (size_t i = count; i-- > 0;) {
            leftToRight[i].toLeft = i > 0 ? combinators[i - 1] : leading;
            complex.compounds.push_back(std::move(leftToRight[i]));
        }
        if (context.relative) {
            CompoundSelector anchor;
            anchor.simples.push_back(simple(Kind::HasAnchor));
            complex.compounds.push_back(std::move(anchor));
            complex.relativeScope = relativeScope(leading, combinators);
        }
        return complex;
    }

    // A user-action or time pseudo-class of the compound itself, not one inside :not() or :is().
    static bool holdsNever(const CompoundSelector& compound) {
        return std::any_of(compound.simples.begin(), compound.simples.end(),
                           [](const SimpleSelector& s) { return s.kind == Kind::Never; });
    }

    static RelativeScope relativeScope(Combinator leading, const std::vector<Combinator>& rest) {
        bool downward = std::any_of(rest.begin(), rest.end(), [](Combinator c) {
            return c == Combinator::Descendant || c == Combinator::Child;
        });
        switch (leading) {
        case Combinator::Child: return rest.empty() ? RelativeScope::Children : RelativeScope::Descendants;
        case Combinator::Descendant: return RelativeScope::Descendants;
        case Combinator::NextSibling:
            if (downward) return RelativeScope::FollowingSiblingSubtrees;
            return rest.empty() ? RelativeScope::NextSibling : RelativeScope::FollowingSiblings;
        case Combinator::SubsequentSibling:
            return downward ? RelativeScope::FollowingSiblingSubtrees : RelativeScope::FollowingSiblings;
        }
        return RelativeScope::Descendants;
    }

    std::optional<Combinator> combinatorAt(size_t pos, size_t end) const {
        if (isDelim(pos, end, '>')) return Combinator::Child;
        if (isDelim(pos, end, '+')) return Combinator::NextSibling;
        if (isDelim(pos, end, '~')) return Combinator::SubsequentSibling;
        return std::nullopt;
    }

    bool parseCompound(size_t& pos, size_t end, const ParseContext& context, CompoundSelector& out,
                       bool& sawPseudoElement) {
        size_t start = pos;
        if (!parseTypeSelector(pos, end, out)) return false;
        while (pos < end) {
            const CSSToken& token = t_[pos];
            if (token.type == CSSTokenType::Colon) {
                bool doubleColon = isType(pos + 1, end, CSSTokenType::Colon);
                pos += doubleColon ? 2 : 1;
                Pseudo pseudo = doubleColon ? parsePseudoElement(pos, end)
                                            : parsePseudoClass(pos, end, context, out, sawPseudoElement);
                if (pseudo == Pseudo::Invalid) return false;
                if (pseudo == Pseudo::Element) {
                    if (!context.allowPseudoElements) return false;
                    sawPseudoElement = true;
                }
                continue;
            }
            // After a pseudo-element only pseudo-classes may follow.
            if (sawPseudoElement) return false;
            if (token.type == CSSTokenType::Hash) {
                if (!token.hashIsIdentifier) return false;
                SimpleSelector id = simple(Kind::Id);
                id.name = token.value;
                out.simples.push_back(std::move(id));
                ++pos;
            } else if (token.isDelim('.')) {
                if (!isType(pos + 1, end, CSSTokenType::Ident)) return false;
                SimpleSelector cls = simple(Kind::Class);
                cls.name = t_[pos + 1].value;
                out.simples.push_back(std::move(cls));
                pos += 2;
            } else if (token.type == CSSTokenType::LeftBracket) {
                size_t close = blockEnd(pos, end);
                if (!parseAttribute(pos + 1, close, out)) return false;
                pos = std::min(close + 1, end);
            } else {
                break;
            }
        }
        if (pos == start) return false;
        std::stable_sort(out.simples.begin(), out.simples.end(), [](const SimpleSelector& a, const SimpleSelector& b) {
            return matchingCost(a.kind) < matchingCost(b.kind);
        });
        return true;
    }

    // An optional type or universal selector with its namespace prefix.
    // False only for a prefix that would need a namespace declaration.
    bool parseTypeSelector(size_t& pos, size_t end, CompoundSelector& out) {
        auto isName = [&](size_t i) { return isType(i, end, CSSTokenType::Ident) || isDelim(i, end, '*'); };
        bool noNamespace = false;
        if (isName(pos) && isDelim(pos + 1, end, '|') && isName(pos + 2)) {
            if (!t_[pos].isDelim('*')) return false;  // `svg|rect`: no namespace is declared
            pos += 2;
        } else if (isDelim(pos, end, '|') && isName(pos + 1)) {
            noNamespace = true;
            pos += 1;
        } else if (!isName(pos)) {
            return true;
        }
        const CSSToken& name = t_[pos++];
        if (noNamespace) {
            out.simples.push_back(simple(Kind::NoNamespace));
        } else if (name.type == CSSTokenType::Ident) {
            out.simples.push_back(makeTypeSelector(name.value));
        }
        return true;
    }

    // The inside of `[...]`: [begin, end).
    bool parseAttribute(size_t pos, size_t end, CompoundSelector& out) {
        skipWhitespace(pos, end);
        bool anyNamespace = false;
        if ((isDelim(pos, end, '*') || isType(pos, end, CSSTokenType::Ident)) && isDelim(pos + 1, end, '|') &&
            isType(pos + 2, end, CSSTokenType::Ident)) {
            if (!t_[pos].isDelim('*')) return false;  // an undeclared prefix
            anyNamespace = true;
            pos += 2;
        } else if (isDelim(pos, end, '|') && isType(pos + 1, end, CSSTokenType::Ident)) {
            pos += 1;  // `[|a]`: no namespace, as without a prefix
        }
        if (!isType(pos, end, CSSTokenType::Ident)) return false;
        SimpleSelector attribute = makeAttributeSelector(t_[pos++].value);
        attribute.anyNamespace = anyNamespace;
        skipWhitespace(pos, end);
        if (pos == end) {
            out.simples.push_back(std::move(attribute));
            return true;
        }

        std::optional<AttributeOperator> op = attributeOperator(pos, end);
        if (!op) return false;
        attribute.op = *op;
        skipWhitespace(pos, end);
        if (!isType(pos, end, CSSTokenType::Ident) && !isType(pos, end, CSSTokenType::String)) return false;
        attribute.value = t_[pos++].value;
        skipWhitespace(pos, end);
        if (isType(pos, end, CSSTokenType::Ident)) {
            std::string flag = toASCIILower(t_[pos++].value);
            if (flag == "i")
                attribute.valueCase = AttributeValueCase::Insensitive;
            else if (flag == "s")
                attribute.valueCase = AttributeValueCase::Sensitive;
            else
                return false;
            skipWhitespace(pos, end);
        }
        if (pos != end) return false;
        out.simples.push_back(std::move(attribute));
        return true;
    }

    std::optional<AttributeOperator> attributeOperator(size_t& pos, size_t end) const {
        if (isDelim(pos, end, '=')) {
            ++pos;
            return AttributeOperator::Equals;
        }
        if (pos >= end || t_[pos].type != CSSTokenType::Delim || !isDelim(pos + 1, end, '=')) return std::nullopt;
        std::optional<AttributeOperator> op;
        switch (t_[pos].delim) {
        case '~': op = AttributeOperator::Includes; break;
        case '|': op = AttributeOperator::DashMatch; break;
        case '^': op = AttributeOperator::Prefix; break;
        case '$': op = AttributeOperator::Suffix; break;
        case '*': op = AttributeOperator::Substring; break;
        default: return std::nullopt;
        }
        pos += 2;
        return op;
    }

    // After "::": one of the pseudo-elements CSS defines; the arguments of
    // the functional ones are not checked, since nothing matches them anyway.
    Pseudo parsePseudoElement(size_t& pos, size_t end) {
        if (isType(pos, end, CSSTokenType::Ident)) {
            if (!contains(kPseudoElements, toASCIILower(t_[pos].value))) return Pseudo::Invalid;
            ++pos;
            return Pseudo::Element;
        }
        if (isType(pos, end, CSSTokenType::Function)) {
            if (!contains(kFunctionalPseudoElements, toASCIILower(t_[pos].value))) return Pseudo::Invalid;
            pos = std::min(blockEnd(pos, end) + 1, end);
            return Pseudo::Element;
        }
        return Pseudo::Invalid;
    }

    // After ":": a pseudo-class, added to `out`, or a legacy pseudo-element
    // (`:before`). A pseudo-class after a pseudo-element (`::before:hover`)
    // keeps the selector valid but adds nothing: it already matches nothing.
    Pseudo parsePseudoClass(size_t& pos, size_t end, const ParseContext& context, CompoundSelector& out,
                            bool afterPseudoElement) {
        if (isType(pos, end, CSSTokenType::Ident)) {
            std::string name = toASCIILower(t_[pos].value);
            if (contains(kLegacyPseudoElements, name)) {
                ++pos;
                return Pseudo::Element;
            }
            std::optional<Kind> kind = lookup(kPseudoClasses, name);
            if (!kind) return Pseudo::Invalid;
            ++pos;
            if (!afterPseudoElement) out.simples.push_back(simple(*kind));
            return Pseudo::Class;
        }
        if (!isType(pos, end, CSSTokenType::Function)) return Pseudo::Invalid;
        if (context.depth + 1 >= kMaxSelectorNesting) {
            tooDeep_ = true;
            return Pseudo::Invalid;
        }
        size_t close = blockEnd(pos, end);
        std::optional<SimpleSelector> functional = parseFunctionalPseudoClass(pos, close, context);
        if (!functional) return Pseudo::Invalid;
        pos = std::min(close + 1, end);
        if (!afterPseudoElement) out.simples.push_back(std::move(*functional));
        return Pseudo::Class;
    }

    std::optional<SimpleSelector> parseFunctionalPseudoClass(size_t function, size_t close,
                                                             const ParseContext& context) {
        std::string name = toASCIILower(t_[function].value);
        size_t begin = function + 1;
        ParseContext inner = context;
        inner.depth = context.depth + 1;
        inner.allowPseudoElements = false;
        inner.relative = false;

        if (name == "not" || name == "is" || name == "where") {
            SimpleSelector s = simple(name == "not" ? Kind::Not : Kind::Is);
            s.list = parseList(begin, close, inner, name != "not");
            if (!s.list) return std::nullopt;
            return s;
        }
        if (name == "has") {
            if (context.insideHas) return std::nullopt;
            inner.relative = true;
            inner.insideHas = true;
            SimpleSelector s = simple(Kind::Has);
            s.list = parseList(begin, close, inner, false);
            if (!s.list) return std::nullopt;
            return s;
        }
        if (std::optional<Kind> kind = lookup(kNthPseudoClasses, name)) return parseNth(*kind, begin, close, inner);
        if (name == "lang") return parseLang(begin, close);
        return std::nullopt;
    }

    std::optional<SimpleSelector> parseNth(Kind kind, size_t pos, size_t end, const ParseContext& inner) {
        std::optional<AnPlusB> nth = parseAnPlusB(t_, pos, end);
        if (!nth) return std::nullopt;
        SimpleSelector s = simple(kind);
        s.nth = *nth;
        skipWhitespace(pos, end);
        if (pos == end) return s;
        // `of S` is only for the child-counting forms.
        bool takesOf = kind == Kind::NthChild || kind == Kind::NthLastChild;
        if (!takesOf || !isType(pos, end, CSSTokenType::Ident) || toASCIILower(t_[pos].value) != "of")
            return std::nullopt;
        ++pos;
        s.list = parseList(pos, end, inner, false);
        if (!s.list) return std::nullopt;
        return s;
    }

    std::optional<SimpleSelector> parseLang(size_t pos, size_t end) {
        SimpleSelector s = simple(Kind::Lang);
        for (auto [itemBegin, itemEnd] : splitAtCommas(pos, end)) {
            skipWhitespace(itemBegin, itemEnd);
            while (itemEnd > itemBegin && t_[itemEnd - 1].type == CSSTokenType::Whitespace) --itemEnd;
            if (itemEnd != itemBegin + 1) return std::nullopt;
            const CSSToken& range = t_[itemBegin];
            if (range.type != CSSTokenType::Ident && range.type != CSSTokenType::String) return std::nullopt;
            s.ranges.push_back(range.value);
        }
        return s;
    }

    std::vector<CSSToken> t_;
    bool tooDeep_ = false;
};

}  // namespace

SimpleSelector makeTypeSelector(std::string_view name) {
    SimpleSelector s = simple(Kind::Type);
    s.name = name;
    s.lowerName = toASCIILower(name);
    s.tag = tagFromName(s.name);
    s.lowerTag = tagFromName(s.lowerName);
    return s;
}

SimpleSelector makeAttributeSelector(std::string_view name) {
    SimpleSelector s = simple(Kind::Attribute);
    s.name = name;
    s.lowerName = toASCIILower(name);
    s.legacyCaseInsensitive = isLegacyCaseInsensitive(s.lowerName);
    return s;
}

std::unique_ptr<CompiledSelectorList> parseSelectorList(std::string_view text) {
    SelectorParser parser(tokenizeCSS(text));
    return parser.parse();
}

}  // namespace zv::html
