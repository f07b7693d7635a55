#include "MessageDocument.h"

#include <zv/css/HeadCSSInlining.h>
#include <zv/html/HTMLDocument.h>
#include <zv/html/HTMLElement.h>
#include <zv/html/HTMLEntities.h>
#include <zv/html/HTMLParser.h>
#include <zv/reading/DarkAdaptation.h>
#include <zv/reading/SafeMessageView.h>
#include <zv/text/PlainText.h>

#include <glib.h>

#include <sstream>

namespace zvwk::viewer {

namespace {

using zv::html::HTMLElement;

// The view is as tall as its content, so the page itself never scrolls.
const char* kHTMLBodyStyle =
    "html{background:#fff;color:#000;overflow-y:hidden}"
    "body{margin:16px;font-family:sans-serif;font-size:14px;line-height:1.45;overflow-wrap:break-word}"
    "img{max-width:100%;height:auto}"
    "blockquote[type=cite]{margin:0 0 0 4px;padding-left:12px;border-left:3px solid #99c1f1;color:#555}";

// In the dark style: the adaptation writes the colours over these, and a
// message with dark styles of its own sets them itself.
const char* kDarkHTMLBodyStyle =
    "html{color-scheme:dark;overflow-y:hidden}"
    "body{margin:16px;font-family:sans-serif;font-size:14px;line-height:1.45;overflow-wrap:break-word}"
    "img{max-width:100%;height:auto}"
    "blockquote[type=cite]{margin:0 0 0 4px;padding-left:12px;border-left:3px solid #1c71d8}";

std::string textBodyStyle(bool dark) {
    std::string colours = dark ? "html{color-scheme:dark;background:transparent;color:#deddda}.q{color:#99c1f1}"
                               : "html{background:transparent;color:#241f31}.q{color:#1c71d8}";
    return colours +
           "html{overflow-y:hidden}body{margin:16px;font-family:sans-serif;font-size:14px;line-height:1.45}"
           ".text{white-space:pre-wrap;overflow-wrap:anywhere;margin:0}";
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

// The attached pictures, each on a line of its own at the page's width at most.
std::string attachedPicturesMarkup(const MessageContent& content) {
    std::string markup;
    for (std::size_t i = 0; i < content.attachments.size(); ++i) {
        const Attachment& attachment = content.attachments[i];
        if (!showsAttachmentInline(attachment)) continue;
        markup += "<img src=\"" + attachedPictureURL(i) + "\" alt=\"" + escaped(attachment.filename) +
                  "\" style=\"display:block;max-width:100%;height:auto;margin:16px 0 0\">";
    }
    return markup.empty() ? "" : "<div class=\"zvwk-attached-pictures\">" + markup + "</div>";
}

std::string textDocument(const std::string& text, const std::string& pictures, const BodyOptions& options) {
    std::ostringstream out;
    out << "<!DOCTYPE html><html><head><meta http-equiv=\"Content-Security-Policy\" content=\""
        << zv::safeViewContentSecurityPolicy(false) << "\"><meta charset=\"utf-8\"><style>" << textBodyStyle(options.dark)
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
    out << "</div>" << pictures << "</body></html>";
    return out.str();
}

// The root's plain text; `fallback` for a document without one.
std::string plainTextOf(const zv::html::HTMLDocument& document, const std::optional<std::string>& fallback) {
    if (const HTMLElement* root = document.documentElement()) return zv::plainText(*root);
    return fallback.value_or("");
}

}  // namespace

MessageBody::MessageBody(const MessageContent& content) {
    attachedPictures_ = attachedPicturesMarkup(content);
    if (!content.html) {
        plainText_ = content.plain.value_or("");
        return;
    }
    inlined_ = zv::html::HTMLParser(*content.html).parseDocument();
    // The text is the message's as written, before its CSS moves inline.
    plainText_ = plainTextOf(*inlined_, content.plain);
    if (zv::declaresOwnDarkAppearance(*inlined_)) ownDark_ = inlined_->cloneNodeDeep(true);
    zv::applyHeadCSSToContentAndPurge(*inlined_, true, {}, {});
}

PreparedBody MessageBody::prepare(const BodyOptions& options) const {
    if (options.asPlainText || !inlined_) return {textDocument(plainText_, attachedPictures_, options), 0};
    bool dark = options.dark && !options.originalColours;
    zv::html::Ref<zv::html::HTMLDocument> document = (dark && ownDark_ ? ownDark_ : inlined_)->cloneNodeDeep(true);
    HTMLElement* root = document->documentElement();
    if (!root) return {textDocument("", attachedPictures_, options), 0};
    // Adapted before the page style goes in, so the adaptation reads only the sender's colours.
    if (dark) zv::adaptDocumentForDarkAppearance(*document);
    prependHead(*document, std::string("<style>") + (dark ? kDarkHTMLBodyStyle : kHTMLBodyStyle) + "</style>");
    PreparedBody body;
    zv::SafeViewOptions safeView;
    safeView.allowRemoteContent = options.allowRemoteContent;
    safeView.blockTrackers = options.allowRemoteContent && options.blockTrackers;
    zv::SafeViewReport report = zv::prepareDocumentForSafeView(*document, safeView);
    body.remoteReferences = report.remoteReferences();
    body.trackers = report.trackers.size();
    // After the preparation, which would count them among the message's own references.
    if (HTMLElement* pageBody = document->body(); pageBody && !attachedPictures_.empty()) {
        auto pictures = HTMLElement::create("div");
        pictures->setInnerHTML(attachedPictures_);
        for (zv::html::HTMLNode* node : pictures->childNodes()) pageBody->appendNode(zv::html::Ref<zv::html::HTMLNode>(node));
    }
    body.html = "<!DOCTYPE html>" + root->outerHTML();
    return body;
}

PreparedBody prepareMessageBody(const MessageContent& content, const BodyOptions& options) {
    return MessageBody(content).prepare(options);
}

bool showsAttachmentInline(const Attachment& attachment) {
    for (const char* type : {"image/png", "image/jpeg", "image/gif", "image/webp", "image/bmp"})
        if (g_ascii_strcasecmp(attachment.mimeType.c_str(), type) == 0) return true;
    return false;
}

std::string attachedPictureURL(std::size_t attachmentIndex) {
    return "cid:zvwk-attachment-" + std::to_string(attachmentIndex) + "@viewer";
}

std::string messagePlainText(const MessageContent& content) {
    if (!content.html) return content.plain.value_or("");
    return plainTextOf(*zv::html::HTMLParser(*content.html).parseDocument(), content.plain);
}

}  // namespace zvwk::viewer
