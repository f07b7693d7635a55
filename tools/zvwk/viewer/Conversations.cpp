#include "Conversations.h"

#include <algorithm>
#include <cctype>

namespace zvwk::viewer {

namespace {

constexpr size_t kNone = size_t(-1);

bool isSpace(char c) { return c == ' ' || c == '\t' || c == '\r' || c == '\n'; }

// Strips one reply or forward prefix ("Re:", "RE[2]:", "Fwd:", "AW:", ...)
// or list tag ("[list] "); true when something was stripped.
bool stripPrefix(std::string_view& s) {
    while (!s.empty() && isSpace(s.front())) s.remove_prefix(1);
    if (s.starts_with("[")) {
        size_t close = s.find(']');
        if (close == std::string_view::npos) return false;
        s.remove_prefix(close + 1);
        return true;
    }
    size_t i = 0;
    while (i < s.size() && std::isalpha(static_cast<unsigned char>(s[i]))) ++i;
    std::string word(s.substr(0, i));
    std::transform(word.begin(), word.end(), word.begin(), [](unsigned char c) { return char(std::tolower(c)); });
    static const char* const kPrefixes[] = {"re", "fw", "fwd", "aw", "wg", "sv", "antw", "vs", "tr"};
    if (std::find_if(std::begin(kPrefixes), std::end(kPrefixes), [&](const char* p) { return word == p; }) ==
        std::end(kPrefixes))
        return false;
    if (i < s.size() && s[i] == '[') {
        size_t close = s.find(']', i);
        if (close == std::string_view::npos) return false;
        i = close + 1;
    }
    if (i >= s.size() || s[i] != ':') return false;
    s.remove_prefix(i + 1);
    return true;
}

bool hasReplyPrefix(std::string_view subject) {
    while (!subject.empty() && isSpace(subject.front())) subject.remove_prefix(1);
    return !subject.starts_with("[") && stripPrefix(subject);
}

}  // namespace

std::string normalisedSubject(std::string_view subject) {
    while (stripPrefix(subject)) {
    }
    std::string out;
    bool space = false;
    for (char c : subject) {
        if (isSpace(c)) {
            space = !out.empty();
            continue;
        }
        if (space) out += ' ';
        space = false;
        out += char(std::tolower(static_cast<unsigned char>(c)));
    }
    return out;
}

size_t ConversationGrouper::conversationFor(const MessageSummary& summary, const std::string& subjectKey) const {
    if (!summary.messageId.empty())
        if (auto it = byMessageId_.find(summary.messageId); it != byMessageId_.end()) return it->second;
    for (const std::string& reference : summary.references)
        if (auto it = byMessageId_.find(reference); it != byMessageId_.end()) return it->second;
    bool isReply = !summary.references.empty() || hasReplyPrefix(summary.subject);
    if (isReply && !subjectKey.empty())
        if (auto it = bySubject_.find(subjectKey); it != bySubject_.end()) return it->second;
    return kNone;
}

ConversationGrouper::Placement ConversationGrouper::add(size_t message, const MessageSummary& summary) {
    std::string subjectKey = normalisedSubject(summary.subject);
    size_t index = conversationFor(summary, subjectKey);
    bool created = index == kNone;
    if (created) {
        index = conversations_.size();
        conversations_.push_back({{}, summary.subject, summary.date});
    }
    if (dates_.size() <= message) dates_.resize(message + 1);
    dates_[message] = summary.date;

    Conversation& conversation = conversations_[index];
    auto at = std::upper_bound(conversation.messages.begin(), conversation.messages.end(), summary.date,
                               [&](std::int64_t date, size_t other) { return date < dates_[other]; });
    // A conversation is named by its oldest message.
    if (at == conversation.messages.begin()) conversation.subject = summary.subject;
    conversation.messages.insert(at, message);
    conversation.latestDate = std::max(conversation.latestDate, summary.date);

    if (!summary.messageId.empty()) byMessageId_.try_emplace(summary.messageId, index);
    for (const std::string& reference : summary.references) byMessageId_.try_emplace(reference, index);
    if (!subjectKey.empty()) bySubject_.try_emplace(subjectKey, index);
    return {index, created};
}

}  // namespace zvwk::viewer
