// The preview line and the plain text of a message's HTML.
//
//   mail-text MESSAGE.html
//
// The bytes are decoded as a browser would (byte order mark, then a <meta>
// charset, else UTF-8). The preview comes straight from the markup, without
// building a tree, so it stays cheap on large mail; the plain text needs the
// parsed document.
#include <zv/html/HTMLEncoding.h>
#include <zv/html/HTMLParser.h>
#include <zv/text/PlainText.h>
#include <zv/text/TextSnippet.h>

#include <fstream>
#include <iostream>
#include <iterator>
#include <string>

int main(int argc, char** argv) {
    if (argc != 2) {
        std::cerr << "usage: mail-text MESSAGE.html\n";
        return 2;
    }
    std::ifstream file(argv[1], std::ios::binary);
    if (!file) {
        std::cerr << "mail-text: cannot read " << argv[1] << "\n";
        return 1;
    }
    std::string bytes{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};

    zv::html::SniffedEncoding sniffed = zv::html::sniffEncoding(bytes, {}, "utf-8");
    std::string html = zv::html::decodeToUTF8(std::string_view(bytes).substr(sniffed.bomLength), sniffed.encoding);

    // 120 UTF-16 units, ending on a whole word, without the head's title.
    auto preview = zv::textSnippetForHTML(html, 120, zv::ZVTextSnippetKeepWholeWords | zv::ZVTextSnippetSkipHead);
    std::cout << "Preview: " << preview.value_or("") << "\n\n";

    zv::html::HTMLParser parser(html);
    auto document = parser.parseDocument();
    if (const zv::html::HTMLElement* root = document->documentElement()) std::cout << zv::plainText(*root) << "\n";
    return 0;
}
