// The insertion modes after the body, and framesets.

#include "HTMLTreeBuilder.h"

#include "HTMLTreeBuilderSupport.h"

namespace zv::html {

using namespace treebuilder;

void HTMLTreeBuilder::afterBodyMode(HTMLToken& token) {
    switch (token.type) {
    case Type::Character: {
        std::string_view& text = textOf(token);
        size_t n = leadingWhitespace(text);
        if (n) inBodyCharacters(text.substr(0, n));
        text.remove_prefix(n);
        if (text.empty()) return;
        break;
    }
    case Type::Comment:
        return insertComment(token, *stack_[0].element);
    case Type::DOCTYPE:
        return parseError("unexpected-doctype");
    case Type::StartTag:
        if (tagOf(token).tag == Tag::html) return inBodyMode(token);
        break;
    case Type::EndTag:
        if (tagOf(token).tag == Tag::html) {
            if (context_) return parseError("unexpected-end-tag");
            mode_ = InsertionMode::AfterAfterBody;
            return;
        }
        break;
    case Type::EndOfFile:
    case Type::ParseError:
        return;
    }
    parseError("unexpected-token-after-body");
    mode_ = InsertionMode::InBody;
    processInMode(mode_, token);
}

void HTMLTreeBuilder::inFramesetMode(HTMLToken& token) {
    switch (token.type) {
    case Type::Character: {
        std::string_view text = textOf(token);
        std::string whitespace;
        for (char c : text)
            if (isASCIIWhitespace(c)) whitespace.push_back(c);
        if (whitespace.size() != text.size()) parseError("unexpected-character-in-frameset");
        if (!whitespace.empty()) insertCharacters(whitespace);
        return;
    }
    case Type::Comment:
        return insertComment(token);
    case Type::DOCTYPE:
        return parseError("unexpected-doctype");
    case Type::StartTag:
        switch (tagOf(token).tag) {
        case Tag::html:
            return inBodyMode(token);
        case Tag::frameset:
            insertElement(tagOf(token));
            return;
        case Tag::frame:
            insertElement(tagOf(token));
            pop();
            return;
        case Tag::noframes:
            return inHeadMode(token);
        default:
            return parseError("unexpected-start-tag");
        }
    case Type::EndTag:
        if (tagOf(token).tag != Tag::frameset) return parseError("unexpected-end-tag");
        if (stack_.size() == 1) return parseError("unexpected-end-tag");
        pop();
        if (!context_ && !stack_.current().is(Tag::frameset)) mode_ = InsertionMode::AfterFrameset;
        return;
    case Type::EndOfFile:
        if (stack_.size() != 1) parseError("eof-in-frameset");
        return;
    case Type::ParseError:
        return;
    }
}

void HTMLTreeBuilder::afterFramesetMode(HTMLToken& token) {
    switch (token.type) {
    case Type::Character: {
        std::string_view text = textOf(token);
        std::string whitespace;
        for (char c : text)
            if (isASCIIWhitespace(c)) whitespace.push_back(c);
        if (whitespace.size() != text.size()) parseError("unexpected-character-after-frameset");
        if (!whitespace.empty()) insertCharacters(whitespace);
        return;
    }
    case Type::Comment:
        return insertComment(token);
    case Type::DOCTYPE:
        return parseError("unexpected-doctype");
    case Type::StartTag:
        if (tagOf(token).tag == Tag::html) return inBodyMode(token);
        if (tagOf(token).tag == Tag::noframes) return inHeadMode(token);
        return parseError("unexpected-start-tag");
    case Type::EndTag:
        if (tagOf(token).tag == Tag::html) {
            mode_ = InsertionMode::AfterAfterFrameset;
            return;
        }
        return parseError("unexpected-end-tag");
    case Type::EndOfFile:
    case Type::ParseError:
        return;
    }
}

void HTMLTreeBuilder::afterAfterBodyMode(HTMLToken& token) {
    switch (token.type) {
    case Type::Comment:
        return insertComment(token, *document_);
    case Type::DOCTYPE:
        return inBodyMode(token);
    case Type::Character: {
        std::string_view& text = textOf(token);
        size_t n = leadingWhitespace(text);
        if (n) inBodyCharacters(text.substr(0, n));
        text.remove_prefix(n);
        if (text.empty()) return;
        break;
    }
    case Type::StartTag:
        if (tagOf(token).tag == Tag::html) return inBodyMode(token);
        break;
    case Type::EndOfFile:
    case Type::ParseError:
        return;
    default:
        break;
    }
    parseError("unexpected-token-after-body");
    mode_ = InsertionMode::InBody;
    processInMode(mode_, token);
}

void HTMLTreeBuilder::afterAfterFramesetMode(HTMLToken& token) {
    switch (token.type) {
    case Type::Comment:
        return insertComment(token, *document_);
    case Type::DOCTYPE:
        return inBodyMode(token);
    case Type::Character: {
        std::string_view text = textOf(token);
        size_t n = leadingWhitespace(text);
        if (n) inBodyCharacters(text.substr(0, n));
        if (n != text.size()) parseError("unexpected-character-after-frameset");
        return;
    }
    case Type::StartTag:
        if (tagOf(token).tag == Tag::html) return inBodyMode(token);
        if (tagOf(token).tag == Tag::noframes) return inHeadMode(token);
        return parseError("unexpected-start-tag");
    case Type::EndTag:
        return parseError("unexpected-end-tag");
    case Type::EndOfFile:
    case Type::ParseError:
        return;
    }
}

}  // namespace zv::html
