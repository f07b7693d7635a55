#include "HTMLTreeBuilder.h"

#include "ASCIIText.h"
#include "HTMLForeignContent.h"
#include "HTMLQuirks.h"
#include "treebuilder/HTMLTreeBuilderSupport.h"

#include <zv/html/HTMLCharacterData.h>

#include <algorithm>
#include <unordered_set>

namespace zv::html {

using namespace treebuilder;

HTMLTreeBuilder::HTMLTreeBuilder(HTMLTokenizer& tokenizer, const HTMLParserOptions& options,
                                 std::vector<HTMLParseError>* errors)
    : tokenizer_(tokenizer), options_(options), errors_(errors) {}

HTMLTreeBuilder::~HTMLTreeBuilder() = default;

void HTMLTreeBuilder::buildDocument(HTMLDocument& document) {
    document_ = &document;
    run();
}

void HTMLTreeBuilder::buildFragment(const HTMLElement& context, HTMLDocumentFragment& fragment) {
    Ref<HTMLDocument> document = HTMLDocument::create();
    if (const HTMLDocument* owner = context.ownerDocument()) document->setQuirksMode(owner->quirksMode());
    document_ = document.get();
    context_ = &context;
    contextEntry_ = HTMLElementStack::entryFor(const_cast<HTMLElement&>(context));

    if (context.htmlNamespace() == Namespace::HTML) {
        switch (context.tag()) {
        case Tag::title:
        case Tag::textarea:
            tokenizer_.setState(HTMLTokenizerState::RCDATA);
            break;
        case Tag::style:
        case Tag::xmp:
        case Tag::iframe:
        case Tag::noembed:
        case Tag::noframes:
            tokenizer_.setState(HTMLTokenizerState::RAWTEXT);
            break;
        case Tag::script:
            tokenizer_.setState(HTMLTokenizerState::ScriptData);
            break;
        case Tag::noscript:
            if (options_.scripting) tokenizer_.setState(HTMLTokenizerState::RAWTEXT);
            break;
        case Tag::plaintext:
            tokenizer_.setState(HTMLTokenizerState::PLAINTEXT);
            break;
        default:
            break;
        }
    }

    Ref<HTMLElement> root = make<HTMLElement>(Tag::html);
    document->appendNode(root);
    push(*root);
    if (context.is(Tag::template_)) templateModes_.push_back(InsertionMode::InTemplate);
    resetInsertionMode();
    for (const HTMLNode* node = &context; node; node = node->parentNode()) {
        const auto* element = node->as<HTMLElement>();
        if (element && element->is(Tag::form)) {
            form_ = const_cast<HTMLElement*>(element);
            break;
        }
    }
    run();
    root->reparentChildNodesIntoNode(&fragment);
}

// ---------------------------------------------------------------------------
// Driving the tokenizer

void HTMLTreeBuilder::run() {
    bool allowCDATA = false;
    for (;;) {
        // Whether "<![CDATA[" opens a section depends on where the next token
        // goes; a fragment in an SVG context starts out foreign.
        bool foreign = !stack_.empty() && !adjustedCurrentNode().isHTML();
        if (foreign != allowCDATA) {
            allowCDATA = foreign;
            tokenizer_.setAllowCDATA(foreign);
        }
        // Tokens belong to the tokenizer until the next call; the builder moves
        // attribute strings and comment data out of them rather than copying.
        auto* token = const_cast<HTMLToken*>(tokenizer_.nextToken());
        if (!token) break;
        if (token->type == Type::ParseError) continue;
        if (skipNextNewline_) {
            skipNextNewline_ = false;
            if (token->type == Type::Character) {
                std::string_view& text = textOf(*token);
                if (!text.empty() && text.front() == '\n') {
                    text.remove_prefix(1);
                    if (text.empty()) continue;
                }
            }
        }
        processToken(*token);
        if (token->type == Type::EndOfFile) break;
    }
    stopParsing();
}

void HTMLTreeBuilder::stopParsing() {
    if (sawSelectedContent_) {
        while (!stack_.empty()) pop();
    }
    stack_.clear();
    formatting_.clear();
}

void HTMLTreeBuilder::parseError(const char* code) {
    if (errors_) errors_->push_back(HTMLParseError{code, 0, 0});
}

void HTMLTreeBuilder::processToken(HTMLToken& token) {
    if (usesHTMLRules(token))
        processInMode(mode_, token);
    else
        foreignContent(token);
}

// The tree construction dispatcher: HTML rules unless the adjusted current
// node is foreign and the token is not one its integration point lets through.
bool HTMLTreeBuilder::usesHTMLRules(const HTMLToken& token) const {
    if (stack_.empty()) return true;
    const Entry& node = adjustedCurrentNode();
    if (node.isHTML()) return true;
    switch (token.type) {
    case Type::StartTag: {
        Tag tag = static_cast<const HTMLTagToken&>(token).tag;
        if (node.has(MathMLTextIntegrationPoint) && tag != Tag::mglyph && tag != Tag::malignmark) return true;
        if (node.ns == Namespace::MathML && node.tag == Tag::annotation_xml && tag == Tag::svg) return true;
        return node.has(HTMLIntegrationPoint);
    }
    case Type::Character:
        return node.has(MathMLTextIntegrationPoint | HTMLIntegrationPoint);
    case Type::EndOfFile:
        return true;
    default:
        return false;
    }
}

void HTMLTreeBuilder::processInMode(InsertionMode mode, HTMLToken& token) {
    switch (mode) {
    case InsertionMode::Initial: return initialMode(token);
    case InsertionMode::BeforeHTML: return beforeHTMLMode(token);
    case InsertionMode::BeforeHead: return beforeHeadMode(token);
    case InsertionMode::InHead: return inHeadMode(token);
    case InsertionMode::InHeadNoscript: return inHeadNoscriptMode(token);
    case InsertionMode::AfterHead: return afterHeadMode(token);
    case InsertionMode::InBody: return inBodyMode(token);
    case InsertionMode::Text: return textMode(token);
    case InsertionMode::InTable: return inTableMode(token);
    case InsertionMode::InTableText: return inTableTextMode(token);
    case InsertionMode::InCaption: return inCaptionMode(token);
    case InsertionMode::InColumnGroup: return inColumnGroupMode(token);
    case InsertionMode::InTableBody: return inTableBodyMode(token);
    case InsertionMode::InRow: return inRowMode(token);
    case InsertionMode::InCell: return inCellMode(token);
    case InsertionMode::InTemplate: return inTemplateMode(token);
    case InsertionMode::AfterBody: return afterBodyMode(token);
    case InsertionMode::InFrameset: return inFramesetMode(token);
    case InsertionMode::AfterFrameset: return afterFramesetMode(token);
    case InsertionMode::AfterAfterBody: return afterAfterBodyMode(token);
    case InsertionMode::AfterAfterFrameset: return afterAfterFramesetMode(token);
    }
}

// ---------------------------------------------------------------------------
// Shared algorithms

void HTMLTreeBuilder::reconstructActiveFormattingElements() {
    const size_t count = formatting_.size();
    if (count == 0) return;
    auto settled = [&](const HTMLFormattingElementList::Entry& e) {
        return e.isMarker() || formatting_.isOpen(e, stack_);
    };
    if (settled(formatting_[count - 1])) return;
    size_t i = count - 1;
    while (i > 0 && !settled(formatting_[i - 1])) --i;
    for (; i < count; ++i) {
        InsertionLocation location = appropriatePlace();
        Ref<HTMLElement> copy = shallowCopy(*formatting_[i].element);
        HTMLElement& element = *copy;
        insertAt(location, std::move(copy));
        push(element);
        formatting_.replace(i, element, stack_.size() - 1);
    }
}

void HTMLTreeBuilder::resetInsertionMode() {
    for (size_t i = stack_.size(); i-- > 0;) {
        const bool last = i == 0;
        const Entry& node = last && context_ ? contextEntry_ : stack_[i];
        if (node.isHTML()) {
            switch (node.tag) {
            case Tag::td:
            case Tag::th:
                if (!last) {
                    mode_ = InsertionMode::InCell;
                    return;
                }
                break;
            case Tag::tr:
                mode_ = InsertionMode::InRow;
                return;
            case Tag::tbody:
            case Tag::thead:
            case Tag::tfoot:
                mode_ = InsertionMode::InTableBody;
                return;
            case Tag::caption:
                mode_ = InsertionMode::InCaption;
                return;
            case Tag::colgroup:
                mode_ = InsertionMode::InColumnGroup;
                return;
            case Tag::table:
                mode_ = InsertionMode::InTable;
                return;
            case Tag::template_:
                mode_ = templateModes_.empty() ? InsertionMode::InBody : templateModes_.back();
                return;
            case Tag::head:
                if (!last) {
                    mode_ = InsertionMode::InHead;
                    return;
                }
                break;
            case Tag::body:
                mode_ = InsertionMode::InBody;
                return;
            case Tag::frameset:
                mode_ = InsertionMode::InFrameset;
                return;
            case Tag::html:
                mode_ = head_ ? InsertionMode::AfterHead : InsertionMode::BeforeHead;
                return;
            default:
                break;
            }
        }
        if (last) {
            mode_ = InsertionMode::InBody;
            return;
        }
    }
}

void HTMLTreeBuilder::generateImpliedEndTags(Tag except) {
    while (stack_.current().has(ImpliedEndTag) && !stack_.current().is(except)) pop();
}

void HTMLTreeBuilder::generateImpliedEndTagsThoroughly() {
    while (stack_.current().has(ThoroughlyImpliedEndTag)) pop();
}

void HTMLTreeBuilder::closePElement() {
    generateImpliedEndTags(Tag::p);
    if (!stack_.current().is(Tag::p)) parseError("end-tag-with-unclosed-elements");
    popUntil(Tag::p);
}

void HTMLTreeBuilder::closePElementInButtonScope() {
    if (stack_.hasInScope(Tag::p, ButtonScopeBoundary)) closePElement();
}

void HTMLTreeBuilder::textMode(HTMLToken& token) {
    switch (token.type) {
    case Type::Character:
        return insertCharacters(textOf(token));
    case Type::EndOfFile:
        parseError("eof-in-element-that-can-contain-only-text");
        pop();
        mode_ = originalMode_;
        return processInMode(mode_, token);
    case Type::EndTag:
        pop();
        mode_ = originalMode_;
        return;
    default:
        return;
    }
}

// The generic raw text and RCDATA element parsing algorithms (and <script>).
void HTMLTreeBuilder::parseRawText(HTMLTagToken& token, HTMLTokenizerState state) {
    insertElement(token);
    tokenizer_.setState(state);
    tokenizer_.setLastStartTagName(token.tagName);
    originalMode_ = mode_;
    mode_ = InsertionMode::Text;
}

bool HTMLTreeBuilder::isFragmentWithSelectContext() const { return context_ && context_->is(Tag::select); }

// ---------------------------------------------------------------------------
// The stack of open elements

void HTMLTreeBuilder::push(HTMLElement& element) { stack_.push(element); }

void HTMLTreeBuilder::pop() {
    Entry entry = stack_.pop();
    if (sawSelectedContent_ && entry.is(Tag::option)) cloneSelectedOption(*entry.element);
}

void HTMLTreeBuilder::popUntil(Tag tag) {
    while (!stack_.empty()) {
        bool found = stack_.current().is(tag);
        pop();
        if (found) return;
    }
}

void HTMLTreeBuilder::popUntilPopped(size_t stackIndex) {
    while (stack_.size() > stackIndex) pop();
}

void HTMLTreeBuilder::popUntilNumberedHeading() {
    while (!stack_.empty()) {
        bool found = stack_.current().isHTML() && stack_.current().has(NumberedHeading);
        pop();
        if (found) return;
    }
}

void HTMLTreeBuilder::removeFromStack(size_t stackIndex) {
    stack_.erase(stackIndex);
    formatting_.stackErased(stackIndex);
}

void HTMLTreeBuilder::insertIntoStack(size_t stackIndex, HTMLElement& element) {
    stack_.insert(stackIndex, element);
    formatting_.stackInserted(stackIndex);
}

const HTMLElementStack::Entry& HTMLTreeBuilder::adjustedCurrentNode() const {
    return context_ && stack_.size() == 1 ? contextEntry_ : stack_.current();
}

// ---------------------------------------------------------------------------
// Inserting nodes

HTMLTreeBuilder::InsertionLocation HTMLTreeBuilder::appropriatePlace(const Entry& target) const {
    if (fosterParenting_ && target.isHTML() && target.has(FosterParentTarget)) return fosterParentLocation();
    if (target.is(Tag::template_)) return {target.element->templateContent(), nullptr};
    return {target.element, nullptr};
}

HTMLTreeBuilder::InsertionLocation HTMLTreeBuilder::fosterParentLocation() const {
    size_t lastTemplate = npos;
    size_t lastTable = npos;
    bool seekTemplate = stack_.contains(Tag::template_);
    bool seekTable = stack_.contains(Tag::table);
    for (size_t i = stack_.size(); i-- > 0 && (seekTemplate || seekTable);) {
        if (seekTemplate && stack_[i].is(Tag::template_)) {
            lastTemplate = i;
            seekTemplate = false;
            if (lastTable == npos) break;  // the template is the more recent
        } else if (seekTable && stack_[i].is(Tag::table)) {
            lastTable = i;
            seekTable = false;
        }
    }
    if (lastTemplate != npos && (lastTable == npos || lastTemplate > lastTable))
        return {stack_[lastTemplate].element->templateContent(), nullptr};
    if (lastTable == npos) return {stack_[0].element, nullptr};
    HTMLElement* table = stack_[lastTable].element;
    if (HTMLNode* parent = table->parentNode()) return {parent, table};
    const Entry& previous = stack_[lastTable - 1];
    if (previous.is(Tag::template_)) return {previous.element->templateContent(), nullptr};
    return {previous.element, nullptr};
}

void HTMLTreeBuilder::insertAt(const InsertionLocation& location, Ref<HTMLNode> node) {
    location.parent->insertParsedNode(std::move(node), location.before);
}

Ref<HTMLElement> HTMLTreeBuilder::createElement(HTMLTagToken& token, Namespace ns) {
    Tag tag = token.tag;
    std::string_view name = token.tagName;
    if (ns == Namespace::SVG) {
        std::string_view adjusted = adjustedSVGTagName(name);
        if (adjusted.data() != name.data()) {
            name = adjusted;
            tag = tagFromName(adjusted);
        }
    } else if (ns == Namespace::HTML && tag == Tag::Unknown && name == "selectedcontent") {
        sawSelectedContent_ = true;
    }
    Ref<HTMLElement> element = tag != Tag::Unknown ? make<HTMLElement>(tag, ns) : make<HTMLElement>(name, ns);
    element->reserveAttributes(token.attributes.size());
    for (auto& attribute : token.attributes) {
        if (ns == Namespace::HTML)
            element->appendAttribute(std::move(attribute.name), std::move(attribute.value));
        else
            element->appendAttribute(adjustedForeignAttribute(std::move(attribute), ns));
    }
    return element;
}

HTMLElement* HTMLTreeBuilder::insertElement(HTMLTagToken& token, Namespace ns) {
    InsertionLocation location = appropriatePlace();
    Ref<HTMLElement> element = createElement(token, ns);
    HTMLElement& raw = *element;
    insertAt(location, std::move(element));
    push(raw);
    return &raw;
}

HTMLElement* HTMLTreeBuilder::insertElement(Tag tag) {
    InsertionLocation location = appropriatePlace();
    Ref<HTMLElement> element = make<HTMLElement>(tag);
    HTMLElement& raw = *element;
    insertAt(location, std::move(element));
    push(raw);
    return &raw;
}

void HTMLTreeBuilder::insertCharacters(std::string_view text) {
    InsertionLocation location = appropriatePlace();
    if (location.parent->nodeType() == HTMLNodeType::Document) return;
    HTMLNode* previous = location.before ? location.before->previousSibling() : location.parent->lastChild();
    if (previous && previous->isText()) {
        static_cast<HTMLText*>(previous)->appendData(text);
        return;
    }
    insertAt(location, HTMLText::create(std::string(text)));
}

void HTMLTreeBuilder::insertComment(HTMLToken& token) {
    insertAt(appropriatePlace(), HTMLComment::create(std::move(static_cast<HTMLCommentToken&>(token).data)));
}

void HTMLTreeBuilder::insertComment(HTMLToken& token, HTMLNode& parent) {
    parent.appendNode(HTMLComment::create(std::move(static_cast<HTMLCommentToken&>(token).data)));
}

void HTMLTreeBuilder::pushFormattingElement(HTMLElement& element) {
    formatting_.push(element, stack_.size() - 1);
}

// The names the element has go into a set first, so a second <html> or
// <body> with a hundred thousand attributes costs linear time.
void HTMLTreeBuilder::addMissingAttributes(HTMLElement& element, const HTMLTagToken& token) {
    std::unordered_set<std::string> present;
    for (const HTMLAttribute& attribute : element.attributes())
        if (attribute.ns == AttributeNamespace::None) present.insert(attribute.name);
    for (const auto& attribute : token.attributes)
        if (present.insert(attribute.name).second) element.appendAttribute(HTMLAttribute{attribute.name, attribute.value});
}

// A <selectedcontent> inside a <select> shows a copy of the selected option,
// made when that option is closed.
void HTMLTreeBuilder::cloneSelectedOption(HTMLElement& option) {
    HTMLElement* select = option.parentElement();
    while (select && !select->is(Tag::select)) select = select->parentElement();
    if (!select) return;
    HTMLElement* selectedContent = nullptr;
    HTMLElement* firstOption = nullptr;
    HTMLElement* lastSelected = nullptr;
    for (HTMLNode* node = select->firstChild(); node; node = nextInSubtree(node, select)) {
        auto* element = node->as<HTMLElement>();
        if (!element) continue;
        if (!selectedContent && element->htmlNamespace() == Namespace::HTML &&
            element->localName() == "selectedcontent")
            selectedContent = element;
        if (element->is(Tag::option)) {
            if (!firstOption) firstOption = element;
            if (element->hasAttribute("selected")) lastSelected = element;
        }
    }
    HTMLElement* selected = lastSelected ? lastSelected : firstOption;
    if (!selectedContent || selected != &option || selectedContent->containsNode(&option) ||
        option.containsNode(selectedContent))
        return;
    // Open elements may sit inside what is replaced; keep them alive.
    while (HTMLNode* child = selectedContent->firstChild()) {
        detached_.push_back(child);
        selectedContent->removeChildNode(child);
    }
    for (HTMLNode* child = option.firstChild(); child; child = child->nextSibling())
        selectedContent->appendNode(child->cloneNodeDeep(true));
}

}  // namespace zv::html
