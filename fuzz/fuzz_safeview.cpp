// libFuzzer over the preparation of a message for the safe view.
//
// The first byte says whether remote content is allowed, the rest is the
// message's markup. Besides the absence of faults:
// - the preparation's work must be linear in the input: the thread's CPU
//   time for parsing and preparing is bounded by a fixed start-up allowance
//   plus a cost per byte far above what linear work needs here (a
//   quadratic path on a 64 KB input overruns it many times over; an endless
//   loop is caught by libFuzzer's -timeout);
// - the prepared document, serialized, parsed and prepared again, must find
//   no remote reference left unrewritten. With remote content blocked the
//   second pass finds none; with it allowed, it reads the references the
//   first pass moved into the internal schemes back as remote (a message may
//   name those schemes itself), so it may find those and no other.
#include <zv/html/HTMLDocument.h>
#include <zv/html/HTMLParser.h>
#include <zv/html/HTMLSerializer.h>
#include <zv/reading/SafeMessageView.h>

#include <cctype>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <set>
#include <string>
#include <string_view>

using namespace zv::html;

namespace {

constexpr double kAllowanceSeconds = 0.25;
constexpr double kSecondsPerByte = 10e-6;

double threadSeconds() {
    timespec now{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
    return double(now.tv_sec) + double(now.tv_nsec) * 1e-9;
}

std::string prepared(std::string_view markup, bool allowRemote, zv::SafeViewReport& report) {
    HTMLParser parser(markup);
    Ref<HTMLDocument> document = parser.parseDocument();
    report = zv::prepareDocumentForSafeView(*document, {.allowRemoteContent = allowRemote});
    return serializeNode(*document);
}

// A remote URL as the rewriting leaves it: "//host" is read as https, and
// the scheme comes back in lower case.
std::string rewrittenForm(std::string url) {
    if (url.starts_with("//")) return "https:" + url;
    for (char& c : url) {
        if (c == ':') break;
        c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    }
    return url;
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    zv::SafeViewReport report;
    prepared("<img srcset='http://a/b 1x'>", false, report);  // start-up costs out of the first measured run
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size < 1) return 0;
    const bool allowRemote = data[0] & 1;
    const std::string_view markup(reinterpret_cast<const char*>(data + 1), size - 1);

    const double start = threadSeconds();
    zv::SafeViewReport report;
    const std::string once = prepared(markup, allowRemote, report);
    const double spent = threadSeconds() - start;
    const double bound = kAllowanceSeconds + kSecondsPerByte * double(size);
    if (spent > bound) {
        std::fprintf(stderr, "preparing %zu bytes took %.3f s of CPU, over the linear bound of %.3f s\n", size, spent,
                     bound);
        std::abort();
    }

    zv::SafeViewReport second;
    prepared(once, allowRemote, second);
    std::multiset<std::string> rewritten;
    if (allowRemote)
        for (const std::string& url : report.remoteURLs) rewritten.insert(rewrittenForm(url));
    for (const std::string& url : second.remoteURLs) {
        auto found = rewritten.find(rewrittenForm(url));
        if (found != rewritten.end()) {
            rewritten.erase(found);
            continue;
        }
        std::fprintf(stderr, "a remote reference survives preparation: \"%s\"\n", url.c_str());
        std::abort();
    }
    return 0;
}
