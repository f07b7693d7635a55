#include "DocumentRewrite.h"

#include <zv/html/HTMLParser.h>
#include <zv/html/HTMLSerializer.h>

namespace zvwk {

std::function<std::string(const std::string& html)> rewritten(std::function<void(zv::html::HTMLDocument&)> rewrite) {
    return [rewrite = std::move(rewrite)](const std::string& html) {
        zv::html::HTMLParser parser(html);
        zv::html::Ref<zv::html::HTMLDocument> document = parser.parseDocument();
        rewrite(*document);
        return zv::html::serializeNode(*document);
    };
}

}  // namespace zvwk
