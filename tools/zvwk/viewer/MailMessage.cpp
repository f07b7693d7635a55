#include "MailMessage.h"

#include "mail/MimeSupport.h"

#include <zv/text/TextSnippet.h>

#include <gmime/gmime.h>

#include <cerrno>
#include <cstring>
#include <fstream>
#include <memory>

namespace zvwk::viewer {

namespace {

struct GObjectRelease {
    void operator()(gpointer object) const { g_object_unref(object); }
};
template <class T>
using GObjectHandle = std::unique_ptr<T, GObjectRelease>;

struct GFreeString {
    void operator()(char* text) const { g_free(text); }
};
using OwnedString = std::unique_ptr<char, GFreeString>;

std::string textOf(const char* text) { return text ? text : ""; }
// Takes a string GLib allocated for the caller.
std::string ownedText(char* text) {
    OwnedString owned(text);
    return owned ? std::string(owned.get()) : std::string();
}

// A header field starts the message: a name of printable characters other
// than ':' and space, then ':'.
bool startsWithHeaderField(std::string_view bytes) {
    size_t i = 0;
    while (i < bytes.size() && bytes[i] > ' ' && bytes[i] < 127 && bytes[i] != ':') ++i;
    return i > 0 && i < bytes.size() && bytes[i] == ':';
}

// Where the header block ends: after the first empty line, or the end.
size_t headerBlockLength(std::string_view bytes) {
    for (size_t i = bytes.find('\n'); i != std::string_view::npos; i = bytes.find('\n', i + 1)) {
        size_t next = i + 1;
        if (next < bytes.size() && bytes[next] == '\r') ++next;
        if (next < bytes.size() && bytes[next] == '\n') return next + 1;
        if (next >= bytes.size()) return bytes.size();
    }
    return bytes.size();
}

struct ParseIssues {
    bool truncated = false;
    bool damaged = false;
};

void noteParseIssue(gint64, GMimeParserWarning code, const char*, gpointer data) {
    auto* issues = static_cast<ParseIssues*>(data);
    if (code == GMIME_WARN_TRUNCATED_MESSAGE) issues->truncated = true;
    if (code == GMIME_CRIT_NESTING_OVERFLOW || code == GMIME_CRIT_PART_WITHOUT_HEADERS_OR_CONTENT ||
        code == GMIME_CRIT_MULTIPART_WITHOUT_BOUNDARY)
        issues->damaged = true;
}

struct ParsedMessage {
    GObjectHandle<GMimeMessage> message;
    ParseIssues issues;
};

ParsedMessage parseMessage(std::string_view bytes) {
    initialiseGMime();
    ParsedMessage parsed;
    GObjectHandle<GMimeStream> stream(g_mime_stream_mem_new_with_buffer(bytes.data(), bytes.size()));
    GObjectHandle<GMimeParser> parser(g_mime_parser_new_with_stream(stream.get()));
    GMimeParserOptions* options = g_mime_parser_options_new();
    g_mime_parser_options_set_warning_callback(options, noteParseIssue, &parsed.issues);
    parsed.message.reset(g_mime_parser_construct_message(parser.get(), options));
    g_mime_parser_options_free(options);
    return parsed;
}

void appendReferences(std::vector<std::string>& ids, const char* header) {
    if (!header) return;
    GMimeReferences* references = g_mime_references_parse(nullptr, header);
    if (!references) return;
    for (int i = 0; i < g_mime_references_length(references); ++i)
        ids.emplace_back(g_mime_references_get_message_id(references, i));
    g_mime_references_free(references);
}

std::string addressListText(InternetAddressList* list) {
    if (!list || internet_address_list_length(list) == 0) return {};
    return ownedText(internet_address_list_to_string(list, nullptr, FALSE));
}

void readSender(GMimeMessage* message, MessageSummary& summary) {
    InternetAddressList* from = g_mime_message_get_from(message);
    if (!from || internet_address_list_length(from) == 0) return;
    InternetAddress* address = internet_address_list_get_address(from, 0);
    if (INTERNET_ADDRESS_IS_MAILBOX(address))
        summary.fromAddress = textOf(internet_address_mailbox_get_addr(INTERNET_ADDRESS_MAILBOX(address)));
    summary.fromName = textOf(internet_address_get_name(address));
    if (summary.fromName.empty()) summary.fromName = summary.fromAddress;
    if (summary.fromName.empty()) summary.fromName = addressListText(from);
}

std::string mimeTypeOf(GMimeObject* object) {
    GMimeContentType* type = g_mime_object_get_content_type(object);
    return type ? ownedText(g_mime_content_type_get_mime_type(type)) : "application/octet-stream";
}

void readLeafPart(GMimePart* part, MessageContent& content) {
    GMimeObject* object = GMIME_OBJECT(part);
    GMimeContentType* type = g_mime_object_get_content_type(object);
    const char* charset = g_mime_object_get_content_type_parameter(object, "charset");
    bool attachment = g_mime_part_is_attachment(part);
    bool isHTML = type && g_mime_content_type_is_type(type, "text", "html");
    bool isPlain = type && g_mime_content_type_is_type(type, "text", "plain");
    std::optional<std::string> data = partBytes(part);
    if (!data) return;
    if (!attachment && isHTML && !content.html) {
        content.html = decodeText(*data, charset ? charset : "", "windows-1252");
        return;
    }
    if (!attachment && isPlain && !content.plain) {
        content.plain = decodeText(*data, charset ? charset : "", "windows-1252");
        return;
    }
    if (const char* contentId = g_mime_part_get_content_id(part); contentId && *contentId) {
        content.inlineParts.push_back({contentId, mimeTypeOf(object), textOf(charset), *data});
        if (!attachment) return;
    }
    std::string filename = textOf(g_mime_part_get_filename(part));
    if (filename.empty() && !attachment) return;
    content.attachments.push_back({filename.empty() ? "attachment" : filename, mimeTypeOf(object), data->size(), *data});
}

// Attached messages are listed, not entered.
void readParts(GMimeObject* root, MessageContent& content) {
    walkParts(root, [&content](GMimeObject* object) {
        if (GMIME_IS_MESSAGE_PART(object)) {
            GMimeMessage* attached = g_mime_message_part_get_message(GMIME_MESSAGE_PART(object));
            std::string subject = attached ? textOf(g_mime_message_get_subject(attached)) : "";
            std::string bytes = attached ? ownedText(g_mime_object_to_string(GMIME_OBJECT(attached), nullptr)) : "";
            content.attachments.push_back(
                {subject.empty() ? "message.eml" : subject + ".eml", "message/rfc822", bytes.size(), bytes});
        } else if (GMIME_IS_PART(object)) {
            readLeafPart(GMIME_PART(object), content);
        }
        return true;
    });
}

std::string collapsedWhiteSpace(std::string_view text, size_t maxBytes) {
    std::string out;
    bool space = false;
    for (char c : text) {
        if (out.size() >= maxBytes) break;
        if (c == ' ' || c == '\t' || c == '\n' || c == '\r') {
            space = !out.empty();
            continue;
        }
        if (space) out += ' ';
        space = false;
        out += c;
    }
    // Never end inside a UTF-8 sequence.
    while (!out.empty() && (static_cast<unsigned char>(out.back()) & 0xC0) == 0x80) out.pop_back();
    if (!out.empty() && static_cast<unsigned char>(out.back()) >= 0xC0) out.pop_back();
    return out;
}

}  // namespace

std::optional<std::string> readMessageBytes(const MessageLocation& location, std::string& error) {
    std::ifstream in(location.path, std::ios::binary);
    if (!in) {
        error = std::strerror(errno);
        return std::nullopt;
    }
    in.seekg(location.offset);
    std::string bytes;
    if (location.length >= 0) {
        bytes.resize(size_t(location.length));
        in.read(bytes.data(), location.length);
        bytes.resize(size_t(in.gcount()));
    } else {
        bytes.assign(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
    }
    if (in.bad()) {
        error = "read error";
        return std::nullopt;
    }
    return bytes;
}

MessageSummary summaryFromBytes(std::string_view bytes) {
    MessageSummary summary;
    bytes = withoutLeadingBlankLines(bytes);
    if (!startsWithHeaderField(bytes)) {
        summary.error = bytes.empty() ? "the message is empty" : "not a mail message: it does not start with headers";
        return summary;
    }
    ParsedMessage parsed = parseMessage(bytes.substr(0, headerBlockLength(bytes)));
    GMimeMessage* message = parsed.message.get();
    if (!message) {
        summary.error = "not a mail message";
        return summary;
    }
    summary.messageId = textOf(g_mime_message_get_message_id(message));
    appendReferences(summary.references, g_mime_object_get_header(GMIME_OBJECT(message), "References"));
    appendReferences(summary.references, g_mime_object_get_header(GMIME_OBJECT(message), "In-Reply-To"));
    summary.subject = textOf(g_mime_message_get_subject(message));
    readSender(message, summary);
    summary.to = addressListText(g_mime_message_get_to(message));
    summary.cc = addressListText(g_mime_message_get_cc(message));
    if (GDateTime* date = g_mime_message_get_date(message)) summary.date = g_date_time_to_unix(date);
    return summary;
}

MessageSummary readMessageSummary(const MessageLocation& location) {
    MessageSummary summary;
    std::string error;
    MessageLocation head = location;
    // Headers are rarely longer than this; a longer block is read whole.
    if (head.length < 0 || head.length > 16384) head.length = 16384;
    std::optional<std::string> bytes = readMessageBytes(head, error);
    if (bytes && headerBlockLength(*bytes) == bytes->size() && head.length != location.length)
        bytes = readMessageBytes(location, error);
    if (bytes) summary = summaryFromBytes(*bytes);
    else summary.error = error;
    summary.location = location;
    return summary;
}

MessageContent contentFromBytes(std::string_view bytes) {
    MessageContent content;
    bytes = withoutLeadingBlankLines(bytes);
    if (!startsWithHeaderField(bytes)) {
        content.error = bytes.empty() ? "the message is empty" : "not a mail message: it does not start with headers";
        return content;
    }
    ParsedMessage parsed = parseMessage(bytes);
    GMimeObject* body = parsed.message ? g_mime_message_get_mime_part(parsed.message.get()) : nullptr;
    if (body) readParts(body, content);
    if (!body)
        content.error = "the message has no body";
    else if (parsed.issues.truncated && headerBlockLength(bytes) == bytes.size())
        content.error = "the message is truncated: it ends inside its headers";
    else if (parsed.issues.truncated)
        content.error = "the message is truncated: it ends inside a part";
    else if (parsed.issues.damaged)
        content.error = "the message's structure is damaged";
    return content;
}

MessageContent readMessageContent(const MessageLocation& location) {
    std::string error;
    std::optional<std::string> bytes = readMessageBytes(location, error);
    if (!bytes) {
        MessageContent content;
        content.error = error;
        return content;
    }
    return contentFromBytes(*bytes);
}

std::string previewOfContent(const MessageContent& content, long maxLength) {
    if (content.html) {
        auto snippet = zv::textSnippetForHTML(*content.html, maxLength,
                                              zv::ZVTextSnippetSkipHead | zv::ZVTextSnippetInvisibleSpacesAsWhitespace);
        if (snippet) return *snippet;
    }
    if (content.plain) return collapsedWhiteSpace(*content.plain, size_t(maxLength) * 2);
    return {};
}

}  // namespace zvwk::viewer
