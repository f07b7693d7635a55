// zvwk serialize: parse a document and print its serialization.
#include "Commands.h"
#include "InputLoop.h"

#include <zv/html/HTMLParser.h>
#include <zv/html/HTMLSerializer.h>

#include <iostream>

namespace zvwk {

int runSerialize(const Args& args) {
    if (args.empty()) return usageError("serialize: no input (FILEs, a DIR or -)");
    for (const auto& arg : args)
        if (arg.size() > 1 && arg[0] == '-') return usageError("serialize: unknown option " + arg);
    return forEachInput(args, InputContent::Bytes, [](const std::string&, const std::string& bytes) {
        // Text is UTF-8 unless a byte order mark or a <meta> says otherwise.
        auto parser = zv::html::HTMLParser::parserForBytes(bytes, {}, "UTF-8");
        std::cout << zv::html::serializeNode(*parser->parseDocument()) << "\n";
    });
}

}  // namespace zvwk
