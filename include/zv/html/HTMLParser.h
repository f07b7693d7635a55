// The HTML parser: the WHATWG tokenizer and tree construction stages.
//
// Parses a whole document, or a fragment in the context of an element (what
// innerHTML does). Input is UTF-8, or bytes whose encoding is sniffed.
#pragma once

#include <zv/Export.h>

#include <zv/html/HTMLDocument.h>
#include <zv/html/HTMLDocumentFragment.h>
#include <zv/html/HTMLElement.h>
#include <zv/html/HTMLToken.h>

#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace zv::html {

class HTMLTokenizer;

struct ZV_EXPORT HTMLParserOptions {
    // With scripting on, <noscript> is raw text, as in a browser that runs scripts.
    bool scripting = false;
    // Collect parse errors (parseErrors()); off by default, it costs time.
    bool collectErrors = false;
};

class ZV_EXPORT HTMLParser {
public:
    // `html` is UTF-8 text; it is copied, so it need not outlive the parser.
    explicit HTMLParser(std::string_view html, HTMLParserOptions options = {});
    ~HTMLParser();
    HTMLParser(const HTMLParser&) = delete;
    HTMLParser& operator=(const HTMLParser&) = delete;

    // Bytes in an unknown encoding: sniffed (byte order mark, the caller's
    // `transportEncoding`, a <meta> charset in the first 1024 bytes, then
    // `defaultEncoding`) and decoded to UTF-8 first.
    static std::unique_ptr<HTMLParser> parserForBytes(std::string_view bytes,
                                                      std::string_view transportEncoding = {},
                                                      std::string_view defaultEncoding = "windows-1252",
                                                      HTMLParserOptions options = {});

    // Each parser parses once: the second call returns what the first built.
    Ref<HTMLDocument> parseDocument();
    // Fragment parsing with `context` as the context element. The context is
    // only read: it may belong to any document, or none.
    Ref<HTMLDocumentFragment> parseFragment(const HTMLElement& context);

    // The name of the encoding the input was decoded from ("UTF-8" for text).
    const std::string& encoding() const noexcept { return encoding_; }
    // In the order they arose. Tokenizer errors carry their position; tree
    // construction errors have line and column 0, since tokens carry none.
    const std::vector<HTMLParseError>& parseErrors() const noexcept { return errors_; }

private:
    std::string input_;  // the tokenizer reads it in place
    std::unique_ptr<HTMLTokenizer> tokenizer_;
    HTMLParserOptions options_;
    std::string encoding_ = "UTF-8";
    std::vector<HTMLParseError> errors_;
    Ref<HTMLDocument> document_;
    Ref<HTMLDocumentFragment> fragment_;
};

}  // namespace zv::html
