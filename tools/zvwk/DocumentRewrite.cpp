#include "DocumentRewrite.h"

#include "Commands.h"
#include "MailInput.h"

#include <zv/html/HTMLParser.h>
#include <zv/html/HTMLSerializer.h>

#include <iostream>

namespace zvwk {

int rewriteDocuments(const std::vector<std::string>& operands, bool json,
                     const std::function<void(zv::html::HTMLDocument&)>& rewrite) {
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
        zv::html::HTMLParser parser(*html);
        zv::html::Ref<zv::html::HTMLDocument> document = parser.parseDocument();
        rewrite(*document);
        std::string out = zv::html::serializeNode(*document);
        printResult(file, "html", std::move(out), json);
    }
    std::cout.flush();
    return status;
}

}  // namespace zvwk
