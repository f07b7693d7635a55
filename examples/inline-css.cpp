// A message with its head style sheets copied onto its elements as "style"
// attributes, for mail clients that drop <style> when they forward or reply.
//
//   inline-css MESSAGE.html > INLINED.html
#include <zv/css/HeadCSSInlining.h>
#include <zv/html/HTMLParser.h>
#include <zv/html/HTMLSerializer.h>

#include <fstream>
#include <iostream>
#include <iterator>
#include <string>

int main(int argc, char** argv) {
    if (argc != 2) {
        std::cerr << "usage: inline-css MESSAGE.html\n";
        return 2;
    }
    std::ifstream file(argv[1], std::ios::binary);
    if (!file) {
        std::cerr << "inline-css: cannot read " << argv[1] << "\n";
        return 1;
    }
    auto parser = zv::html::HTMLParser::parserForBytes(
        std::string{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()});
    zv::html::Ref<zv::html::HTMLDocument> document = parser->parseDocument();

    // Every head sheet, no selector excluded, and the <style> elements
    // removed once their rules sit on the elements.
    zv::applyHeadCSSToContentAndPurge(*document, /*purgeCSS=*/true, /*exclusions=*/{}, /*attFilters=*/{});
    std::cout << zv::html::serializeNode(*document) << "\n";
    return 0;
}
