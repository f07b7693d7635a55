// "wren-symbol" requests and the placeholder for missing message parts.
#include <zv/scheme/SymbolImage.h>
#include <zv/scheme/ZVWebViewURLSchemeHandler.h>

#include <zv/foundation/OperationQueue.h>
#include <zv/foundation/URL.h>
#include <zv/scheme/AccentColor.h>

#include <glib.h>

#include <cctype>
#include <climits>
#include <map>
#include <mutex>

namespace zv {

namespace {

// A page asks for the same few symbols again and again (the placeholder of
// every missing part), so the last ones drawn are kept by URL, for as long
// as the renderer that drew them is installed.
constexpr size_t kKeptSymbols = 64;

std::mutex gRendererMutex;
SymbolRenderer gRenderer;
unsigned gRendererGeneration = 0;
std::map<std::string, std::shared_ptr<const Data>> gDrawn;

// Symbols are drawn here, one at a time: a page of them would otherwise hold
// the main loop for a millisecond or two each.
OperationQueue& drawingQueue() {
    static const std::shared_ptr<OperationQueue> queue =
        OperationQueue::withSetup([](OperationQueue& created) { created.setMaxConcurrentOperationCount(1); }, nullptr);
    return *queue;
}

std::shared_ptr<const Data> drawn(const std::string& url) {
    std::lock_guard lock(gRendererMutex);
    auto found = gDrawn.find(url);
    return found == gDrawn.end() ? nullptr : found->second;
}

void keepDrawn(const std::string& url, std::shared_ptr<const Data> png, unsigned generation) {
    std::lock_guard lock(gRendererMutex);
    if (generation != gRendererGeneration) return;
    if (gDrawn.size() >= kKeptSymbols) gDrawn.clear();
    gDrawn.emplace(url, std::move(png));
}

void answerSymbol(const std::string& url, const SymbolRenderer& renderer, unsigned generation,
                  const ZVWebViewURLSchemeHandler::Completion& completion) {
    auto png = drawn(url);
    auto symbol = symbolImageRequestFromURL(url);
    if (!png && symbol && renderer) {
        if (auto rendered = renderer(*symbol)) {
            png = std::make_shared<const Data>(std::move(*rendered));
            keepDrawn(url, png, generation);
        }
    }
    if (!png) {
        std::string name = symbol ? symbol->name : url;
        completion(std::nullopt, std::nullopt,
                   Error{kURLErrorDomain, kURLErrorFileDoesNotExist, "There is no symbol named \"" + name + "\"."},
                   false);
        return;
    }
    completion(URLResponse::forData(url, "image/png", std::int64_t(png->size())), *png, std::nullopt, true);
}

std::string lowerCased(std::string text) {
    for (char& c : text) c = char(std::tolower(static_cast<unsigned char>(c)));
    return text;
}

// The leading integer of `text`, as a lenient number reader takes it: white
// space, a sign, digits, anything after ignored ("36px" is 36, "abc" is 0).
long long leadingInteger(const std::string& text) {
    size_t at = 0;
    while (at < text.size() && std::isspace(static_cast<unsigned char>(text[at]))) ++at;
    bool negative = at < text.size() && text[at] == '-';
    if (at < text.size() && (text[at] == '-' || text[at] == '+')) ++at;
    long long value = 0;
    for (; at < text.size() && std::isdigit(static_cast<unsigned char>(text[at])); ++at) {
        value = value > (LLONG_MAX - 9) / 10 ? LLONG_MAX : value * 10 + (text[at] - '0');
    }
    return negative ? -value : value;
}

std::optional<SymbolWeight> weightNamed(const std::string& name) {
    static const std::pair<const char*, SymbolWeight> kWeights[] = {
        {"ultra", SymbolWeight::UltraLight}, {"thin", SymbolWeight::Thin},         {"light", SymbolWeight::Light},
        {"medium", SymbolWeight::Medium},    {"semibold", SymbolWeight::Semibold}, {"bold", SymbolWeight::Bold},
        {"heavy", SymbolWeight::Heavy},      {"black", SymbolWeight::Black},
    };
    for (const auto& [text, weight] : kWeights) {
        if (name == text) return weight;
    }
    return std::nullopt;
}

}  // namespace

std::optional<SymbolImageRequest> symbolImageRequestFromURL(std::string_view text) {
    auto url = URL::parse(text);
    if (!url) return std::nullopt;
    SymbolImageRequest request;
    request.name = url->path();
    long long size = 48;
    for (const URLQueryItem& item : url->queryItems()) {
        if (!item.value) continue;
        std::string name = lowerCased(item.name);
        if (name == "size") {
            if (long long value = leadingInteger(*item.value); value > 0) size = value;
        } else if (name == "weight") {
            if (auto weight = weightNamed(lowerCased(*item.value))) request.weight = *weight;
        } else if (name == "color") {
            if (auto color = colorFromStringRepresentation(lowerCased(*item.value))) request.color = color;
        }
    }
    request.pointSize = 2.0 * double(size);
    return request;
}

void setSymbolRenderer(SymbolRenderer renderer) {
    std::lock_guard lock(gRendererMutex);
    gRenderer = std::move(renderer);
    ++gRendererGeneration;
    gDrawn.clear();
}

SymbolRenderer symbolRenderer() {
    std::lock_guard lock(gRendererMutex);
    return gRenderer;
}

void ZVWebViewURLSchemeHandler::handleSymbolRequest(const URLRequest& request, Completion completion) {
    SymbolRenderer renderer;
    unsigned generation;
    {
        std::lock_guard lock(gRendererMutex);
        renderer = gRenderer;
        generation = gRendererGeneration;
    }
    drawingQueue().addOperation([url = request.url, renderer = std::move(renderer), generation,
                                 completion = std::move(completion)] {
        answerSymbol(url, renderer, generation, completion);
    });
}

void ZVWebViewURLSchemeHandler::makeMissingResourceWithHandler(Completion completion) {
    // The colour is written "#rrggbb": escaped, or its "#" would start a fragment.
    char* color = g_uri_escape_string(hashLabelCSSStringRepresentation(controlAccentColor()).c_str(), nullptr, FALSE);
    std::string url = std::string(ZVWebViewInternalSymbolSchemeKey) + ":questionmark.square.dashed?size=36&color=" +
                      color + "&weight=light";
    g_free(color);
    URLRequest request;
    request.url = std::move(url);
    handleSymbolRequest(request, std::move(completion));
}

}  // namespace zv
