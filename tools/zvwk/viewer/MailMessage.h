// One mail message as the viewer reads it (GMime): the headers a message
// list shows and threads by, and, when the message is opened, its bodies,
// attachments and the parts its HTML refers to by content id.
//
// Reading never throws and never crashes on bad input: a message that cannot
// be read carries the reason in `error`, and the rest of the mailbox goes on.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace zvwk::viewer {

// Where a message lives: a file of its own, or a stretch of an mbox file.
struct MessageLocation {
    std::string path;
    std::int64_t offset = 0;   // where the message's headers start
    std::int64_t length = -1;  // -1: to the end of the file

    friend bool operator==(const MessageLocation&, const MessageLocation&) = default;
};

struct MessageSummary {
    MessageLocation location;
    std::string messageId;                // without angle brackets
    std::vector<std::string> references;  // References, then In-Reply-To
    std::string subject;
    std::string fromName;  // the display name, or the address when there is none
    std::string fromAddress;
    std::string to;
    std::string cc;
    std::int64_t date = 0;  // seconds since the epoch; 0 when unknown
    std::string error;      // not empty: the message cannot be shown, and why
};

struct Attachment {
    std::string filename;  // as the message names it: not safe as a path
    std::string mimeType;
    std::size_t size = 0;
    std::string data;  // decoded
};

// A part the HTML body can show by "cid:" URL.
struct InlinePart {
    std::string contentId;  // without angle brackets
    std::string mimeType;
    std::string charset;
    std::string data;
};

struct MessageContent {
    std::optional<std::string> html;   // the first HTML body, as UTF-8
    std::optional<std::string> plain;  // the first plain-text body, as UTF-8
    std::vector<Attachment> attachments;
    std::vector<InlinePart> inlineParts;
    std::string error;  // not empty: the message is damaged or unreadable, and why
};

// The message's bytes, or nothing with `error` set.
std::optional<std::string> readMessageBytes(const MessageLocation& location, std::string& error);

// Headers only: reads no further than the blank line that ends them.
MessageSummary readMessageSummary(const MessageLocation& location);
MessageSummary summaryFromBytes(std::string_view bytes);

MessageContent readMessageContent(const MessageLocation& location);
MessageContent contentFromBytes(std::string_view bytes);

// The preview line of a message list: a snippet of the HTML body, else the
// start of the plain text with its white space collapsed; "" when neither.
std::string previewOfContent(const MessageContent& content, long maxLength = 200);

}  // namespace zvwk::viewer
