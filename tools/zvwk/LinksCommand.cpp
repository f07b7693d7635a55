// zvwk links: each link of each input with the reading library's judgement
// of it (zv/reading/LinkJudgement.h): null when honest, else why not.
#include "Commands.h"
#include "InputLoop.h"

#include <zv/html/HTMLParser.h>
#include <zv/reading/LinkJudgement.h>

#include <nlohmann/json.hpp>

#include <iostream>

namespace zvwk {

int runLinks(const Args& args) {
    InputArguments arguments;
    if (auto status = parseInputArguments("links", args, {}, arguments)) return *status;
    return forEachInput(arguments.operands, InputContent::MailHTML, [&](const std::string& file, const std::string& html) {
        auto document = zv::html::HTMLParser(html).parseDocument();
        nlohmann::ordered_json links = nlohmann::ordered_json::array();
        for (const zv::JudgedLink& link : zv::judgeLinks(*document)) {
            links.push_back({{"text", link.text},
                             {"href", link.href},
                             {"warning", link.warning ? nlohmann::ordered_json(*link.warning) : nlohmann::ordered_json()}});
            if (!arguments.json)
                std::cout << (link.warning ? "! " + *link.warning + ": " : "ok: ") << link.text << " <" << link.href << ">\n";
        }
        if (arguments.json) {
            nlohmann::ordered_json line = {{"file", file}, {"links", std::move(links)}};
            std::cout << line.dump(-1, ' ', false, nlohmann::ordered_json::error_handler_t::replace) << "\n";
        }
    });
}

}  // namespace zvwk
