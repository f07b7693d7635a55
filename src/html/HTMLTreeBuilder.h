// The tree construction stage of the HTML standard.
//
// Pulls tokens from an HTMLTokenizer and builds a document, or the children
// of a fragment parsed in the context of an element. Each insertion mode is
// one function named as the standard names the mode; character tokens come
// as runs and each mode splits off what it treats differently (usually the
// leading white space). The builder never recurses over the tree, so any
// nesting depth is safe.
#pragma once

#include "HTMLElementStack.h"
#include "HTMLFormattingElementList.h"
#include "HTMLTokenizer.h"

#include <zv/html/HTMLParser.h>

#include <string>
#include <vector>

namespace zv::html {

class HTMLTreeBuilder {
public:
    // Parse errors go to `errors` when it is not null.
    HTMLTreeBuilder(HTMLTokenizer& tokenizer, const HTMLParserOptions& options,
                    std::vector<HTMLParseError>* errors);
    ~HTMLTreeBuilder();
    HTMLTreeBuilder(const HTMLTreeBuilder&) = delete;
    HTMLTreeBuilder& operator=(const HTMLTreeBuilder&) = delete;

    void buildDocument(HTMLDocument& document);
    // Fragment parsing: the result is moved into `fragment`; `context` is only read.
    void buildFragment(const HTMLElement& context, HTMLDocumentFragment& fragment);

private:
    enum class InsertionMode : uint8_t {
        Initial,
        BeforeHTML,
        BeforeHead,
        InHead,
        InHeadNoscript,
        AfterHead,
        InBody,
        Text,
        InTable,
        InTableText,
        InCaption,
        InColumnGroup,
        InTableBody,
        InRow,
        InCell,
        InTemplate,
        AfterBody,
        InFrameset,
        AfterFrameset,
        AfterAfterBody,
        AfterAfterFrameset,
    };

    struct InsertionLocation {
        HTMLNode* parent;
        HTMLNode* before;  // null: append
    };

    using Entry = HTMLElementStack::Entry;

    void run();
    void stopParsing();
    void parseError(const char* code);

    // Token dispatch.
    void processToken(HTMLToken& token);
    bool usesHTMLRules(const HTMLToken& token) const;
    void processInMode(InsertionMode mode, HTMLToken& token);

    // The insertion modes.
    void initialMode(HTMLToken& token);
    void beforeHTMLMode(HTMLToken& token);
    void beforeHeadMode(HTMLToken& token);
    void inHeadMode(HTMLToken& token);
    void inHeadNoscriptMode(HTMLToken& token);
    void afterHeadMode(HTMLToken& token);
    void inBodyMode(HTMLToken& token);
    void textMode(HTMLToken& token);
    void inTableMode(HTMLToken& token);
    void inTableTextMode(HTMLToken& token);
    void inCaptionMode(HTMLToken& token);
    void inColumnGroupMode(HTMLToken& token);
    void inTableBodyMode(HTMLToken& token);
    void inRowMode(HTMLToken& token);
    void inCellMode(HTMLToken& token);
    void inTemplateMode(HTMLToken& token);
    void afterBodyMode(HTMLToken& token);
    void inFramesetMode(HTMLToken& token);
    void afterFramesetMode(HTMLToken& token);
    void afterAfterBodyMode(HTMLToken& token);
    void afterAfterFramesetMode(HTMLToken& token);
    void foreignContent(HTMLToken& token);

    // "In body", the largest mode, by token type.
    void inBodyCharacters(std::string_view text);
    void inBodyStartTag(HTMLTagToken& token);
    void inBodyEndTag(HTMLTagToken& token);
    void inBodyEndOfFile(HTMLToken& token);
    void inBodyAnyOtherEndTag(const HTMLTagToken& token);
    // Its start tags, by group.
    void inBodyHTMLStartTag(const HTMLTagToken& token);
    void inBodyBodyStartTag(const HTMLTagToken& token);
    void inBodyFramesetStartTag(HTMLTagToken& token);
    void inBodyHeadingStartTag(HTMLTagToken& token);
    void inBodyPreStartTag(HTMLTagToken& token);
    void inBodyFormStartTag(HTMLTagToken& token);
    void inBodyListItemStartTag(HTMLTagToken& token);
    void inBodyButtonStartTag(HTMLTagToken& token);
    void inBodyAnchorStartTag(HTMLTagToken& token);
    void inBodyNobrStartTag(HTMLTagToken& token);
    void inBodyTableStartTag(HTMLTagToken& token);
    void inBodyVoidStartTag(HTMLTagToken& token);
    void inBodyHRStartTag(HTMLTagToken& token);
    void inBodyRawTextStartTag(HTMLTagToken& token);
    void inBodySelectStartTag(HTMLTagToken& token);
    void inBodyOptionStartTag(HTMLTagToken& token);
    void inBodyRubyStartTag(HTMLTagToken& token);
    void foreignContentEndTag(HTMLToken& token);
    void processAsTableAnythingElse(HTMLToken& token);
    void flushPendingTableText();

    // The algorithms the modes share.
    bool runAdoptionAgency(const HTMLTagToken& token);
    void reconstructActiveFormattingElements();
    void resetInsertionMode();
    void generateImpliedEndTags(Tag except = Tag::Unknown);
    void generateImpliedEndTagsThoroughly();
    void closePElement();
    void closePElementInButtonScope();
    void closeCell();
    void closeCaption();
    void endTemplate();
    void clearStackBackTo(uint32_t context);
    void parseRawText(HTMLTagToken& token, HTMLTokenizerState state);
    void switchTemplateMode(InsertionMode mode);
    bool isFragmentWithSelectContext() const;

    // Stack of open elements; popping goes through here so option elements
    // can fill a <selectedcontent> as they close.
    void push(HTMLElement& element);
    void pop();
    void popUntil(Tag tag);
    void popUntilPopped(size_t stackIndex);
    void popUntilNumberedHeading();
    void removeFromStack(size_t stackIndex);
    void insertIntoStack(size_t stackIndex, HTMLElement& element);
    const Entry& adjustedCurrentNode() const;

    // Tree insertion.
    InsertionLocation appropriatePlace(const Entry& target) const;
    InsertionLocation appropriatePlace() const { return appropriatePlace(stack_.current()); }
    InsertionLocation fosterParentLocation() const;
    static void insertAt(const InsertionLocation& location, Ref<HTMLNode> node);
    Ref<HTMLElement> createElement(HTMLTagToken& token, Namespace ns);
    HTMLElement* insertElement(HTMLTagToken& token, Namespace ns = Namespace::HTML);
    HTMLElement* insertElement(Tag tag);
    void insertCharacters(std::string_view text);
    void insertComment(HTMLToken& token);
    void insertComment(HTMLToken& token, HTMLNode& parent);
    void pushFormattingElement(HTMLElement& element);
    void addMissingAttributes(HTMLElement& element, const HTMLTagToken& token);
    void cloneSelectedOption(HTMLElement& option);

    HTMLTokenizer& tokenizer_;
    HTMLParserOptions options_;
    std::vector<HTMLParseError>* errors_;

    HTMLDocument* document_ = nullptr;
    const HTMLElement* context_ = nullptr;  // the fragment case
    Entry contextEntry_;
    HTMLElementStack stack_;
    HTMLFormattingElementList formatting_;
    std::vector<InsertionMode> templateModes_;
    InsertionMode mode_ = InsertionMode::Initial;
    InsertionMode originalMode_ = InsertionMode::Initial;
    HTMLElement* head_ = nullptr;
    HTMLElement* form_ = nullptr;
    std::vector<Ref<HTMLNode>> detached_;  // replaced <selectedcontent> children
    std::string pendingTableText_;
    bool pendingTableTextIsWhitespace_ = true;
    bool framesetOK_ = true;
    bool fosterParenting_ = false;
    bool skipNextNewline_ = false;
    bool sawSelectedContent_ = false;
};

}  // namespace zv::html
