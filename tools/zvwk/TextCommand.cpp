// zvwk text: the plain text a message's HTML gives, as a mail's text/plain part.
// Folders are walked (hidden entries left out), their files taken in sorted order.
#include "Commands.h"
#include "InputLoop.h"

#include <zv/html/HTMLParser.h>
#include <zv/text/PlainText.h>

namespace zvwk {

namespace {

std::string plainTextOf(std::string_view html, bool fragment) {
    zv::html::HTMLParser parser(html);
    if (fragment) {
        auto body = zv::html::HTMLElement::create("body");
        return zv::plainText(*parser.parseFragment(*body));
    }
    auto document = parser.parseDocument();
    const zv::html::HTMLElement* root = document->documentElement();
    return root ? zv::plainText(*root) : std::string();
}

}  // namespace

int runText(const Args& args) {
    bool fragment = false;
    InputArguments arguments;
    if (auto status = parseInputArguments("text", args, {{"--fragment", &fragment}}, arguments)) return *status;
    return printForEachInput(arguments, "text", [&](const std::string& html) { return plainTextOf(html, fragment); });
}

}  // namespace zvwk
