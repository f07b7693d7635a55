// The adoption agency algorithm: how misnested formatting elements such as
// <b><p></b> are closed and reopened.

#include "HTMLTreeBuilder.h"

#include "HTMLTreeBuilderSupport.h"

namespace zv::html {

using namespace treebuilder;

// Returns false when there is no formatting element of the token's name, and
// the caller treats the token as "any other end tag".
bool HTMLTreeBuilder::runAdoptionAgency(const HTMLTagToken& token) {
    const Tag subject = token.tag;
    if (stack_.current().is(subject) && formatting_.indexOf(stack_.currentElement()) == npos) {
        pop();
        return true;
    }
    for (int outer = 0; outer < 8; ++outer) {
        size_t formattingIndex = formatting_.lastIndexAfterMarker(subject);
        if (formattingIndex == npos) return false;
        HTMLElement* formattingElement = formatting_[formattingIndex].element;
        if (!formatting_.isOpen(formatting_[formattingIndex], stack_)) {
            parseError("formatting-element-not-open");
            formatting_.erase(formattingIndex);
            return true;
        }
        const size_t formattingStackIndex = formatting_[formattingIndex].stackIndex;
        if (!stack_.hasInScope(formattingElement)) {
            parseError("formatting-element-not-in-scope");
            return true;
        }
        if (formattingElement != stack_.currentElement()) parseError("misnested-formatting-element");

        size_t furthestIndex = npos;
        for (size_t i = formattingStackIndex + 1; i < stack_.size(); ++i) {
            if (stack_[i].has(Special)) {
                furthestIndex = i;
                break;
            }
        }
        if (furthestIndex == npos) {
            popUntilPopped(formattingStackIndex);
            formatting_.erase(formattingIndex);
            return true;
        }

        const Entry commonAncestor = stack_[formattingStackIndex - 1];
        HTMLElement* furthestBlock = stack_[furthestIndex].element;
        size_t bookmark = formattingIndex;
        Ref<HTMLElement> lastNode = furthestBlock;
        size_t nodeIndex = furthestIndex;
        for (int inner = 1;; ++inner) {
            --nodeIndex;
            HTMLElement* node = stack_[nodeIndex].element;
            if (node == formattingElement) break;
            size_t nodeFormattingIndex = formatting_.indexOf(node);
            if (inner > 3 && nodeFormattingIndex != npos) {
                formatting_.erase(nodeFormattingIndex);
                if (nodeFormattingIndex < bookmark) --bookmark;
                nodeFormattingIndex = npos;
            }
            if (nodeFormattingIndex == npos) {
                removeFromStack(nodeIndex);
                continue;
            }
            Ref<HTMLElement> replacement = shallowCopy(*node);
            stack_.replace(nodeIndex, *replacement);
            formatting_.replace(nodeFormattingIndex, *replacement, nodeIndex);
            if (lastNode.get() == furthestBlock) bookmark = nodeFormattingIndex + 1;
            replacement->insertParsedNode(lastNode, nullptr);
            lastNode = std::move(replacement);
        }

        insertAt(appropriatePlace(commonAncestor), lastNode);

        Ref<HTMLElement> newElement = shallowCopy(*formattingElement);
        furthestBlock->reparentChildNodesIntoNode(newElement.get());
        furthestBlock->insertParsedNode(newElement, nullptr);

        removeFromStack(stack_.indexOf(formattingElement));
        insertIntoStack(stack_.indexOf(furthestBlock) + 1, *newElement);
        size_t oldIndex = formatting_.indexOf(formattingElement);
        formatting_.erase(oldIndex);
        if (oldIndex < bookmark) --bookmark;
        formatting_.insert(std::min(bookmark, formatting_.size()), *newElement, stack_.indexOf(newElement.get()));
    }
    return true;
}

}  // namespace zv::html
