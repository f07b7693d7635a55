#include "FileSchemeRoutine.h"

#include <zv/foundation/ImageMimeType.h>
#include <zv/foundation/URL.h>

#include <glib.h>

#include <algorithm>
#include <array>
#include <fstream>
#include <iterator>
#include <string_view>

namespace zv {

namespace {

constexpr std::array<std::string_view, 6> kImageExtensions = {"bmp", "tiff", "jpg", "jpeg", "gif", "png"};

std::optional<Data> readBytes(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    if (!in) return std::nullopt;
    return Data(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

std::string lowerCased(std::string text) {
    std::transform(text.begin(), text.end(), text.begin(), [](unsigned char c) { return char(g_ascii_tolower(c)); });
    return text;
}

}  // namespace

ZVWebViewURLSchemeHandler::Routine fileSchemeRoutine() {
    return [](const URLRequest& request, ZVWebViewURLSchemeHandler::Completion completion) {
        std::optional<URL> url = URL::parse(request.url);
        std::optional<URL> fileURL = url ? url->withScheme("file") : std::nullopt;
        std::optional<std::string> path = fileURL ? fileURL->filePath() : std::nullopt;
        std::optional<Data> bytes = path ? readBytes(*path) : std::nullopt;
        if (!bytes) return;
        std::string extension = url->pathExtension();
        std::string mimeType;
        if (std::ranges::find(kImageExtensions, lowerCased(extension)) != kImageExtensions.end())
            mimeType = imageMimeType(std::string_view(reinterpret_cast<const char*>(bytes->data()), bytes->size()));
        else if (extension == "css" &&
                 g_utf8_validate_len(reinterpret_cast<const char*>(bytes->data()), gssize(bytes->size()), nullptr))
            mimeType = "text/css";
        if (mimeType.empty()) return;
        auto length = std::int64_t(bytes->size());
        completion(URLResponse::forData(request.url, mimeType, length), std::move(bytes), std::nullopt, true);
    };
}

}  // namespace zv
