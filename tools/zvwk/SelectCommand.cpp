// zvwk select: the elements a CSS selector matches, in document order.
#include "Commands.h"
#include "InputLoop.h"

#include <zv/html/CSSSelector.h>
#include <zv/html/HTMLParser.h>

#include <nlohmann/json.hpp>

#include <iostream>

namespace zvwk {

namespace {

nlohmann::ordered_json matchJSON(const zv::html::HTMLElement& element) {
    const std::string* id = element.attribute("id");
    return {{"tag", std::string(element.localName())},
            {"id", id ? nlohmann::ordered_json(*id) : nlohmann::ordered_json()},
            {"outerHTML", element.outerHTML()}};
}

}  // namespace

int runSelect(const Args& args) {
    bool json = false;
    std::vector<std::string> operands;
    for (const std::string& arg : args) {
        if (arg == "--json")
            json = true;
        else if (arg.size() > 1 && arg.starts_with("-") && operands.empty())
            return usageError("select: unknown option '" + arg + "'");
        else
            operands.push_back(arg);
    }
    if (operands.empty()) return usageError("select: no selector");
    if (operands.size() == 1) return usageError("select: no input (give a FILE or -)");

    const std::string& text = operands[0];
    zv::html::CSSSelector selector = zv::html::CSSSelector::parse(text);
    if (!selector.isValid())
        std::cerr << "zvwk: select: selector matches nothing: \"" << text << "\" does not parse\n";

    nlohmann::ordered_json matches = nlohmann::ordered_json::array();
    auto select = [&](const std::string&, const std::string& bytes) {
        // UTF-8 unless a byte order mark or a <meta> charset says otherwise.
        auto parser = zv::html::HTMLParser::parserForBytes(bytes, {}, "UTF-8");
        auto document = parser->parseDocument();
        for (zv::html::HTMLElement* element : document->elementsMatchingSelector(selector)) {
            if (json)
                matches.push_back(matchJSON(*element));
            else
                std::cout << element->outerHTML() << "\n";
        }
    };
    int status = forEachInput({operands.begin() + 1, operands.end()}, InputContent::Bytes, select);
    if (json) std::cout << matches.dump(-1, ' ', false, nlohmann::ordered_json::error_handler_t::replace) << "\n";
    return status;
}

}  // namespace zvwk
