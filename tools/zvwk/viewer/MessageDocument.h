// The document a message view loads, made safe and ready to show.
//
// An HTML body is parsed with zvhtml, its head CSS inlined and purged
// (applyHeadCSSToContentAndPurge), adapted for the dark style when the
// desktop has it (zv::adaptDocumentForDarkAppearance; a message with dark
// styles of its own keeps its style sheets instead), given the viewer's page
// style and made safe by zv::prepareDocumentForSafeView, which counts its
// remote references.
// A plain-text body, or either body shown as text, becomes a document of
// its own with quoted lines set off.
#pragma once

#include "MailMessage.h"

#include <cstddef>
#include <string>

namespace zvwk::viewer {

struct BodyOptions {
    bool allowRemoteContent = false;
    bool asPlainText = false;
    bool dark = false;  // the desktop's dark style: text bodies follow it, HTML bodies are adapted
    bool originalColours = false;  // in the dark style, an HTML body keeps its sender's colours
};

struct PreparedBody {
    std::string html;
    std::size_t remoteReferences = 0;  // blocked ones when remote content is not allowed
};

PreparedBody prepareMessageBody(const MessageContent& content, const BodyOptions& options);

// The message as text: zv::plainText of the HTML body, else the plain body.
std::string messagePlainText(const MessageContent& content);

}  // namespace zvwk::viewer
