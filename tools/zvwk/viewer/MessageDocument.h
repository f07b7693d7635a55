// The document a message view loads, made safe and ready to show.
//
// An HTML body is parsed once with zvhtml (MessageBody, on any thread): its
// plain text is taken from that parse, then its head CSS inlined and purged
// (applyHeadCSSToContentAndPurge), adapted for the dark style when the
// desktop has it (zv::adaptDocumentForDarkAppearance; a message with dark
// styles of its own keeps its style sheets instead), given the viewer's page
// style and made safe by zv::prepareDocumentForSafeView, which counts its
// remote references and, when images are shown without trackers, the
// trackers it kept out.
// A plain-text body, or either body shown as text, becomes a document of
// its own with quoted lines set off. Either form ends with the message's
// attached pictures, shown from the message's own parts.
#pragma once

#include "MailMessage.h"

#include <zv/html/HTMLDocument.h>

#include <cstddef>
#include <string>

namespace zvwk::viewer {

struct BodyOptions {
    bool allowRemoteContent = false;
    bool asPlainText = false;
    bool dark = false;  // the desktop's dark style: text bodies follow it, HTML bodies are adapted
    bool blockTrackers = true;  // with remote content allowed: everything but trackers
    bool originalColours = false;  // in the dark style, an HTML body keeps its sender's colours
};

struct PreparedBody {
    std::string html;
    std::size_t remoteReferences = 0;  // blocked ones when remote content is not allowed
    std::size_t trackers = 0;          // kept out while remote content is allowed without them
};

// A message's body read for showing. The parse happens once, in the
// constructor (any thread, typically the card's operation queue); every form
// prepare() makes afterwards works on a copy of the parsed document, so the
// toggles (remote content, plain text) never parse again.
class MessageBody {
public:
    MessageBody() = default;
    explicit MessageBody(const MessageContent& content);

    PreparedBody prepare(const BodyOptions& options) const;
    // zv::plainText of the HTML body, else the plain body.
    const std::string& plainText() const { return plainText_; }

private:
    zv::html::Ref<zv::html::HTMLDocument> inlined_;  // head CSS inlined and purged; null without an HTML body
    // The document as parsed, kept only when it has dark styles of its own:
    // the dark style shows it so, its style sheets in place.
    zv::html::Ref<zv::html::HTMLDocument> ownDark_;
    std::string plainText_;
    std::string attachedPictures_;  // markup that ends the body
};

PreparedBody prepareMessageBody(const MessageContent& content, const BodyOptions& options);

// Whether an attachment is a picture shown below the body, and the URL the
// body view's scheme handler serves it at.
bool showsAttachmentInline(const Attachment& attachment);
std::string attachedPictureURL(std::size_t attachmentIndex);

// The message as text: zv::plainText of the HTML body, else the plain body.
std::string messagePlainText(const MessageContent& content);

}  // namespace zvwk::viewer
