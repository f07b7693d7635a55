#include "MailInput.h"

#include "Commands.h"

#include <zv/html/HTMLEncoding.h>

#include <gmime/gmime.h>

#include <algorithm>
#include <memory>
#include <mutex>
#include <vector>

namespace zvwk {

namespace {

struct GObjectRelease {
    void operator()(gpointer object) const { g_object_unref(object); }
};
template <class T>
using GObjectHandle = std::unique_ptr<T, GObjectRelease>;

bool hasEmlExtension(const std::string& path) {
    if (path.size() < 4) return false;
    std::string extension = path.substr(path.size() - 4);
    std::transform(extension.begin(), extension.end(), extension.begin(),
                   [](unsigned char c) { return char(std::tolower(c)); });
    return extension == ".eml";
}

std::string decodeHTMLBytes(std::string_view bytes, std::string_view transportEncoding,
                            std::string_view defaultEncoding) {
    zv::html::SniffedEncoding sniffed = zv::html::sniffEncoding(bytes, transportEncoding, defaultEncoding);
    return zv::html::decodeToUTF8(bytes.substr(sniffed.bomLength), sniffed.encoding);
}

// The first text/html part that is not an attachment, depth first. The walk
// keeps its own stack: a message may nest multiparts thousands deep.
GMimePart* firstHTMLPart(GMimeObject* root) {
    std::vector<GMimeObject*> pending{root};
    while (!pending.empty()) {
        GMimeObject* object = pending.back();
        pending.pop_back();
        if (GMIME_IS_MULTIPART(object)) {
            auto* multipart = GMIME_MULTIPART(object);
            for (int i = g_mime_multipart_get_count(multipart) - 1; i >= 0; --i)
                pending.push_back(g_mime_multipart_get_part(multipart, i));
            continue;
        }
        if (!GMIME_IS_PART(object)) continue;
        auto* part = GMIME_PART(object);
        GMimeContentType* type = g_mime_object_get_content_type(object);
        if (type && g_mime_content_type_is_type(type, "text", "html") && !g_mime_part_is_attachment(part))
            return part;
    }
    return nullptr;
}

std::optional<std::string> partContent(GMimePart* part) {
    GMimeDataWrapper* content = g_mime_part_get_content(part);
    if (!content) return std::string();
    GObjectHandle<GMimeStream> sink(g_mime_stream_mem_new());
    if (g_mime_data_wrapper_write_to_stream(content, sink.get()) < 0) return std::nullopt;
    GByteArray* bytes = g_mime_stream_mem_get_byte_array(GMIME_STREAM_MEM(sink.get()));
    return std::string(reinterpret_cast<const char*>(bytes->data), bytes->len);
}

// Lines of white space before the headers, as some stored messages carry,
// would make GMime see no headers at all.
std::string_view withoutLeadingBlankLines(std::string_view bytes) {
    size_t start = 0;
    for (size_t i = 0; i < bytes.size(); ++i) {
        if (bytes[i] == '\n')
            start = i + 1;
        else if (bytes[i] != ' ' && bytes[i] != '\t' && bytes[i] != '\r')
            break;
    }
    return bytes.substr(start);
}

struct ParserOptionsRelease {
    void operator()(GMimeParserOptions* options) const { g_mime_parser_options_free(options); }
};

// GMime stops descending past its nesting limit and drops what lies deeper,
// so a part may exist that the parsed tree no longer holds.
void noteNestingOverflow(gint64, GMimeParserWarning warning, const gchar*, gpointer overflowed) {
    if (warning == GMIME_CRIT_NESTING_OVERFLOW) *static_cast<bool*>(overflowed) = true;
}

std::optional<std::string> messageHTML(std::string_view bytes, std::string& reason) {
    static std::once_flag initialised;
    std::call_once(initialised, [] { g_mime_init(); });

    bool nestingOverflowed = false;
    std::unique_ptr<GMimeParserOptions, ParserOptionsRelease> options(g_mime_parser_options_new());
    g_mime_parser_options_set_warning_callback(options.get(), noteNestingOverflow, &nestingOverflowed);
    bytes = withoutLeadingBlankLines(bytes);
    GObjectHandle<GMimeStream> stream(g_mime_stream_mem_new_with_buffer(bytes.data(), bytes.size()));
    GObjectHandle<GMimeParser> parser(g_mime_parser_new_with_stream(stream.get()));
    GObjectHandle<GMimeMessage> message(g_mime_parser_construct_message(parser.get(), options.get()));
    GMimeObject* body = message ? g_mime_message_get_mime_part(message.get()) : nullptr;
    if (!body) {
        reason = nestingOverflowed ? "MIME parts nested too deep to read" : "not a mail message";
        return std::nullopt;
    }
    GMimePart* part = firstHTMLPart(body);
    if (!part) {
        reason = nestingOverflowed ? "MIME parts nested too deep to find the text/html part" : "no text/html part";
        return std::nullopt;
    }
    std::optional<std::string> content = partContent(part);
    if (!content) {
        reason = "the text/html part does not decode";
        return std::nullopt;
    }
    const char* charset = g_mime_object_get_content_type_parameter(GMIME_OBJECT(part), "charset");
    return decodeHTMLBytes(*content, charset ? charset : "", "windows-1252");
}

}  // namespace

std::optional<std::string> readMailHTML(const std::string& path, std::string& error) {
    std::string reason;
    std::optional<std::string> bytes = readInput(path, reason);
    std::optional<std::string> html;
    if (bytes && hasEmlExtension(path))
        html = messageHTML(*bytes, reason);
    else if (bytes)
        html = decodeHTMLBytes(*bytes, {}, "UTF-8");
    if (!html) error = "zvwk: " + path + ": " + reason;
    return html;
}

}  // namespace zvwk
