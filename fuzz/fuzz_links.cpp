// libFuzzer over the judging of a message's links and the tracking
// parameters taken off them: link texts, addresses, hosts in any script and
// gateways' wrapped addresses, all from the message's markup.
//
// Checked besides the absence of faults:
// - each link's text is at most 4 KB of valid UTF-8 (a long text is cut on a
//   character's boundary) with its white space collapsed;
// - taking the tracking parameters off an address leaves none to take off.
#include <zv/html/HTMLDocument.h>
#include <zv/html/HTMLParser.h>
#include <zv/reading/LinkJudgement.h>
#include <zv/reading/TrackerDetection.h>

#include <glib.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>

namespace {

constexpr std::size_t kLongestText = 4096;

[[noreturn]] void fail(const char* what, std::string_view detail) {
    std::fprintf(stderr, "%s \"%.*s\"\n", what, int(std::min<std::size_t>(detail.size(), 200)), detail.data());
    std::abort();
}

void checkText(const std::string& text) {
    if (text.size() > kLongestText) fail("a link text longer than 4 KB:", text);
    if (!g_utf8_validate(text.data(), gssize(text.size()), nullptr)) fail("a link text cut inside a character:", text);
    if (text.find("  ") != std::string::npos) fail("a link text with its white space not collapsed:", text);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string_view markup(reinterpret_cast<const char*>(data), size);
    zv::html::Ref<zv::html::HTMLDocument> document = zv::html::HTMLParser(markup).parseDocument();
    for (const zv::JudgedLink& link : zv::judgeLinks(*document)) {
        checkText(link.text);
        if (auto clean = zv::withoutTrackingParameters(link.href))
            if (zv::withoutTrackingParameters(*clean)) fail("tracking parameters left after their removal:", *clean);
    }
    return 0;
}
