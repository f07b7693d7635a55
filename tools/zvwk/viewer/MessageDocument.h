// The document a message view loads, made safe and ready to show.
//
// An HTML body is parsed with zvhtml, its head CSS inlined and purged
// (applyHeadCSSToContentAndPurge), given the viewer's page style and made
// safe by zv::prepareDocumentForSafeView, which counts its remote references
// and, when images are shown without trackers, the trackers it kept out.
// A plain-text body, or either body shown as text, becomes a document of
// its own with quoted lines set off.
#pragma once

#include "MailMessage.h"

#include <cstddef>
#include <string>

namespace zvwk::viewer {

struct BodyOptions {
    bool allowRemoteContent = false;
    bool blockTrackers = true;  // with remote content allowed: everything but trackers
    bool asPlainText = false;
    bool dark = false;  // a text body follows the desktop's dark style
};

struct PreparedBody {
    std::string html;
    std::size_t remoteReferences = 0;  // blocked ones when remote content is not allowed
    std::size_t trackers = 0;          // kept out while remote content is allowed without them
};

PreparedBody prepareMessageBody(const MessageContent& content, const BodyOptions& options);

// The message as text: zv::plainText of the HTML body, else the plain body.
std::string messagePlainText(const MessageContent& content);

}  // namespace zvwk::viewer
