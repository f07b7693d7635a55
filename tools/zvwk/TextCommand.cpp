// zvwk text: the plain text a message's HTML gives, as a mail's text/plain part.
// Folders are walked (hidden entries left out), their files taken in sorted order.
#include "Commands.h"
#include "MailInput.h"

#include <zv/html/HTMLParser.h>
#include <zv/text/PlainText.h>

#include <iostream>

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
    bool json = false;
    std::vector<std::string> operands;
    for (const std::string& arg : args) {
        if (arg == "--fragment")
            fragment = true;
        else if (arg == "--json")
            json = true;
        else if (arg.size() > 1 && arg.starts_with("-"))
            return usageError("text: unknown option '" + arg + "'");
        else
            operands.push_back(arg);
    }
    if (operands.empty()) return usageError("text: no input (give FILEs, a DIR or -)");

    bool failed = false;
    std::vector<std::string> files = expandInputs(operands, failed);
    int status = failed ? 1 : 0;
    for (const std::string& file : files) {
        std::string error;
        std::optional<std::string> html = readMailHTML(file, error);
        if (!html) {
            std::cerr << error << "\n";
            status = 1;
            continue;
        }
        std::string text = plainTextOf(*html, fragment);
        printResult(file, "text", std::move(text), json);
    }
    std::cout.flush();
    return status;
}

}  // namespace zvwk
