#include "MimeSupport.h"

#include <zv/html/HTMLEncoding.h>

#include <mutex>
#include <vector>

namespace zvwk {

void initialiseGMime() {
    static std::once_flag once;
    std::call_once(once, [] { g_mime_init(); });
}

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

void walkParts(GMimeObject* root, const std::function<bool(GMimeObject*)>& visit) {
    std::vector<GMimeObject*> pending{root};
    while (!pending.empty()) {
        GMimeObject* object = pending.back();
        pending.pop_back();
        if (!GMIME_IS_MULTIPART(object)) {
            if (!visit(object)) return;
            continue;
        }
        auto* multipart = GMIME_MULTIPART(object);
        for (int i = g_mime_multipart_get_count(multipart) - 1; i >= 0; --i)
            pending.push_back(g_mime_multipart_get_part(multipart, i));
    }
}

std::optional<std::string> partBytes(GMimePart* part) {
    GMimeDataWrapper* content = g_mime_part_get_content(part);
    if (!content) return std::string();
    GMimeStream* sink = g_mime_stream_mem_new();
    std::optional<std::string> bytes;
    if (g_mime_data_wrapper_write_to_stream(content, sink) >= 0) {
        GByteArray* array = g_mime_stream_mem_get_byte_array(GMIME_STREAM_MEM(sink));
        bytes.emplace(reinterpret_cast<const char*>(array->data), array->len);
    }
    g_object_unref(sink);
    return bytes;
}

std::string decodeText(std::string_view bytes, std::string_view transportEncoding, std::string_view defaultEncoding) {
    zv::html::SniffedEncoding sniffed = zv::html::sniffEncoding(bytes, transportEncoding, defaultEncoding);
    return zv::html::decodeToUTF8(bytes.substr(sniffed.bomLength), sniffed.encoding);
}

}  // namespace zvwk
