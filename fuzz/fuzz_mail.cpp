// libFuzzer over stored mail as zvwk and its viewer read it.
//
// The input is a message's bytes. The viewer reads its headers and its
// content and makes its preview line; zvwk's commands read it as a .eml file,
// whole and as a stream (what `snippet` reads); and, behind a "From " line,
// as an mbox file, each message of which the viewer reads from its place in
// the file. Besides the absence of faults, every text handed on is valid
// UTF-8, as the decoding promises.
#include "mail/MailInput.h"
#include "viewer/MailMessage.h"
#include "viewer/MailboxSource.h"

#include <glib.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <optional>
#include <string>
#include <string_view>

namespace {

std::string gFolder;

// U+0000 is valid UTF-8, but GLib's check stops at it: each stretch between
// NULs is checked on its own.
bool isUTF8(std::string_view text) {
    for (size_t start = 0; start <= text.size();) {
        size_t end = std::min(text.find('\0', start), text.size());
        if (!g_utf8_validate(text.data() + start, gssize(end - start), nullptr)) return false;
        start = end + 1;
    }
    return true;
}

void checkText(const char* what, const std::optional<std::string>& text) {
    if (!text || isUTF8(*text)) return;
    std::fprintf(stderr, "%s is not valid UTF-8\n", what);
    std::abort();
}

std::string writeFile(const char* name, std::string_view prefix, std::string_view bytes) {
    const std::string path = gFolder + "/" + name;
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    out << prefix << bytes;
    return path;
}

void readAsViewer(const zvwk::viewer::MessageContent& content) {
    checkText("the HTML body", content.html);
    checkText("the plain body", content.plain);
    checkText("the preview", zvwk::viewer::previewOfContent(content));
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    char* folder = g_dir_make_tmp("zv-fuzz-mail-XXXXXX", nullptr);
    gFolder = folder;
    g_free(folder);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string_view bytes(reinterpret_cast<const char*>(data), size);
    zvwk::viewer::summaryFromBytes(bytes);
    readAsViewer(zvwk::viewer::contentFromBytes(bytes));

    const std::string eml = writeFile("message.eml", {}, bytes);
    std::string error;
    checkText("zvwk's HTML", zvwk::readMailHTML(eml, error));
    if (std::optional<zvwk::MailHTMLStream> stream = zvwk::openMailHTMLStream(eml, error)) {
        char buffer[4096];
        while (stream->read(buffer, sizeof buffer) > 0) {
        }
    }

    const std::string mbox = writeFile("mailbox.mbox", "From sender@example.org Tue Nov 18 10:00:00 2025\n", bytes);
    int read = 0;
    for (const zvwk::viewer::MessageLocation& location : zvwk::viewer::mboxMessages(mbox, error)) {
        if (++read > 8) break;
        zvwk::viewer::readMessageSummary(location);
        readAsViewer(zvwk::viewer::readMessageContent(location));
    }
    return 0;
}
