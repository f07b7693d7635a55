// libFuzzer over URLs and the scheme handler's routing.
//
// The input is a URL's text. A URL that parses must read back the same from
// its own string, and its parts must be computable; resolving the text
// against a base must not fault. Every input is also handed to a scheme
// handler with the built-in routines as a load: it must be answered exactly
// once, within a bound. The remote schemes are served by a routine that
// answers at once, so no run reaches the network, and no symbol renderer is
// installed, so symbols are answered as unknown without drawing. Each input
// gets a handler of its own: one handler's list of completed loads grows
// with every run.
#include <zv/foundation/MainThread.h>
#include <zv/foundation/URL.h>
#include <zv/scheme/SchemeKeys.h>
#include <zv/scheme/ZVWebViewURLSchemeHandler.h>

#include <glib.h>

#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>
#include <string_view>

namespace {

[[noreturn]] void fail(const std::string& what) {
    std::fprintf(stderr, "%s\n", what.c_str());
    std::abort();
}

class CountingTask : public zv::URLSchemeTask {
public:
    explicit CountingTask(std::string url) { request_.url = std::move(url); }
    const zv::URLRequest& request() const override { return request_; }
    void respond(const zv::URLResponse&, const zv::Data*) override { ++answers; }
    void fail(const zv::Error&) override { ++answers; }
    int answers = 0;

private:
    zv::URLRequest request_;
};

void checkURL(std::string_view text) {
    const std::optional<zv::URL> url = zv::URL::parse(text);
    static const zv::URL base = *zv::URL::parse("https://host.example/a/b/c.html?q#f");
    zv::URL::parse(text, base);
    if (!url) return;
    const std::optional<zv::URL> again = zv::URL::parse(url->string());
    if (!again || again->string() != url->string())
        fail("\"" + url->string() + "\" reads back as " + (again ? "\"" + again->string() + "\"" : "no URL"));
    url->path();
    url->queryItems();
    url->lastPathComponent();
    url->pathExtension();
    url->filePath();
    url->deletingLastPathComponent();
    url->appendingPathComponent("x/y z");
    url->withScheme("zvfile");
    url->resolved("../d?e#f");
}

std::shared_ptr<zv::ZVWebViewURLSchemeHandler> makeHandler() {
    zv::ZVWebViewURLSchemeHandler::ResourceTable parts;
    parts["cid:part1@host"] = std::make_shared<const zv::ZVMimeResource>(
        zv::ZVMimeResource{zv::Data{'G', 'I', 'F'}, "cid:part1@host", "image/gif", ""});
    auto handler = zv::ZVWebViewURLSchemeHandler::create(std::move(parts));
    handler->setupHTTPOverrides();
    auto offline = [](const zv::URLRequest&, zv::ZVWebViewURLSchemeHandler::Completion completion) {
        completion(std::nullopt, std::nullopt, zv::Error{"fuzz", 1, "offline"}, true);
    };
    handler->registerScheme(zv::ZVWebViewInternalHTTPSchemeKey, offline);
    handler->registerScheme(zv::ZVWebViewInternalHTTPSSchemeKey, offline);
    return handler;
}

void checkRouting(std::string_view text) {
    const auto handler = makeHandler();
    auto task = std::make_shared<CountingTask>(std::string(text));
    handler->startURLSchemeTask(nullptr, task);
    if (!zv::spinMainContextUntil([&] { return task->answers > 0; }, std::chrono::seconds(5)))
        fail("no answer within 5 seconds");
    // Anything still queued runs now, so a second answer shows.
    while (g_main_context_iteration(nullptr, FALSE)) {
    }
    if (task->answers != 1) fail("answered " + std::to_string(task->answers) + " times");
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    zv::markMainThread();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    checkURL(text);
    checkRouting(text);
    return 0;
}
