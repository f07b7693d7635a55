// The rules for parsing tokens in foreign content (SVG and MathML).

#include "HTMLTreeBuilder.h"

#include "HTMLForeignContent.h"
#include "HTMLTreeBuilderSupport.h"

namespace zv::html {

using namespace treebuilder;

void HTMLTreeBuilder::foreignContent(HTMLToken& token) {
    switch (token.type) {
    case Type::Character: {
        std::string_view text = textOf(token);
        if (text.empty()) return;
        if (text.front() == '\0') {
            parseError("unexpected-null-character");
            std::string replacement;
            for (size_t i = 0; i < text.size(); ++i) replacement += "\xEF\xBF\xBD";
            return insertCharacters(replacement);
        }
        insertCharacters(text);
        if (framesetOK_ && !isAllWhitespace(text)) framesetOK_ = false;
        return;
    }
    case Type::Comment:
        return insertComment(token);
    case Type::DOCTYPE:
        return parseError("unexpected-doctype");
    case Type::StartTag: {
        HTMLTagToken& tag = tagOf(token);
        if (breaksOutOfForeignContent(tag)) {
            parseError("html-start-tag-in-foreign-content");
            while (!stack_.current().isHTML() &&
                   !stack_.current().has(MathMLTextIntegrationPoint | HTMLIntegrationPoint))
                pop();
            return processInMode(mode_, token);
        }
        insertElement(tag, adjustedCurrentNode().ns);
        if (tag.selfClosing) pop();
        return;
    }
    case Type::EndTag:
        return foreignContentEndTag(token);
    case Type::EndOfFile:
    case Type::ParseError:
        return;
    }
}

void HTMLTreeBuilder::foreignContentEndTag(HTMLToken& token) {
    HTMLTagToken& tag = tagOf(token);
    if (tag.tag == Tag::br || tag.tag == Tag::p) {
        parseError("html-end-tag-in-foreign-content");
        while (!stack_.current().isHTML() && !stack_.current().has(MathMLTextIntegrationPoint | HTMLIntegrationPoint))
            pop();
        return processInMode(mode_, token);
    }
    const Entry& current = stack_.current();
    if (tag.tag == Tag::script && current.ns == Namespace::SVG && current.tag == Tag::script) return pop();

    size_t i = stack_.size() - 1;
    if (!equalsIgnoringASCIICase(stack_[i].element->localName(), tag.tagName)) parseError("unexpected-end-tag");
    for (;;) {
        if (i == 0) return;
        if (equalsIgnoringASCIICase(stack_[i].element->localName(), tag.tagName)) return popUntilPopped(i);
        --i;
        if (stack_[i].isHTML()) return processInMode(mode_, token);
    }
}

}  // namespace zv::html
