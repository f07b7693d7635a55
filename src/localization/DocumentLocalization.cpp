#include <zv/localization/DocumentLocalization.h>

#include <zv/foundation/Strings.h>
#include <zv/html/HTMLCharacterData.h>
#include <zv/html/HTMLElement.h>
#include <zv/html/HTMLEntities.h>

#include <unicode/locid.h>
#include <unicode/unistr.h>

#include <vector>

namespace zv {

namespace {

using html::HTMLElement;

std::string upperCased(std::string_view text) {
    icu::UnicodeString unicode = icu::UnicodeString::fromUTF8(icu::StringPiece(text.data(), int32_t(text.size())));
    std::string out;
    unicode.toUpper(icu::Locale::getRoot()).toUTF8String(out);
    return out;
}

void replaceAll(std::string& text, std::string_view what, std::string_view with) {
    if (what.empty()) return;
    for (size_t at = text.find(what); at != std::string::npos; at = text.find(what, at + with.size()))
        text.replace(at, what.size(), with);
}

bool found(const std::string& value) { return !value.empty() && value != kNotLocalizedMarker; }

void localizeAccessibilityLabels(html::HTMLDocument& document, const PageLocalization& strings) {
    for (HTMLElement* element : document.querySelectorAll("[accessibilitykey]")) {
        std::string key = *element->attribute("accessibilitykey");
        if (key.empty()) continue;
        std::string labelKey = key + ".axLabel";
        std::string label = strings.localizedStringForKey(labelKey);
        if (!label.empty() && label != labelKey) element->setAttribute("aria-label", label);
    }
}

void localizeTitle(html::HTMLDocument& document, const PageLocalization& strings,
                   const std::function<void(const std::string&)>& setTitle) {
    HTMLElement* title = document.querySelector("title");
    const std::string* key = title ? title->attribute("localizationkey") : nullptr;
    if (!key || !setTitle) return;
    std::string text = strings.localizedStringForKey(*key, kNotLocalizedMarker);
    setTitle(text == kNotLocalizedMarker ? upperCased(*key) : text);
}

// Marks untranslated text by upper-casing the element's own text nodes.
void upperCaseOwnText(HTMLElement& element) {
    element.enumerateChildNodes([](html::HTMLNode& child) {
        if (auto* text = child.as<html::HTMLText>())
            text->setData(text->data().empty() ? std::string(kNotLocalizedMarker) : upperCased(text->data()));
        return true;
    });
}

void setLocalizedText(HTMLElement& element, std::string text, const PageLocalization::StringMap& variables) {
    for (const auto& [name, value] : variables) replaceAll(text, "{$" + name + "}", value);
    if (text.find_first_of("\r\n") == std::string::npos) {
        element.setTextContent(text);
        return;
    }
    std::string markup = html::stringByEncodingHTMLEntities(text);
    replaceAll(markup, "\r", "<br/>");
    replaceAll(markup, "\n", "<br/>&nbsp;<br/>");
    element.setInnerHTML(markup);
}

void applyStyle(HTMLElement& element, const std::string& style) {
    if (!style.starts_with("+")) {
        element.setAttribute("style", style);
        return;
    }
    // Appending to nothing adds nothing: an element without a style keeps none.
    const std::string* current = element.attribute("style");
    if (!current) return;
    std::string combined = zvTrim(*current);
    if (!combined.empty() && !combined.ends_with(";")) combined += "; ";
    element.setAttribute("style", combined + style.substr(1));
}

void localizeElement(HTMLElement& element, const PageLocalization& strings) {
    const std::string* keyAttribute =
        element.attribute(element.name() == "localization" ? "key" : "localizationkey");
    if (!keyAttribute || keyAttribute->empty()) return;
    const std::string key = *keyAttribute;
    PageLocalization::StringMap variables = strings.localizationVariableTable();

    std::string markup = strings.localizedHTMLForKey(key, kNotLocalizedMarker);
    if (found(markup)) {
        element.setInnerHTML(markup);
    } else if (!element.textContent().empty()) {
        std::string text = strings.localizedTextForKey(key, kNotLocalizedMarker);
        if (found(text))
            setLocalizedText(element, std::move(text), variables);
        else
            upperCaseOwnText(element);
    }
    if (std::string style = strings.localizedStyleForKey(key, kNotLocalizedMarker); found(style))
        applyStyle(element, style);
    if (std::string href = strings.localizedHRefForKey(key, kNotLocalizedMarker); found(href))
        element.setAttribute("href", href);
    if (std::string src = strings.localizedSrcForKey(key, kNotLocalizedMarker); found(src))
        element.setAttribute("src", src);
}

}  // namespace

void localizeHTMLDocument(html::HTMLDocument& document, const PageLocalization& strings,
                          const std::function<void(const std::string&)>& setTitle) {
    localizeAccessibilityLabels(document, strings);
    localizeTitle(document, strings, setTitle);
    // An element with both forms is visited twice, as each list is walked whole.
    std::vector<HTMLElement*> elements = document.querySelectorAll("[localizationkey]");
    for (HTMLElement* element : document.querySelectorAll("localization")) elements.push_back(element);
    for (HTMLElement* element : elements) localizeElement(*element, strings);
}

std::string localizeHTML(std::string_view html, const PageLocalization& strings,
                         const std::function<void(const std::string&)>& setTitle) {
    auto document = html::HTMLDocument::documentWithString(html);
    localizeHTMLDocument(*document, strings, setTitle);
    return document->documentElement()->outerHTML();
}

void resolveHTMLDocument(html::HTMLDocument& document, const URL& pageURL) {
    if (!pageURL.isFileURL()) return;
    URL directory = pageURL.deletingLastPathComponent();
    for (HTMLElement* element : document.querySelectorAll("img, link")) {
        const char* name = element->name() == "img" ? "src" : "href";
        const std::string* value = element->attribute(name);
        if (!value || URL::parse(*value)) continue;
        std::optional<URL> resolved = directory.appendingPathComponent(*value).withScheme("zvfile");
        if (resolved) element->setAttribute(name, resolved->string());
    }
}

std::string rewriteHTML(std::string_view html, const URL& pageURL) {
    if (!pageURL.isFileURL()) return std::string(html);
    auto document = html::HTMLDocument::documentWithString(html);
    resolveHTMLDocument(*document, pageURL);
    return document->documentElement()->outerHTML();
}

}  // namespace zv
