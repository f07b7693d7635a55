#include "MessageBytes.h"

#include <gmime/gmime.h>

#include <mutex>

namespace zvwk::viewer {

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

}  // namespace zvwk::viewer
