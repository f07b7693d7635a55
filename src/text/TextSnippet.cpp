#include <zv/text/TextSnippet.h>

#include <zv/foundation/Strings.h>
#include <zv/html/HTMLEntities.h>
#include "HTMLTokenizer.h"
#include <zv/text/InlineStyle.h>

#include "CaseMapping.h"
#include "TextSnippetRun.h"
#include "TextBreaks.h"

#include <unicode/brkiter.h>
#include <unicode/utext.h>
#include <unicode/utf8.h>

#include <array>
#include <bitset>
#include <initializer_list>
#include <memory>
#include <unordered_map>
#include <vector>

namespace zv {

namespace {

using html::Tag;
using TagSet = std::bitset<size_t(Tag::Count)>;

TagSet tagSet(std::initializer_list<Tag> tags) {
    TagSet set;
    for (Tag tag : tags) set.set(size_t(tag));
    return set;
}

// Start tags of these are ignored outright: never pushed, never a state change.
const TagSet& voidElements() {
    static const TagSet set = tagSet({Tag::area, Tag::base, Tag::basefont, Tag::bgsound, Tag::br, Tag::col,
                                      Tag::command, Tag::embed, Tag::frame, Tag::hr, Tag::img, Tag::input,
                                      Tag::keygen, Tag::link, Tag::menuitem, Tag::meta, Tag::param, Tag::source,
                                      Tag::track, Tag::wbr});
    return set;
}

// End tags that end a run of text. "br" and "img" rarely fire, their start
// tags being void, but the lists are part of the format callers know.
const TagSet& blockTags(bool preserveLineBreaks) {
    static const TagSet normal = tagSet({Tag::p, Tag::br, Tag::div, Tag::table, Tag::img});
    static const TagSet preserving = tagSet({Tag::div, Tag::table, Tag::img});
    return preserveLineBreaks ? preserving : normal;
}

// What the tokenizer reads after these start tags, as the tree builder
// switches it: their text is not markup.
std::optional<html::HTMLTokenizerState> textStateAfter(Tag tag) {
    switch (tag) {
    case Tag::title:
    case Tag::textarea:
        return html::HTMLTokenizerState::RCDATA;
    case Tag::style:
    case Tag::xmp:
    case Tag::iframe:
    case Tag::noembed:
    case Tag::noframes:
        return html::HTMLTokenizerState::RAWTEXT;
    case Tag::script:
        return html::HTMLTokenizerState::ScriptData;
    case Tag::plaintext:
        return html::HTMLTokenizerState::PLAINTEXT;
    default:
        return std::nullopt;
    }
}

// Start tags that end foreign content in the tree builder: what follows
// them is HTML again, even inside an open <svg> or <math>.
const TagSet& foreignContentBreakers() {
    static const TagSet set = tagSet({
        Tag::b, Tag::big, Tag::blockquote, Tag::body, Tag::br, Tag::center, Tag::code, Tag::dd, Tag::div,
        Tag::dl, Tag::dt, Tag::em, Tag::embed, Tag::h1, Tag::h2, Tag::h3, Tag::h4, Tag::h5, Tag::h6,
        Tag::head, Tag::hr, Tag::i, Tag::img, Tag::li, Tag::listing, Tag::menu, Tag::meta, Tag::nobr, Tag::ol,
        Tag::p, Tag::pre, Tag::ruby, Tag::s, Tag::small, Tag::span, Tag::strong, Tag::strike, Tag::sub,
        Tag::sup, Tag::table, Tag::tt, Tag::u, Tag::ul, Tag::var,
    });
    return set;
}

// Elements inside <svg> or <math> whose content the tree builder reads as HTML.
bool isIntegrationPoint(const html::HTMLTagToken& token) {
    switch (token.tag) {
    case Tag::foreignObject:
    case Tag::desc:
    case Tag::title:
    case Tag::mi:
    case Tag::mo:
    case Tag::mn:
    case Tag::ms:
    case Tag::mtext:
        return true;
    case Tag::annotation_xml: {
        const std::string* encoding = token.attribute("encoding");
        if (!encoding) return false;
        std::string value = textcase::lowercase(*encoding);
        return value == "text/html" || value == "application/xhtml+xml";
    }
    default:
        return token.tagName == "foreignobject";
    }
}

bool isASCIIByte(char c) { return static_cast<unsigned char>(c) < 0x80; }

enum class Step { Ordinary, Space, LineBreak, InvisibleSpace };

Step asciiStep(char c) {
    switch (c) {
    case ' ':
    case '\t':
        return Step::Space;
    case '\r':
    case '\n':
    case '\v':
        return Step::LineBreak;
    default:
        return Step::Ordinary;
    }
}

// A composed character sequence is classed by its first character, so a
// mark riding on white space goes with it. That matters for U+200C, which
// attaches to whatever precedes it: preheader filler ("&zwnj;&nbsp;" over
// and over) steps as NBSP+ZWNJ pairs.
Step sequenceStep(std::string_view sequence) {
    if (isASCIIByte(sequence[0])) return asciiStep(sequence[0]);
    if (sequence.starts_with("\u00A0") || sequence.starts_with("\u200C")) return Step::InvisibleSpace;
    return Step::Ordinary;
}

size_t utf16Length(std::string_view utf8) {
    size_t units = 0;
    for (char c : utf8) {
        auto byte = static_cast<unsigned char>(c);
        if ((byte & 0xC0) != 0x80) ++units;  // one per code point…
        if (byte >= 0xF0) ++units;           // …and a second for those outside the BMP
    }
    return units;
}

enum class TextTransform { None, Uppercase, Lowercase, Capitalize };

TextTransform textTransform(const html::HTMLTagToken& token) {
    const std::string* style = token.attribute("style");
    if (!style) return TextTransform::None;
    std::optional<std::string> value = styleValue(*style, "text-transform");
    if (!value) return TextTransform::None;
    std::string keyword = textcase::lowercase(*value);
    if (keyword == "uppercase") return TextTransform::Uppercase;
    if (keyword == "lowercase") return TextTransform::Lowercase;
    if (keyword == "capitalize") return TextTransform::Capitalize;
    return TextTransform::None;
}

bool lowercasedStartsWith(const std::optional<std::string>& value, std::string_view prefix) {
    return value && textcase::lowercase(*value).starts_with(prefix);
}

bool isHiddenByInlineStyle(const html::HTMLTagToken& token) {
    const std::string* style = token.attribute("style");
    if (!style) return false;
    std::vector<std::optional<std::string>> values = styleValues(*style, {"display", "visibility", "opacity"});
    return lowercasedStartsWith(values[0], "none") || lowercasedStartsWith(values[1], "hidden") || values[2] == "0";
}

// How many stack items carry each tag name. A stray end tag then costs
// nothing instead of a walk down the whole stack, which hostile markup
// (thousands of unclosed elements, thousands of stray end tags) would make
// quadratic.
class OpenTagNames {
public:
    void add(const html::HTMLTagToken& token) { ++count(token); }
    void remove(const html::HTMLTagToken& token) { --count(token); }
    bool contains(Tag tag) const { return known_[size_t(tag)] != 0; }
    bool contains(const html::HTMLTagToken& token) {
        if (token.tag != Tag::Unknown) return known_[size_t(token.tag)] != 0;
        auto found = other_.find(token.tagName);
        return found != other_.end() && found->second != 0;
    }

private:
    uint32_t& count(const html::HTMLTagToken& token) {
        return token.tag != Tag::Unknown ? known_[size_t(token.tag)] : other_[token.tagName];
    }

    std::array<uint32_t, size_t(Tag::Count)> known_{};
    std::unordered_map<std::string, uint32_t> other_;
};

bool sameTag(const html::HTMLTagToken& a, const html::HTMLTagToken& b) {
    return a.tag == b.tag && (a.tag != Tag::Unknown || a.tagName == b.tagName);
}

// One extraction: the state the tokens drive, from the first token to the result.
class SnippetRun {
public:
    SnippetRun(long maxLength, unsigned options) : maxLength_(maxLength), options_(options) {}

    std::optional<std::string> run(html::HTMLTokenizer& tokenizer) {
        tokenizer.setParseErrorCallback({});
        while (!stop_) {
            const html::HTMLToken* token = tokenizer.nextToken();
            if (!token) break;
            switch (token->type) {
            case html::HTMLTokenType::StartTag: {
                const auto& tag = static_cast<const html::HTMLStartTagToken&>(*token);
                switchTokenizerAfter(tag, tokenizer);
                startTag(tag);
                break;
            }
            case html::HTMLTokenType::EndTag:
                endTag(static_cast<const html::HTMLEndTagToken&>(*token));
                break;
            case html::HTMLTokenType::Character:
                if (collecting_) text(static_cast<const html::HTMLCharacterToken&>(*token).characters);
                break;
            default:
                break;
            }
        }
        return finish();
    }

private:
    bool has(unsigned option) const { return (options_ & option) != 0; }

    // Whether the tree builder would put the next start tag or text in an
    // <svg> or <math> element rather than an HTML one.
    bool inForeignContent() {
        if (!openNames_.contains(Tag::svg) && !openNames_.contains(Tag::math)) return false;
        for (auto item = stack_.rbegin(); item != stack_.rend(); ++item) {
            const html::HTMLTagToken& open = item->token;
            if (open.tag == Tag::svg || open.tag == Tag::math) return true;
            if (isIntegrationPoint(open) || foreignContentBreakers().test(size_t(open.tag))) return false;
        }
        return false;
    }

    void switchTokenizerAfter(const html::HTMLStartTagToken& token, html::HTMLTokenizer& tokenizer) {
        std::optional<html::HTMLTokenizerState> state = textStateAfter(token.tag);
        if (!state || inForeignContent()) return;
        tokenizer.setState(*state);
        tokenizer.setLastStartTagName(token.tagName);
    }

    void startTag(const html::HTMLStartTagToken& token) {
        if (voidElements().test(size_t(token.tag))) return;
        bool state = collecting_;
        if (token.tag == Tag::script || token.tag == Tag::style) {
            state = false;
        } else if (has(ZVTextSnippetSkipHead) && token.tag == Tag::head) {
            state = false;
        } else if (has(ZVTextSnippetSkipTitle) && token.tag == Tag::title) {
            state = false;
        } else if (token.tag == Tag::pre) {
            inPre_ = true;  // and the state is inherited, never tested
        } else if (collecting_) {
            state = !isHiddenByInlineStyle(token);
        }
        stack_.push_back(HTMLTokenStackItem::newWithToken(token, state));
        openNames_.add(token);
        collecting_ = state;
    }

    void endTag(const html::HTMLEndTagToken& token) {
        if (collecting_ && blockTags(has(ZVTextSnippetPreserveLineBreaks)).test(size_t(token.tag))) {
            if (has(ZVTextSnippetPreserveLineBreaks)) {
                append("\n", 1);
                lastWasWhiteSpace_ = true;
            } else {
                appendWhiteSpace(' ');
            }
        }
        if (openNames_.contains(token)) {
            while (true) {
                bool matched = sameTag(stack_.back().token, token);
                openNames_.remove(stack_.back().token);
                stack_.pop_back();
                if (matched) break;
            }
        }
        collecting_ = stack_.empty() || stack_.back().collectionState;
        if (token.tag == Tag::pre) inPre_ = false;  // a flag, not a count: the first </pre> ends it
    }

    // A NUL in markup is dropped by the tree builder, or replaced inside
    // <svg> and <math>; the raw-text states hand out U+FFFD already.
    void text(std::string_view text) {
        if (text.find('\0') == std::string_view::npos) return characters(text);
        const std::string_view replacement = inForeignContent() ? "\uFFFD" : "";
        std::string cleaned;
        for (char c : text) {
            if (c == '\0')
                cleaned += replacement;
            else
                cleaned += c;
        }
        characters(cleaned);
    }

    void characters(std::string_view text) {
        std::string transformed;
        switch (inPre_ || stack_.empty() ? TextTransform::None : textTransform(stack_.back().token)) {
        case TextTransform::None:
            break;
        case TextTransform::Uppercase:
            text = transformed = textcase::uppercase(text);
            break;
        case TextTransform::Lowercase:
            text = transformed = textcase::lowercase(text);
            break;
        case TextTransform::Capitalize:
            text = transformed = textcase::capitalize(text);
            break;
        }
        walk(text);
    }

    // Steps through `text` by composed character sequence. Between two ASCII
    // characters there is always a sequence boundary (CR LF aside), so ASCII
    // is stepped here directly and ICU sees only the stretches around other
    // characters.
    void walk(std::string_view text) {
        size_t i = 0;
        const size_t n = text.size();
        while (i < n && !stop_) {
            if (!isASCIIByte(text[i]) || (i + 1 < n && !isASCIIByte(text[i + 1]))) {
                i = walkComplex(text, i);
                continue;
            }
            const bool ordinary = asciiStep(text[i]) == Step::Ordinary;
            size_t end = i + 1;
            while (end < n && isASCIIByte(text[end]) && (asciiStep(text[end]) == Step::Ordinary) == ordinary) ++end;
            if (end < n && !isASCIIByte(text[end])) --end;  // it may take combining marks: ICU decides
            if (ordinary)
                appendOrdinaryASCII(text.substr(i, end - i));
            else
                stepWhiteSpaceRun(text.substr(i, end - i));
            i = end;
        }
    }

    // Steps through the stretch from `begin` (a sequence boundary) to the
    // next boundary between two ASCII characters; returns where it ended.
    size_t walkComplex(std::string_view text, size_t begin) {
        const size_t n = text.size();
        size_t end = begin + 1;
        while (end < n && !(isASCIIByte(text[end - 1]) && isASCIIByte(text[end]) &&
                            !(text[end - 1] == '\r' && text[end] == '\n')))
            ++end;
        std::string_view stretch = text.substr(begin, end - begin);
        icu::BreakIterator* iterator = characterBreakIterator();
        UErrorCode status = U_ZERO_ERROR;
        UText utext = UTEXT_INITIALIZER;
        utext_openUTF8(&utext, stretch.data(), int64_t(stretch.size()), &status);
        if (iterator) iterator->setText(&utext, status);
        if (!iterator || U_FAILURE(status)) {
            walkByCodePoint(stretch);
        } else {
            int32_t from = iterator->first();
            for (int32_t to = iterator->next(); to != icu::BreakIterator::DONE && !stop_; from = to, to = iterator->next()) {
                std::string_view sequence = stretch.substr(size_t(from), size_t(to - from));
                step(sequence, utf16Length(sequence), sequenceStep(sequence));
            }
        }
        utext_close(&utext);
        return end;
    }

    // Without ICU's break data, code points are the nearest thing to sequences.
    void walkByCodePoint(std::string_view text) {
        const auto* bytes = reinterpret_cast<const uint8_t*>(text.data());
        for (int32_t i = 0, n = int32_t(text.size()); i < n && !stop_;) {
            int32_t start = i;
            UChar32 c;
            U8_NEXT(bytes, i, n, c);
            std::string_view sequence = text.substr(size_t(start), size_t(i - start));
            step(sequence, utf16Length(sequence), sequenceStep(sequence));
        }
    }

    bool limitPassed() const { return maxLength_ > 0 && long(length_) > maxLength_; }

    void step(std::string_view sequence, size_t units, Step kind) {
        if (kind == Step::InvisibleSpace && !has(ZVTextSnippetInvisibleSpacesAsWhitespace)) kind = Step::Ordinary;
        if ((kind != Step::Ordinary || !has(ZVTextSnippetKeepWholeWords)) && limitPassed()) {
            stop_ = true;
            return;
        }
        if (kind == Step::Ordinary) {
            append(sequence, units);
            lastWasWhiteSpace_ = false;
        } else {
            appendWhiteSpace(kind == Step::LineBreak && has(ZVTextSnippetPreserveLineBreaks) ? '\n' : ' ');
        }
    }

    // step() for each character of a run of ASCII white space (CR LF is one
    // step or two, to the same effect): after the first, each one only
    // repeats the limit test, the flag being set.
    void stepWhiteSpaceRun(std::string_view run) {
        step(run.substr(0, 1), 1, asciiStep(run[0]));
        if (run.size() > 1 && limitPassed()) stop_ = true;
    }

    // step() for each character of a run of ASCII letters, digits and marks,
    // done at once: the limit test before each one lets through as many as
    // keep the length at most maxLength + 1.
    void appendOrdinaryASCII(std::string_view run) {
        size_t take = run.size();
        if (!has(ZVTextSnippetKeepWholeWords) && maxLength_ > 0) {
            size_t room = limitPassed() ? 0 : size_t(maxLength_) - length_ + 1;
            if (room < take) {
                take = room;
                stop_ = true;
            }
        }
        if (take == 0) return;
        append(run.substr(0, take), take);
        lastWasWhiteSpace_ = false;
    }

    void appendWhiteSpace(char replacement) {
        if (lastWasWhiteSpace_) return;
        append(std::string_view(&replacement, 1), 1);
        lastWasWhiteSpace_ = true;
    }

    void append(std::string_view text, size_t units) {
        buffer_ += text;
        length_ += units;
    }

    std::optional<std::string> finish() {
        if (buffer_.empty()) return std::nullopt;
        // The tokenizer decoded the source's references already; decoding once
        // more is part of the format ("&amp;lt;" in the source ends as "<"),
        // but as in an attribute value, so that text reading "?a=1&copy=2"
        // keeps its "&copy".
        std::string text = html::stringByDecodingHTMLEntitiesInAttribute(buffer_);
        if (has(ZVTextSnippetPreserveLineBreaks)) return text;
        return zvTrim(text);
    }

    const long maxLength_;
    const unsigned options_;
    std::vector<HTMLTokenStackItem> stack_;
    OpenTagNames openNames_;
    std::string buffer_;
    size_t length_ = 0;  // of buffer_, in UTF-16 code units
    bool collecting_ = true;
    bool inPre_ = false;
    bool lastWasWhiteSpace_ = true;  // so leading white space is dropped
    bool stop_ = false;
};

}  // namespace

std::optional<std::string> snippetOfTokens(html::HTMLTokenizer& tokenizer, long maxLength, unsigned options) {
    return SnippetRun(maxLength, options).run(tokenizer);
}

std::optional<std::string> HTMLSnippetParser::extractTextWithMaxLength(long maxLength, unsigned options,
                                                                       std::error_code* error) const {
    if (error) error->clear();
    html::HTMLTokenizer tokenizer(html_);
    return snippetOfTokens(tokenizer, maxLength, options);
}

std::optional<std::string> HTMLSnippetParser::textSnippetWithMaxLength(long maxLength, unsigned options) const {
    return extractTextWithMaxLength(maxLength, options, nullptr);
}

std::optional<std::string> HTMLSnippetParser::textSnippetWithMaxLength(long maxLength, unsigned options,
                                                                       std::error_code*) const {
    return extractTextWithMaxLength(maxLength, options, nullptr);
}

std::optional<std::string> textSnippetForHTML(std::string_view html, long maxLength, unsigned options) {
    return HTMLSnippetParser(html).textSnippetWithMaxLength(maxLength, options);
}

std::optional<std::string> extractTextFromHTML(std::string_view html, long maxLength, unsigned options,
                                               std::error_code* error) {
    return HTMLSnippetParser(html).extractTextWithMaxLength(maxLength, options, error);
}

}  // namespace zv
