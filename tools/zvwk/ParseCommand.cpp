// zvwk parse: the parsed tree in the html5lib tree-construction format.
#include "Commands.h"
#include "InputLoop.h"

#include <zv/html/HTMLParser.h>
#include "HTMLTreeDump.h"

#include <iostream>

namespace zvwk {

namespace {

// "td", "svg path", "math mi": the form html5lib's #document-fragment uses.
zv::html::Ref<zv::html::HTMLElement> contextElement(const std::string& name) {
    using zv::html::Namespace;
    if (name.starts_with("svg ")) return zv::html::HTMLElement::create(name.substr(4), Namespace::SVG);
    if (name.starts_with("math ")) return zv::html::HTMLElement::create(name.substr(5), Namespace::MathML);
    return zv::html::HTMLElement::create(name);
}

}  // namespace

int runParse(const Args& args) {
    std::optional<std::string> fragmentContext;
    zv::html::HTMLParserOptions options;
    std::vector<std::string> files;
    for (size_t i = 0; i < args.size(); ++i) {
        const std::string& arg = args[i];
        if (arg == "--fragment") {
            if (++i == args.size()) return usageError("parse: --fragment needs a context element");
            fragmentContext = args[i];
            if (fragmentContext->empty()) return usageError("parse: empty --fragment context");
        } else if (arg == "--scripting") {
            options.scripting = true;
        } else if (arg.size() > 1 && arg.starts_with("-")) {
            return usageError("parse: unknown option '" + arg + "'");
        } else {
            files.push_back(arg);
        }
    }
    if (files.empty()) return usageError("parse: no input (give a FILE or -)");

    int status = 0;
    for (const std::string& file : files) {
        std::optional<std::string> bytes = readInput(file);
        if (!bytes) {
            status = 1;
            continue;
        }
        // UTF-8 unless a byte order mark or a <meta> charset says otherwise.
        auto parser = zv::html::HTMLParser::parserForBytes(*bytes, {}, "UTF-8", options);
        if (fragmentContext) {
            auto context = contextElement(*fragmentContext);
            zv::html::dumpTree(*parser->parseFragment(*context), std::cout);
        } else {
            zv::html::dumpTree(*parser->parseDocument(), std::cout);
        }
    }
    std::cout.flush();
    return status;
}

}  // namespace zvwk
