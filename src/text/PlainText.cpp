#include <zv/text/PlainText.h>

#include "PlainTextPasses.h"
#include "PlainTextWalk.h"

#include <zv/foundation/Strings.h>
#include <zv/html/HTMLCharacterData.h>
#include <zv/text/SquireCleanup.h>

namespace zv {

using html::HTMLElement;
using html::HTMLNode;
using html::HTMLText;

std::string plainText(const HTMLElement& element) {
    if (std::optional<std::string> text = plainTextByWalking(element)) return std::move(*text);
    return plainTextByRewriting(element);
}

std::string plainText(const html::HTMLDocumentFragment& fragment) {
    std::string result;
    for (HTMLNode* node = fragment.firstChild(); node; node = node->nextSibling()) {
        if (const HTMLElement* element = node->as<HTMLElement>()) {
            result += plainText(*element);
        } else if (const HTMLText* text = node->as<HTMLText>()) {
            result += zvTrim(squireCleanup(text->data()));
        }
    }
    return result;
}

}  // namespace zv
