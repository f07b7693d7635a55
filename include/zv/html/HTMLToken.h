// Tokens produced by HTMLTokenizer.
//
// The numbering of HTMLTokenType is part of the public contract: callers that
// switch on the raw value (character 0, end tag 3, start tag 6) rely on it.
#pragma once

#include <zv/Export.h>

#include <zv/html/HTMLTagNames.h>

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace zv::html {

enum class HTMLTokenType : uint8_t {
    Character = 0,
    Comment = 1,
    DOCTYPE = 2,
    EndTag = 3,
    EndOfFile = 4,
    ParseError = 5,
    StartTag = 6,
};

struct ZV_EXPORT HTMLParseError {
    std::string code;  // the HTML standard's error code, e.g. "eof-in-tag"
    size_t line = 1;   // 1-based, counted in the preprocessed input
    size_t column = 1;
};

struct ZV_EXPORT HTMLToken {
    explicit HTMLToken(HTMLTokenType t) : type(t) {}
    HTMLTokenType type;
};

struct ZV_EXPORT HTMLTokenAttribute {
    std::string name;  // lower-cased
    std::string value;
};

struct ZV_EXPORT HTMLTagToken : HTMLToken {
    using HTMLToken::HTMLToken;
    std::string tagName;  // lower-cased
    Tag tag = Tag::Unknown;
    std::vector<HTMLTokenAttribute> attributes;  // source order, duplicates dropped
    bool selfClosing = false;

    // The value of the attribute with this (lower-case) name, or null.
    const std::string* attribute(std::string_view name) const noexcept {
        for (const auto& a : attributes)
            if (a.name == name) return &a.value;
        return nullptr;
    }
};

struct ZV_EXPORT HTMLStartTagToken : HTMLTagToken {
    HTMLStartTagToken() : HTMLTagToken(HTMLTokenType::StartTag) {}
};

struct ZV_EXPORT HTMLEndTagToken : HTMLTagToken {
    HTMLEndTagToken() : HTMLTagToken(HTMLTokenType::EndTag) {}
};

// A run of characters. The view stays valid until the next token is taken.
// A U+0000 in the data state or a CDATA section comes as a token of its own,
// so a tree builder can drop or replace it without splitting runs.
struct ZV_EXPORT HTMLCharacterToken : HTMLToken {
    HTMLCharacterToken() : HTMLToken(HTMLTokenType::Character) {}
    std::string_view characters;
};

struct ZV_EXPORT HTMLCommentToken : HTMLToken {
    HTMLCommentToken() : HTMLToken(HTMLTokenType::Comment) {}
    std::string data;
};

struct ZV_EXPORT HTMLDOCTYPEToken : HTMLToken {
    HTMLDOCTYPEToken() : HTMLToken(HTMLTokenType::DOCTYPE) {}
    std::optional<std::string> name;
    std::optional<std::string> publicIdentifier;
    std::optional<std::string> systemIdentifier;
    bool forceQuirks = false;
};

struct ZV_EXPORT HTMLEOFToken : HTMLToken {
    HTMLEOFToken() : HTMLToken(HTMLTokenType::EndOfFile) {}
};

}  // namespace zv::html
