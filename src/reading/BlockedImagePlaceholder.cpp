#include "BlockedImagePlaceholder.h"

#include "ASCIIText.h"
#include "InlineStyleValues.h"
#include "StyleText.h"

#include <zv/html/HTMLElement.h>

#include <cmath>
#include <optional>
#include <string>

namespace zv::reading {

namespace {

using html::HTMLElement;

// Below this a declared box cannot hold its text: the box takes its text's size.
constexpr double kSmallestBoxWidth = 64;
constexpr double kSmallestBoxHeight = 36;
constexpr std::size_t kLongestLabel = 120;

std::string dimensionText(double pixels) { return std::to_string(std::lround(pixels)); }

// The last path segment of `url` ("banner.png"), else its host; "" for neither.
std::string nameInURL(std::string_view url) {
    std::size_t authority = url.find("//");
    if (authority == std::string_view::npos) return "";
    url.remove_prefix(authority + 2);
    url = url.substr(0, std::min(url.find_first_of("?#"), url.size()));
    std::size_t slash = url.rfind('/');
    std::string_view host = url.substr(0, url.find('/'));
    if (slash != std::string_view::npos && slash + 1 < url.size()) return std::string(url.substr(slash + 1));
    return std::string(host);
}

// At most `limit` bytes of `text`, cut at a character's start.
std::string shortened(std::string_view text, std::size_t limit) {
    if (text.size() <= limit) return std::string(text);
    std::size_t end = limit;
    while (end > 0 && (static_cast<unsigned char>(text[end]) & 0xC0) == 0x80) --end;
    return std::string(text.substr(0, end)) + "…";
}

html::Ref<HTMLElement> textSpan(std::string_view text, const char* style) {
    auto span = HTMLElement::create("span");
    span->setAttribute("style", style);
    span->setTextContent(text);
    return span;
}

}  // namespace

void placeBlockedImagePlaceholder(HTMLElement& image, std::string_view url) {
    html::HTMLNode* parent = image.parentNode();
    if (!parent) return;
    std::optional<double> width = declaredImageDimension(image, "width");
    std::optional<double> height = declaredImageDimension(image, "height");
    const std::string* alt = image.attribute("alt");
    std::string label = shortened(trimASCIIWhitespace(alt ? *alt : nameInURL(url)), kLongestLabel);
    if (label.empty() && !(width && height)) return;

    std::string size;
    if (width && height) size = dimensionText(*width) + " × " + dimensionText(*height);
    else if (width) size = dimensionText(*width) + " wide";
    else if (height) size = dimensionText(*height) + " high";
    bool boxed = width && *width >= kSmallestBoxWidth && (!height || *height >= kSmallestBoxHeight);

    std::string style =
        "display:inline-flex;align-items:center;justify-content:center;gap:2px 4px;box-sizing:border-box;"
        "max-width:100%;overflow:hidden;vertical-align:bottom;text-align:center;overflow-wrap:anywhere;"
        "border:1px dashed rgba(128,128,128,0.6);border-radius:4px;background:rgba(128,128,128,0.1);"
        "font:12px/1.35 sans-serif;";
    if (boxed) {
        style += "flex-direction:column;padding:4px 8px;width:" + dimensionText(*width) + "px;";
        style += height ? "height:" + dimensionText(*height) + "px;"
                        : "min-height:" + dimensionText(kSmallestBoxHeight) + "px;";
    } else {
        style += "padding:1px 6px;";
    }
    // A picture set on a line of its own keeps that line.
    if (const std::string* own = image.attribute("style"); own && inlineStyleValue(*own, "display") == "block")
        style += "display:flex;";

    auto placeholder = HTMLElement::create("span");
    placeholder->setAttribute("role", "img");
    if (!label.empty()) placeholder->setAttribute("aria-label", label);
    placeholder->setAttribute("style", style);
    parent->insertNode(html::Ref<html::HTMLNode>(placeholder.get()), &image);
    // Kept, hidden, so the document still says what was refused.
    const std::string* own = image.attribute("style");
    std::string hidden = (own ? *own + declarationBoundary(*own) : std::string()) + "display:none !important";
    placeholder->appendNode(html::Ref<html::HTMLNode>(&image));
    image.setAttribute("style", hidden);
    if (!label.empty()) placeholder->appendNode(textSpan(label, "opacity:0.85"));
    if (!size.empty()) placeholder->appendNode(textSpan(size, "font-size:11px;opacity:0.65"));
}

}  // namespace zv::reading
