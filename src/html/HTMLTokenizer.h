// The WHATWG HTML tokenizer, as a pull tokenizer.
//
// The caller takes one token at a time and may stop whenever it likes; input
// is preprocessed (newlines normalised, invalid UTF-8 replaced) in chunks as
// the tokenizer reaches them, so reading the first tokens of a large document
// costs only what those tokens cover. That is also why the tokenizer reads
// the caller's text in place: it must outlive the tokenizer. A document that
// is still being read and decoded comes in through an HTMLTextSource instead,
// which the tokenizer pulls from only as far as its tokens reach.
#pragma once

#include <zv/Export.h>

#include <zv/html/HTMLToken.h>

#include <functional>
#include <memory>
#include <string>
#include <string_view>

namespace zv::html {

// The states a caller may start in or switch to; the tree builder switches
// after start tags such as <title>, <style> or <script>.
enum class HTMLTokenizerState : uint8_t {
    Data,
    RCDATA,
    RAWTEXT,
    ScriptData,
    PLAINTEXT,
    CDATASection,
};

// Gives a document's UTF-8 text a piece at a time: each call returns the next
// piece, which stays valid until the next call; an empty piece ends the text.
// Pieces end on character boundaries (a sequence cut in two reads as invalid).
using HTMLTextSource = std::function<std::string_view()>;

class ZV_EXPORT HTMLTokenizer {
public:
    using ParseErrorCallback = std::function<void(const HTMLParseError&)>;

    // `html` is UTF-8 and must stay alive and unchanged while tokens are taken.
    explicit HTMLTokenizer(std::string_view html);
    explicit HTMLTokenizer(const char* html) : HTMLTokenizer(std::string_view(html)) {}
    // A temporary would be gone before the first chunk is read.
    explicit HTMLTokenizer(std::string&&) = delete;
    explicit HTMLTokenizer(HTMLTextSource source);
    ~HTMLTokenizer();
    HTMLTokenizer(const HTMLTokenizer&) = delete;
    HTMLTokenizer& operator=(const HTMLTokenizer&) = delete;

    // The next token, or null once the end-of-file token has been returned.
    // The token (and any view it holds) is valid until the next call.
    const HTMLToken* nextToken();
    const HTMLToken* nextObject() { return nextToken(); }

    void setState(HTMLTokenizerState state);
    // The name an "appropriate end tag" must match in RCDATA, RAWTEXT and script data.
    void setLastStartTagName(std::string_view name);
    // Whether "<![CDATA[" opens a CDATA section (adjusted current node is foreign).
    void setAllowCDATA(bool allow);

    // Parse errors go to the callback; none (the default) switches reporting off.
    void setParseErrorCallback(ParseErrorCallback callback);

    struct Impl;

private:
    std::unique_ptr<Impl> impl_;
};

}  // namespace zv::html
