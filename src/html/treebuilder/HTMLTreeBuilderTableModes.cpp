// The table insertion modes: in table, in table text, in caption, in column
// group, in table body, in row and in cell.

#include "HTMLTreeBuilder.h"

#include "HTMLTreeBuilderSupport.h"

namespace zv::html {

using namespace treebuilder;

void HTMLTreeBuilder::inTableMode(HTMLToken& token) {
    switch (token.type) {
    case Type::Character:
        if (stack_.current().isHTML() && stack_.current().has(TableTextTarget)) {
            pendingTableText_.clear();
            pendingTableTextIsWhitespace_ = true;
            originalMode_ = mode_;
            mode_ = InsertionMode::InTableText;
            return inTableTextMode(token);
        }
        break;
    case Type::Comment:
        return insertComment(token);
    case Type::DOCTYPE:
        return parseError("unexpected-doctype");
    case Type::StartTag: {
        HTMLTagToken& tag = tagOf(token);
        switch (tag.tag) {
        case Tag::caption:
            clearStackBackTo(TableContext);
            formatting_.pushMarker();
            insertElement(tag);
            mode_ = InsertionMode::InCaption;
            return;
        case Tag::colgroup:
            clearStackBackTo(TableContext);
            insertElement(tag);
            mode_ = InsertionMode::InColumnGroup;
            return;
        case Tag::col:
            clearStackBackTo(TableContext);
            insertElement(Tag::colgroup);
            mode_ = InsertionMode::InColumnGroup;
            return processInMode(mode_, token);
        case Tag::tbody:
        case Tag::tfoot:
        case Tag::thead:
            clearStackBackTo(TableContext);
            insertElement(tag);
            mode_ = InsertionMode::InTableBody;
            return;
        case Tag::td:
        case Tag::th:
        case Tag::tr:
            clearStackBackTo(TableContext);
            insertElement(Tag::tbody);
            mode_ = InsertionMode::InTableBody;
            return processInMode(mode_, token);
        case Tag::table:
            parseError("nested-table");
            if (!stack_.hasInScope(Tag::table, TableScopeBoundary)) return;
            popUntil(Tag::table);
            resetInsertionMode();
            return processInMode(mode_, token);
        case Tag::style:
        case Tag::script:
        case Tag::template_:
            return inHeadMode(token);
        case Tag::input:
            if (!isHiddenInput(tag)) break;
            parseError("unexpected-start-tag-in-table");
            insertElement(tag);
            pop();
            return;
        case Tag::form:
            parseError("unexpected-start-tag-in-table");
            if (stack_.contains(Tag::template_) || form_) return;
            form_ = insertElement(tag);
            pop();
            return;
        default:
            break;
        }
        break;
    }
    case Type::EndTag:
        switch (tagOf(token).tag) {
        case Tag::table:
            if (!stack_.hasInScope(Tag::table, TableScopeBoundary)) return parseError("unexpected-end-tag");
            popUntil(Tag::table);
            resetInsertionMode();
            return;
        case Tag::body:
        case Tag::caption:
        case Tag::col:
        case Tag::colgroup:
        case Tag::html:
        case Tag::tbody:
        case Tag::td:
        case Tag::tfoot:
        case Tag::th:
        case Tag::thead:
        case Tag::tr:
            return parseError("unexpected-end-tag");
        case Tag::template_:
            return inHeadMode(token);
        default:
            break;
        }
        break;
    case Type::EndOfFile:
        return inBodyMode(token);
    default:
        return;
    }
    parseError("unexpected-token-in-table");
    processAsTableAnythingElse(token);
}

// Content that does not belong in a table goes in front of it.
void HTMLTreeBuilder::processAsTableAnythingElse(HTMLToken& token) {
    fosterParenting_ = true;
    inBodyMode(token);
    fosterParenting_ = false;
}

void HTMLTreeBuilder::inTableTextMode(HTMLToken& token) {
    if (token.type == Type::Character) {
        std::string_view text = textOf(token);
        if (text.empty()) return;
        if (text.front() == '\0') return parseError("unexpected-null-character");
        pendingTableText_.append(text);
        if (pendingTableTextIsWhitespace_ && !isAllWhitespace(text)) pendingTableTextIsWhitespace_ = false;
        return;
    }
    flushPendingTableText();
    mode_ = originalMode_;
    processInMode(mode_, token);
}

void HTMLTreeBuilder::flushPendingTableText() {
    if (pendingTableText_.empty()) return;
    if (pendingTableTextIsWhitespace_) {
        insertCharacters(pendingTableText_);
    } else {
        parseError("unexpected-character-in-table");
        fosterParenting_ = true;
        inBodyCharacters(pendingTableText_);
        fosterParenting_ = false;
    }
    pendingTableText_.clear();
}

void HTMLTreeBuilder::inCaptionMode(HTMLToken& token) {
    if (token.type == Type::StartTag) {
        switch (tagOf(token).tag) {
        case Tag::caption:
        case Tag::col:
        case Tag::colgroup:
        case Tag::tbody:
        case Tag::td:
        case Tag::tfoot:
        case Tag::th:
        case Tag::thead:
        case Tag::tr:
            if (!stack_.hasInScope(Tag::caption, TableScopeBoundary)) return parseError("unexpected-start-tag");
            closeCaption();
            return processInMode(mode_, token);
        default:
            break;
        }
    } else if (token.type == Type::EndTag) {
        switch (tagOf(token).tag) {
        case Tag::caption:
            if (!stack_.hasInScope(Tag::caption, TableScopeBoundary)) return parseError("unexpected-end-tag");
            return closeCaption();
        case Tag::table:
            if (!stack_.hasInScope(Tag::caption, TableScopeBoundary)) return parseError("unexpected-end-tag");
            closeCaption();
            return processInMode(mode_, token);
        case Tag::body:
        case Tag::col:
        case Tag::colgroup:
        case Tag::html:
        case Tag::tbody:
        case Tag::td:
        case Tag::tfoot:
        case Tag::th:
        case Tag::thead:
        case Tag::tr:
            return parseError("unexpected-end-tag");
        default:
            break;
        }
    }
    inBodyMode(token);
}

void HTMLTreeBuilder::inColumnGroupMode(HTMLToken& token) {
    switch (token.type) {
    case Type::Character: {
        std::string_view& text = textOf(token);
        size_t n = leadingWhitespace(text);
        if (n) insertCharacters(text.substr(0, n));
        text.remove_prefix(n);
        if (text.empty()) return;
        break;
    }
    case Type::Comment:
        return insertComment(token);
    case Type::DOCTYPE:
        return parseError("unexpected-doctype");
    case Type::StartTag:
        switch (tagOf(token).tag) {
        case Tag::html:
            return inBodyMode(token);
        case Tag::col:
            insertElement(tagOf(token));
            pop();
            return;
        case Tag::template_:
            return inHeadMode(token);
        default:
            break;
        }
        break;
    case Type::EndTag:
        switch (tagOf(token).tag) {
        case Tag::colgroup:
            if (!stack_.current().is(Tag::colgroup)) return parseError("unexpected-end-tag");
            pop();
            mode_ = InsertionMode::InTable;
            return;
        case Tag::col:
            return parseError("unexpected-end-tag");
        case Tag::template_:
            return inHeadMode(token);
        default:
            break;
        }
        break;
    case Type::EndOfFile:
        return inBodyMode(token);
    default:
        return;
    }
    if (!stack_.current().is(Tag::colgroup)) return parseError("unexpected-token-in-column-group");
    pop();
    mode_ = InsertionMode::InTable;
    processInMode(mode_, token);
}

void HTMLTreeBuilder::inTableBodyMode(HTMLToken& token) {
    auto closeTableBody = [&] {
        if (!stack_.hasInScope(Tag::tbody, TableScopeBoundary) && !stack_.hasInScope(Tag::thead, TableScopeBoundary) &&
            !stack_.hasInScope(Tag::tfoot, TableScopeBoundary))
            return parseError("unexpected-token-in-table-body");
        clearStackBackTo(TableBodyContext);
        pop();
        mode_ = InsertionMode::InTable;
        processInMode(mode_, token);
    };
    if (token.type == Type::StartTag) {
        HTMLTagToken& tag = tagOf(token);
        switch (tag.tag) {
        case Tag::tr:
            clearStackBackTo(TableBodyContext);
            insertElement(tag);
            mode_ = InsertionMode::InRow;
            return;
        case Tag::th:
        case Tag::td:
            parseError("cell-outside-row");
            clearStackBackTo(TableBodyContext);
            insertElement(Tag::tr);
            mode_ = InsertionMode::InRow;
            return processInMode(mode_, token);
        case Tag::caption:
        case Tag::col:
        case Tag::colgroup:
        case Tag::tbody:
        case Tag::tfoot:
        case Tag::thead:
            return closeTableBody();
        default:
            break;
        }
    } else if (token.type == Type::EndTag) {
        Tag tag = tagOf(token).tag;
        switch (tag) {
        case Tag::tbody:
        case Tag::tfoot:
        case Tag::thead:
            if (!stack_.hasInScope(tag, TableScopeBoundary)) return parseError("unexpected-end-tag");
            clearStackBackTo(TableBodyContext);
            pop();
            mode_ = InsertionMode::InTable;
            return;
        case Tag::table:
            return closeTableBody();
        case Tag::body:
        case Tag::caption:
        case Tag::col:
        case Tag::colgroup:
        case Tag::html:
        case Tag::td:
        case Tag::th:
        case Tag::tr:
            return parseError("unexpected-end-tag");
        default:
            break;
        }
    }
    inTableMode(token);
}

void HTMLTreeBuilder::inRowMode(HTMLToken& token) {
    auto closeRow = [&] {
        clearStackBackTo(TableRowContext);
        pop();
        mode_ = InsertionMode::InTableBody;
    };
    if (token.type == Type::StartTag) {
        HTMLTagToken& tag = tagOf(token);
        switch (tag.tag) {
        case Tag::th:
        case Tag::td:
            clearStackBackTo(TableRowContext);
            insertElement(tag);
            mode_ = InsertionMode::InCell;
            formatting_.pushMarker();
            return;
        case Tag::caption:
        case Tag::col:
        case Tag::colgroup:
        case Tag::tbody:
        case Tag::tfoot:
        case Tag::thead:
        case Tag::tr:
            if (!stack_.hasInScope(Tag::tr, TableScopeBoundary)) return parseError("unexpected-start-tag");
            closeRow();
            return processInMode(mode_, token);
        default:
            break;
        }
    } else if (token.type == Type::EndTag) {
        Tag tag = tagOf(token).tag;
        switch (tag) {
        case Tag::tr:
            if (!stack_.hasInScope(Tag::tr, TableScopeBoundary)) return parseError("unexpected-end-tag");
            return closeRow();
        case Tag::table:
            if (!stack_.hasInScope(Tag::tr, TableScopeBoundary)) return parseError("unexpected-end-tag");
            closeRow();
            return processInMode(mode_, token);
        case Tag::tbody:
        case Tag::tfoot:
        case Tag::thead:
            if (!stack_.hasInScope(tag, TableScopeBoundary)) return parseError("unexpected-end-tag");
            if (!stack_.hasInScope(Tag::tr, TableScopeBoundary)) return;
            closeRow();
            return processInMode(mode_, token);
        case Tag::body:
        case Tag::caption:
        case Tag::col:
        case Tag::colgroup:
        case Tag::html:
        case Tag::td:
        case Tag::th:
            return parseError("unexpected-end-tag");
        default:
            break;
        }
    }
    inTableMode(token);
}

void HTMLTreeBuilder::inCellMode(HTMLToken& token) {
    if (token.type == Type::StartTag) {
        switch (tagOf(token).tag) {
        case Tag::caption:
        case Tag::col:
        case Tag::colgroup:
        case Tag::tbody:
        case Tag::td:
        case Tag::tfoot:
        case Tag::th:
        case Tag::thead:
        case Tag::tr:
            if (!stack_.hasInScope(Tag::td, TableScopeBoundary) && !stack_.hasInScope(Tag::th, TableScopeBoundary))
                return parseError("unexpected-start-tag");
            closeCell();
            return processInMode(mode_, token);
        default:
            break;
        }
    } else if (token.type == Type::EndTag) {
        Tag tag = tagOf(token).tag;
        switch (tag) {
        case Tag::td:
        case Tag::th:
            if (!stack_.hasInScope(tag, TableScopeBoundary)) return parseError("unexpected-end-tag");
            generateImpliedEndTags();
            if (!stack_.current().is(tag)) parseError("end-tag-with-unclosed-elements");
            popUntil(tag);
            formatting_.clearToLastMarker();
            mode_ = InsertionMode::InRow;
            return;
        case Tag::body:
        case Tag::caption:
        case Tag::col:
        case Tag::colgroup:
        case Tag::html:
            return parseError("unexpected-end-tag");
        case Tag::table:
        case Tag::tbody:
        case Tag::tfoot:
        case Tag::thead:
        case Tag::tr:
            if (!stack_.hasInScope(tag, TableScopeBoundary)) return parseError("unexpected-end-tag");
            closeCell();
            return processInMode(mode_, token);
        default:
            break;
        }
    }
    inBodyMode(token);
}

void HTMLTreeBuilder::closeCell() {
    generateImpliedEndTags();
    if (!stack_.current().is(Tag::td) && !stack_.current().is(Tag::th)) parseError("end-tag-with-unclosed-elements");
    while (!stack_.empty()) {
        bool cell = stack_.current().is(Tag::td) || stack_.current().is(Tag::th);
        pop();
        if (cell) break;
    }
    formatting_.clearToLastMarker();
    mode_ = InsertionMode::InRow;
}

void HTMLTreeBuilder::closeCaption() {
    generateImpliedEndTags();
    if (!stack_.current().is(Tag::caption)) parseError("end-tag-with-unclosed-elements");
    popUntil(Tag::caption);
    formatting_.clearToLastMarker();
    mode_ = InsertionMode::InTable;
}

void HTMLTreeBuilder::clearStackBackTo(uint32_t context) {
    while (!(stack_.current().isHTML() && stack_.current().has(context))) pop();
}

}  // namespace zv::html
