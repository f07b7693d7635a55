#include "MessageDocument.h"

#include <zv/css/HeadCSSInlining.h>
#include <zv/html/HTMLDocument.h>
#include <zv/html/HTMLElement.h>
#include <zv/html/HTMLEntities.h>
#include <zv/html/HTMLParser.h>
#include <zv/text/PlainText.h>

#include <sstream>

namespace zvwk::viewer {

namespace {

using zv::html::HTMLElement;

std::string contentSecurityPolicy(bool allowRemote) {
    std::string remote = allowRemote ? " wren-http: wren-https:" : "";
    return "default-src 'none'; img-src cid: data: wren-symbol:" + remote +
           "; style-src 'unsafe-inline'; font-src cid: data:; media-src cid: data:" + remote;
}

// The view is as tall as its content, so the page itself never scrolls.
const char* kHTMLBodyStyle =
    "html{background:#fff;color:#000;overflow-y:hidden}"
    "body{margin:16px;font-family:sans-serif;font-size:14px;line-height:1.45;overflow-wrap:break-word}"
    "img{max-width:100%;height:auto}"
    "blockquote[type=cite]{margin:0 0 0 4px;padding-left:12px;border-left:3px solid #99c1f1;color:#555}";

// A message that picks no colours of its own reads in the desktop's dark
// style; one that does keeps the white page it was designed on.
const char* kDarkHTMLBodyStyle =
    "html{color-scheme:dark;background:transparent;color:#deddda;overflow-y:hidden}"
    "body{margin:16px;font-family:sans-serif;font-size:14px;line-height:1.45;overflow-wrap:break-word}"
    "img{max-width:100%;height:auto}a{color:#99c1f1}"
    "blockquote[type=cite]{margin:0 0 0 4px;padding-left:12px;border-left:3px solid #1c71d8;color:#b0afac}";

bool choosesColours(const HTMLElement& root) {
    return root.querySelector("[bgcolor], [text], font[color], [style*=color], [style*=background]") != nullptr;
}

std::string textBodyStyle(bool dark) {
    std::string colours = dark ? "html{color-scheme:dark;background:transparent;color:#deddda}.q{color:#99c1f1}"
                               : "html{background:transparent;color:#241f31}.q{color:#1c71d8}";
    return colours +
           "html{overflow-y:hidden}body{margin:16px;font-family:sans-serif;font-size:14px;line-height:1.45}"
           ".text{white-space:pre-wrap;overflow-wrap:anywhere;margin:0}";
}

bool isRemote(std::string_view url) {
    size_t start = url.find_first_not_of(" \t\r\n");
    if (start == std::string_view::npos) return false;
    url.remove_prefix(start);
    auto prefixed = [&](std::string_view scheme) {
        return url.size() >= scheme.size() &&
               std::equal(scheme.begin(), scheme.end(), url.begin(),
                          [](char a, char b) { return a == std::tolower(static_cast<unsigned char>(b)); });
    };
    return prefixed("http://") || prefixed("https://") || prefixed("//");
}

// Counts (and, when `rewrite`, rewrites) remote URLs inside `text`, found
// after `marker`s ("url(" in styles, "" for a srcset's list).
size_t rewriteRemoteURLs(std::string& text, bool rewrite, bool inStyle) {
    size_t count = 0;
    std::string out;
    size_t i = 0;
    while (i < text.size()) {
        size_t at = std::string::npos;
        if (inStyle) {
            size_t open = text.find("url(", i);
            if (open != std::string::npos) {
                at = open + 4;
                while (at < text.size() && (text[at] == ' ' || text[at] == '"' || text[at] == '\'')) ++at;
            }
        } else {
            // A srcset: URLs start the list and follow each comma.
            at = i == 0 ? text.find_first_not_of(" \t\r\n") : text.find(',', i);
            if (at != std::string::npos && i != 0) at = text.find_first_not_of(" \t\r\n", at + 1);
        }
        if (at == std::string::npos || at >= text.size()) break;
        out.append(text, i, at - i);
        if (isRemote(std::string_view(text).substr(at))) {
            ++count;
            if (rewrite) out += text.compare(at, 2, "//") == 0 ? "wren-https:" : "wren-";
        }
        i = at;
        size_t step = text.find_first_of(inStyle ? ")" : ",", at);
        size_t end = step == std::string::npos ? text.size() : step;
        out.append(text, i, end - i);
        i = end;
    }
    out.append(text, std::min(i, text.size()), std::string::npos);
    if (rewrite) text = std::move(out);
    return count;
}

size_t rewriteRemoteReferences(HTMLElement& root, bool rewrite) {
    size_t count = 0;
    for (HTMLElement* element : root.querySelectorAll("*")) {
        for (const char* name : {"src", "background", "poster", "data"}) {
            const std::string* value = element->attribute(name);
            if (!value || !isRemote(*value)) continue;
            ++count;
            if (!rewrite) continue;
            std::string url = *value;
            url.erase(0, url.find_first_not_of(" \t\r\n"));
            element->setAttribute(name, (url.starts_with("//") ? "wren-https:" : "wren-") + url);
        }
        for (const char* name : {"srcset", "style"}) {
            const std::string* value = element->attribute(name);
            if (!value) continue;
            std::string text = *value;
            count += rewriteRemoteURLs(text, rewrite, std::string_view(name) == "style");
            if (rewrite) element->setAttribute(name, text);
        }
    }
    return count;
}

void removeAll(HTMLElement& root, const char* selector) {
    for (HTMLElement* element : root.querySelectorAll(selector))
        if (auto* parent = element->parentNode()) parent->removeChildNode(element);
}

void prependHead(zv::html::HTMLDocument& document, const std::string& markup) {
    HTMLElement* head = document.head();
    if (!head) return;
    auto holder = HTMLElement::create("head");
    holder->setInnerHTML(markup);
    HTMLElement* first = head->firstElementChild();
    for (zv::html::HTMLNode* node : holder->childNodes()) head->insertNode(zv::html::Ref<zv::html::HTMLNode>(node), first);
}

std::string escaped(std::string_view text) { return zv::html::stringByEncodingHTMLEntities(text); }

std::string textDocument(const std::string& text, const BodyOptions& options) {
    std::ostringstream out;
    out << "<!DOCTYPE html><html><head><meta http-equiv=\"Content-Security-Policy\" content=\""
        << contentSecurityPolicy(false) << "\"><meta charset=\"utf-8\"><style>" << textBodyStyle(options.dark)
        << "</style></head><body><div class=\"text\">";
    std::istringstream lines(text);
    std::string line;
    bool first = true;
    while (std::getline(lines, line)) {
        if (line.ends_with('\r')) line.pop_back();
        if (!first) out << "\n";
        first = false;
        if (line.starts_with(">"))
            out << "<span class=\"q\">" << escaped(line) << "</span>";
        else
            out << escaped(line);
    }
    out << "</div></body></html>";
    return out.str();
}

}  // namespace

std::string messagePlainText(const MessageContent& content) {
    if (content.html) {
        auto document = zv::html::HTMLParser(*content.html).parseDocument();
        if (HTMLElement* root = document->documentElement()) return zv::plainText(*root);
    }
    return content.plain.value_or("");
}

PreparedBody prepareMessageBody(const MessageContent& content, const BodyOptions& options) {
    if (options.asPlainText || !content.html) return {textDocument(messagePlainText(content), options), 0};

    auto document = zv::html::HTMLParser(*content.html).parseDocument();
    zv::applyHeadCSSToContentAndPurge(*document, true, {}, {});
    HTMLElement* root = document->documentElement();
    if (!root) return {textDocument("", options), 0};
    removeAll(*root, "link, base, meta[http-equiv]");
    PreparedBody body;
    body.remoteReferences = rewriteRemoteReferences(*root, options.allowRemoteContent);
    const char* style = options.dark && !choosesColours(*root) ? kDarkHTMLBodyStyle : kHTMLBodyStyle;
    prependHead(*document, "<meta http-equiv=\"Content-Security-Policy\" content=\"" +
                               contentSecurityPolicy(options.allowRemoteContent) + "\"><style>" + style +
                               "</style>");
    body.html = "<!DOCTYPE html>" + root->outerHTML();
    return body;
}

}  // namespace zvwk::viewer
