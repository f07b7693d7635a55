// The in template insertion mode and the template contents modes it switches between.

#include "HTMLTreeBuilder.h"

#include "HTMLTreeBuilderSupport.h"

namespace zv::html {

using namespace treebuilder;

void HTMLTreeBuilder::inTemplateMode(HTMLToken& token) {
    switch (token.type) {
    case Type::Character:
    case Type::Comment:
    case Type::DOCTYPE:
        return inBodyMode(token);
    case Type::StartTag:
        switch (tagOf(token).tag) {
        case Tag::base:
        case Tag::basefont:
        case Tag::bgsound:
        case Tag::link:
        case Tag::meta:
        case Tag::noframes:
        case Tag::script:
        case Tag::style:
        case Tag::template_:
        case Tag::title:
            return inHeadMode(token);
        case Tag::caption:
        case Tag::colgroup:
        case Tag::tbody:
        case Tag::tfoot:
        case Tag::thead:
            switchTemplateMode(InsertionMode::InTable);
            break;
        case Tag::col:
            switchTemplateMode(InsertionMode::InColumnGroup);
            break;
        case Tag::tr:
            switchTemplateMode(InsertionMode::InTableBody);
            break;
        case Tag::td:
        case Tag::th:
            switchTemplateMode(InsertionMode::InRow);
            break;
        default:
            switchTemplateMode(InsertionMode::InBody);
            break;
        }
        return processInMode(mode_, token);
    case Type::EndTag:
        if (tagOf(token).tag == Tag::template_) return inHeadMode(token);
        return parseError("unexpected-end-tag");
    case Type::EndOfFile:
        if (!stack_.contains(Tag::template_)) return;
        parseError("eof-in-template");
        popUntil(Tag::template_);
        formatting_.clearToLastMarker();
        templateModes_.pop_back();
        resetInsertionMode();
        return processInMode(mode_, token);
    case Type::ParseError:
        return;
    }
}

void HTMLTreeBuilder::endTemplate() {
    if (!stack_.contains(Tag::template_)) return parseError("unexpected-end-tag");
    generateImpliedEndTagsThoroughly();
    if (!stack_.current().is(Tag::template_)) parseError("end-tag-with-unclosed-elements");
    popUntil(Tag::template_);
    formatting_.clearToLastMarker();
    if (!templateModes_.empty()) templateModes_.pop_back();
    resetInsertionMode();
}

void HTMLTreeBuilder::switchTemplateMode(InsertionMode mode) {
    if (!templateModes_.empty()) templateModes_.pop_back();
    templateModes_.push_back(mode);
    mode_ = mode;
}

}  // namespace zv::html
