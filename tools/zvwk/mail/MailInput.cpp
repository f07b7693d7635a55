#include "MailInput.h"

#include "InputFile.h"
#include "MimeSupport.h"

#include <gmime/gmime.h>

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <memory>
#include <vector>

namespace zvwk {

namespace {

struct GObjectRelease {
    void operator()(gpointer object) const { g_object_unref(object); }
};
template <class T>
using GObjectHandle = std::unique_ptr<T, GObjectRelease>;

// The first text/html part that is not an attachment, depth first.
GMimePart* firstHTMLPart(GMimeObject* root) {
    GMimePart* found = nullptr;
    walkParts(root, [&found](GMimeObject* object) {
        if (!GMIME_IS_PART(object)) return true;
        GMimeContentType* type = g_mime_object_get_content_type(object);
        if (type && g_mime_content_type_is_type(type, "text", "html") && !g_mime_part_is_attachment(GMIME_PART(object)))
            found = GMIME_PART(object);
        return !found;
    });
    return found;
}

struct ParserOptionsRelease {
    void operator()(GMimeParserOptions* options) const { g_mime_parser_options_free(options); }
};

// GMime stops descending past its nesting limit and drops what lies deeper,
// so a part may exist that the parsed tree no longer holds.
void noteNestingOverflow(gint64, GMimeParserWarning warning, const gchar*, gpointer overflowed) {
    if (warning == GMIME_CRIT_NESTING_OVERFLOW) *static_cast<bool*>(overflowed) = true;
}

// The message in `stream` (which it keeps) and its first HTML part; on
// failure nothing, with `reason` set.
struct MessagePart {
    GObjectHandle<GMimeMessage> message;
    GMimePart* part = nullptr;  // owned by the message
    std::string charset;
};

std::optional<MessagePart> parseHTMLPart(GMimeStream* stream, std::string& reason) {
    bool nestingOverflowed = false;
    std::unique_ptr<GMimeParserOptions, ParserOptionsRelease> options(g_mime_parser_options_new());
    g_mime_parser_options_set_warning_callback(options.get(), noteNestingOverflow, &nestingOverflowed);
    GObjectHandle<GMimeParser> parser(g_mime_parser_new_with_stream(stream));
    // Parts then refer to the stream instead of holding copies of their content.
    g_mime_parser_set_persist_stream(parser.get(), TRUE);
    MessagePart found;
    found.message.reset(g_mime_parser_construct_message(parser.get(), options.get()));
    GMimeObject* body = found.message ? g_mime_message_get_mime_part(found.message.get()) : nullptr;
    if (!body) {
        reason = nestingOverflowed ? "MIME parts nested too deep to read" : "not a mail message";
        return std::nullopt;
    }
    found.part = firstHTMLPart(body);
    if (!found.part) {
        reason = nestingOverflowed ? "MIME parts nested too deep to find the text/html part" : "no text/html part";
        return std::nullopt;
    }
    const char* charset = g_mime_object_get_content_type_parameter(GMIME_OBJECT(found.part), "charset");
    if (charset) found.charset = charset;
    return found;
}

std::optional<std::string> messageHTML(std::string_view bytes, std::string& reason) {
    initialiseGMime();
    bytes = withoutLeadingBlankLines(bytes);
    GObjectHandle<GMimeStream> stream(g_mime_stream_mem_new_with_buffer(bytes.data(), bytes.size()));
    std::optional<MessagePart> found = parseHTMLPart(stream.get(), reason);
    if (!found) return std::nullopt;
    std::optional<std::string> content = partBytes(found->part);
    if (!content) {
        reason = "the text/html part does not decode";
        return std::nullopt;
    }
    return decodeText(*content, found->charset, "windows-1252");
}

// Where the headers start, past the blank lines withoutLeadingBlankLines skips.
std::optional<off_t> headersOffset(int fd) {
    char buffer[4096];
    off_t start = 0, at = 0;
    while (true) {
        ssize_t count = ::pread(fd, buffer, sizeof buffer, at);
        if (count < 0 && errno == EINTR) continue;
        if (count < 0) return std::nullopt;
        if (count == 0) return start;
        for (ssize_t i = 0; i < count; ++i, ++at) {
            if (buffer[i] == '\n')
                start = at + 1;
            else if (buffer[i] != ' ' && buffer[i] != '\t' && buffer[i] != '\r')
                return start;
        }
    }
}

// The part's content with its transfer encoding undone as it is read.
GMimeStream* decodedContent(GMimePart* part) {
    GMimeDataWrapper* content = g_mime_part_get_content(part);
    if (!content) return g_mime_stream_mem_new();
    GMimeStream* source = g_mime_data_wrapper_get_stream(content);
    g_mime_stream_reset(source);
    GMimeStream* filtered = g_mime_stream_filter_new(source);
    GMimeContentEncoding encoding = g_mime_data_wrapper_get_encoding(content);
    if (encoding == GMIME_CONTENT_ENCODING_BASE64 || encoding == GMIME_CONTENT_ENCODING_QUOTEDPRINTABLE ||
        encoding == GMIME_CONTENT_ENCODING_UUENCODE) {
        GMimeFilter* filter = g_mime_filter_basic_new(encoding, FALSE);
        g_mime_stream_filter_add(GMIME_STREAM_FILTER(filtered), filter);
        g_object_unref(filter);
    }
    return filtered;
}

std::optional<MailHTMLStream> messageHTMLStream(const std::string& path, std::string& reason) {
    int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (fd < 0) {
        reason = std::strerror(errno);
        return std::nullopt;
    }
    initialiseGMime();
    GObjectHandle<GMimeStream> file(g_mime_stream_fs_new(fd));  // closes fd when it goes
    std::optional<off_t> start = headersOffset(fd);
    if (!start) {
        reason = std::strerror(errno);
        return std::nullopt;
    }
    GObjectHandle<GMimeStream> message(g_mime_stream_substream(file.get(), *start, -1));
    std::optional<MessagePart> found = parseHTMLPart(message.get(), reason);
    if (!found) return std::nullopt;
    auto content = std::shared_ptr<GMimeStream>(decodedContent(found->part), GObjectRelease());
    auto owner = std::make_shared<MessagePart>(std::move(*found));
    MailHTMLStream stream;
    stream.read = [content, owner](char* buffer, size_t capacity) -> long {
        // A filter may take input and give nothing yet (a line of white space in base64).
        while (true) {
            ssize_t count = g_mime_stream_read(content.get(), buffer, capacity);
            if (count != 0 || g_mime_stream_eos(content.get())) return long(count);
        }
    };
    stream.transportEncoding = owner->charset;
    stream.defaultEncoding = "windows-1252";
    return stream;
}

MailHTMLStream standardInputStream() {
    MailHTMLStream stream;
    stream.read = [](char* buffer, size_t capacity) -> long {
        ssize_t count;
        do count = ::read(STDIN_FILENO, buffer, capacity);
        while (count < 0 && errno == EINTR);
        return long(count);
    };
    stream.defaultEncoding = "UTF-8";
    return stream;
}

}  // namespace

bool isMessagePath(const std::string& path) {
    if (path.size() < 4) return false;
    std::string extension = path.substr(path.size() - 4);
    std::transform(extension.begin(), extension.end(), extension.begin(),
                   [](unsigned char c) { return char(std::tolower(c)); });
    return extension == ".eml";
}

std::optional<MailHTMLStream> openMailHTMLStream(const std::string& path, std::string& error) {
    if (path == "-") return standardInputStream();
    std::string reason;
    std::optional<MailHTMLStream> stream = messageHTMLStream(path, reason);
    if (!stream) error = "zvwk: " + path + ": " + reason;
    return stream;
}

std::optional<std::string> readMailHTML(const std::string& path, std::string& error) {
    std::string reason;
    std::optional<std::string> bytes = readInput(path, reason);
    std::optional<std::string> html;
    if (bytes && isMessagePath(path))
        html = messageHTML(*bytes, reason);
    else if (bytes)
        html = decodeText(*bytes, {}, "UTF-8");
    if (!html) error = "zvwk: " + path + ": " + reason;
    return html;
}

}  // namespace zvwk
