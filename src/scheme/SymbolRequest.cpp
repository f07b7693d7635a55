// "wren-symbol" requests and the placeholder for missing message parts.
#include <zv/scheme/SymbolImage.h>
#include <zv/scheme/ZVWebViewURLSchemeHandler.h>

#include <zv/foundation/URL.h>
#include <zv/scheme/AccentColor.h>

#include <glib.h>

#include <cctype>
#include <climits>
#include <mutex>

namespace zv {

namespace {

std::mutex gRendererMutex;
SymbolRenderer gRenderer;

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
}

SymbolRenderer symbolRenderer() {
    std::lock_guard lock(gRendererMutex);
    return gRenderer;
}

void ZVWebViewURLSchemeHandler::handleSymbolRequest(const URLRequest& request, Completion completion) {
    auto symbol = symbolImageRequestFromURL(request.url);
    auto renderer = symbolRenderer();
    std::optional<Data> png = symbol && renderer ? renderer(*symbol) : std::nullopt;
    if (!png) {
        std::string name = symbol ? symbol->name : request.url;
        completion(std::nullopt, std::nullopt,
                   Error{kURLErrorDomain, kURLErrorFileDoesNotExist, "There is no symbol named \"" + name + "\"."},
                   false);
        return;
    }
    auto length = std::int64_t(png->size());
    completion(URLResponse::forData(request.url, "image/png", length), std::move(png), std::nullopt, true);
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
