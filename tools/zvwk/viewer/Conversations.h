// Messages grouped into conversations as they are read.
//
// A message joins the conversation of any message it names in References or
// In-Reply-To, or of any message that named it. Failing that, a reply (a
// subject with a "Re:"-like prefix, or references to messages not seen)
// joins the conversation with the same normalised subject. Otherwise it
// starts a conversation of its own. Grouping is incremental, so a message
// list can show conversations while the mailbox is still being read: a
// conversation never moves and never merges with another, it only grows.
#pragma once

#include "MailMessage.h"

#include <cstddef>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace zvwk::viewer {

struct Conversation {
    std::vector<size_t> messages;  // message numbers, oldest first
    std::string subject;           // of the oldest message
    std::int64_t latestDate = 0;
};

// "Re: Fwd: [list] Lunch " -> "lunch".
std::string normalisedSubject(std::string_view subject);

class ConversationGrouper {
public:
    struct Placement {
        size_t conversation;
        bool created;
    };

    // Adds message number `message` (numbers are the caller's: its index in
    // the mailbox); `summary` only needs to live for the call.
    Placement add(size_t message, const MessageSummary& summary);

    const std::vector<Conversation>& conversations() const { return conversations_; }

private:
    size_t conversationFor(const MessageSummary& summary, const std::string& subjectKey) const;

    std::vector<Conversation> conversations_;
    std::vector<std::int64_t> dates_;  // by message number, for keeping conversations in date order
    std::unordered_map<std::string, size_t> byMessageId_;
    std::unordered_map<std::string, size_t> bySubject_;
};

}  // namespace zvwk::viewer
