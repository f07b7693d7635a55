#include <zv/reading/DarkAdaptation.h>

#include "ASCIIText.h"
#include "StyleText.h"
#include "DarkAdaptationPalette.h"
#include "../css/BodySelectorIndex.h"

#include <zv/html/HTMLElement.h>
#include <zv/html/HTMLNodeIterator.h>

#include <algorithm>
#include <array>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace zv {

namespace {

using html::HTMLElement;
using html::HTMLNode;
using html::Tag;
using namespace reading;

constexpr Color kWhite{1, 1, 1, 1};
constexpr Color kBlack{0, 0, 0, 1};
constexpr Color kDefaultLink{0, 0, 238 / 255.0, 1};
// Black at 60 % over a background image: over white it leaves #666, and the
// floor is held against that.
constexpr double kOverlayAlpha = 0.6;
constexpr Color kOverlaidWhite{0.4, 0.4, 0.4, 1};
// Above this OKLab lightness a backdrop counts as light.
constexpr double kLightBackdrop = 0.6;

enum Side { Top, Right, Bottom, Left };
constexpr std::string_view kSideNames[] = {"top", "right", "bottom", "left"};

// A declared value and whether "!important" held it, so a later plain
// declaration cannot replace an important one.
template <class T>
struct Slot {
    T value{};
    bool set = false;
    bool important = false;

    void assign(T newValue, bool isImportant) {
        if (set && important && !isImportant) return;
        value = std::move(newValue), set = true, important = isImportant;
    }
};

// A text colour as declared: nothing for "inherit" and "currentcolor";
// `unread` for a colour this code cannot read (var(), newer colour
// functions), which is replaced all the same, so the sender's dark text
// never stays on the dark page.
struct TextColor {
    std::optional<Color> color;
    bool unread = false;
};

// What an element's style attribute says about its colours. A background
// slot holding nothing means a colour that could not be read; a border slot
// holding nothing means the text colour.
struct StyleColors {
    Slot<TextColor> text;
    Slot<std::optional<Color>> background;
    Slot<bool> image;
    Slot<std::optional<Color>> border[4];
};

std::optional<Color> borderColor(std::string_view value, bool quirks) {
    for (std::string_view component : cssComponents(value))
        if (auto color = cssColor(component, quirks)) return color;
    return std::nullopt;
}

// A component of a background that names a colour this code cannot read.
bool isUnreadColor(std::string_view component) {
    std::string lower = toASCIILower(component.substr(0, std::min<std::size_t>(component.size(), 16)));
    for (std::string_view function : {"var(", "rgb(", "rgba(", "hsl(", "hsla(", "hwb(", "lab(", "lch(", "oklab(",
                                      "oklch(", "color(", "color-mix(", "light-dark("})
        if (lower.starts_with(function)) return true;
    return false;
}

void readBackgroundShorthand(StyleColors& colors, const Declaration& declaration, bool quirks) {
    std::optional<Color> background = Color{0, 0, 0, 0};
    bool image = false;
    for (std::string_view component : cssComponents(declaration.value)) {
        if (isCSSImage(component)) image = true;
        else if (auto color = cssColor(component, quirks)) background = *color;
        else if (isUnreadColor(component)) background = std::nullopt;
    }
    colors.background.assign(background, declaration.important);
    colors.image.assign(image, declaration.important);
}

void readBorderColors(StyleColors& colors, const Declaration& declaration, bool quirks) {
    std::vector<std::optional<Color>> values;
    for (std::string_view component : cssComponents(declaration.value)) {
        auto color = cssColor(component, quirks);
        if (!color && toASCIILower(component) != "currentcolor") return;
        values.push_back(color);
    }
    if (values.empty() || values.size() > 4) return;
    // One to four values: top, right, bottom, left, the missing ones copied
    // from their opposite side.
    static constexpr std::size_t kPick[4][4] = {{0, 0, 0, 0}, {0, 1, 0, 1}, {0, 1, 2, 1}, {0, 1, 2, 3}};
    for (int side = 0; side < 4; ++side)
        colors.border[side].assign(values[kPick[values.size() - 1][side]], declaration.important);
}

void readDeclarations(StyleColors& colors, std::string_view style, bool quirks) {
    for (const Declaration& declaration : styleDeclarations(style)) {
        const std::string& name = declaration.name;
        bool important = declaration.important;
        std::string value = toASCIILower(declaration.value);
        if (name == "color") {
            if (value == "inherit" || value == "currentcolor") colors.text.assign({}, important);
            else if (value == "initial") colors.text.assign({kBlack}, important);
            else if (auto color = cssColor(value, quirks)) colors.text.assign({color}, important);
            else if (!value.empty()) colors.text.assign({std::nullopt, true}, important);
        } else if (name == "background-color") {
            if (value == "initial") colors.background.assign(Color{0, 0, 0, 0}, important);
            else if (auto color = cssColor(value, quirks)) colors.background.assign(color, important);
            else if (!value.empty() && value != "inherit") colors.background.assign(std::nullopt, important);
        } else if (name == "background") {
            readBackgroundShorthand(colors, declaration, quirks);
        } else if (name == "background-image") {
            bool image = false;
            for (std::string_view component : cssComponents(declaration.value)) image = image || isCSSImage(component);
            colors.image.assign(image, important);
        } else if (name == "border-color") {
            readBorderColors(colors, declaration, quirks);
        } else if (name == "border") {
            for (auto& side : colors.border) side.assign(borderColor(value, quirks), important);
        } else if (name.starts_with("border-")) {
            for (int side = 0; side < 4; ++side) {
                std::string prefix = "border-" + std::string(kSideNames[side]);
                if (name == prefix) colors.border[side].assign(borderColor(value, quirks), important);
                else if (name == prefix + "-color") {
                    auto color = cssColor(value, quirks);
                    if (color || value == "currentcolor") colors.border[side].assign(color, important);
                }
            }
        }
    }
}

// A later rule's colours over an earlier one's, as if its declarations
// followed them.
template <class T>
void mergeSlot(Slot<T>& into, const Slot<T>& later) {
    if (later.set) into.assign(later.value, later.important);
}

void merge(StyleColors& into, const StyleColors& later) {
    mergeSlot(into.text, later.text);
    mergeSlot(into.background, later.background);
    mergeSlot(into.image, later.image);
    for (int side = 0; side < 4; ++side) mergeSlot(into.border[side], later.border[side]);
}

// What the style sheets' rules give an element.
struct SheetStyle {
    StyleColors colors;
    bool namesDarkScheme = false;
};

// Style sheet rules first, the style attribute over them: the cascade, less
// specificity (rules count in document order).
StyleColors readStyle(const HTMLElement& element, const SheetStyle* sheet, bool quirks) {
    StyleColors colors = sheet ? sheet->colors : StyleColors{};
    if (const std::string* style = element.attribute("style")) readDeclarations(colors, *style, quirks);
    return colors;
}

// The selector as it applies to an element's own colours: ":link" and
// ":visited" are read as matching every link, as a link's colour is wanted
// either way; state pseudo-classes never match a static tree, and rules for
// pseudo-elements colour generated content, not the element.
std::optional<std::string> staticSelector(std::string_view selector) {
    std::string text(selector);
    for (std::string_view pseudo : {":link", ":visited"})
        for (std::size_t at = text.find(pseudo); at != std::string::npos; at = text.find(pseudo)) text.erase(at, pseudo.size());
    std::string lower = toASCIILower(text);
    for (std::string_view element : {"::", ":before", ":after", ":first-line", ":first-letter"})
        if (lower.find(element) != std::string::npos) return std::nullopt;
    if (text.empty()) return std::nullopt;
    return text;
}

// "color-scheme" (or "prefers-color-scheme", "supported-color-schemes")
// followed by a colon and a value naming dark.
// The search goes on after the value it read: a name inside that value has
// no "dark" before the same end, and each byte is read once.
bool namesDarkScheme(std::string_view css) {
    std::string lower = toASCIILower(css);
    std::string_view text = lower;
    for (std::size_t at = text.find("color-scheme"); at != std::string_view::npos; at = text.find("color-scheme", at)) {
        std::size_t i = at + 12;
        if (i < text.size() && text[i] == 's') ++i;
        while (i < text.size() && (text[i] == ' ' || text[i] == '\t' || text[i] == '\n')) ++i;
        at = i;
        if (i >= text.size() || text[i] != ':') continue;
        std::size_t end = std::min(text.find_first_of(";})", i), text.size());
        if (text.substr(i, end - i).find("dark") != std::string_view::npos) return true;
        at = end;
    }
    return false;
}

// What the document's remaining style sheets give each element: the
// senders' colours that head CSS inlining left in place (sheets in the body,
// or all of them when the head was not purged). Each rule's declarations are
// read once, however many elements it matches. Selectors are looked up in an
// index of the tree, so a rule costs the elements that may match it, not a
// walk of the whole tree.
std::unordered_map<const HTMLElement*, SheetStyle> styleSheetStyles(const html::HTMLDocument& document,
                                                                   bool darkMediaRules, bool quirks) {
    // A hostile sheet of selectors the index cannot key (":not(x)" a hundred
    // thousand times) would still walk the tree for each; the rules left when
    // the walks add up to this many elements are not read.
    constexpr std::size_t kVisitBudget = 10'000'000;
    std::unordered_map<const HTMLElement*, SheetStyle> styles;
    // The index only reads the tree.
    auto* root = const_cast<HTMLElement*>(document.documentElement());
    if (!root) return styles;
    css::BodySelectorIndex index(*root);
    const html::HTMLQuirksMode quirksMode = document.quirksMode();
    for (const HTMLElement* sheet : document.querySelectorAll("style")) {
        if (sheet->htmlNamespace() != html::Namespace::HTML) continue;
        std::string text = sheet->textContent();
        for (const StyleRule& rule : styleSheetRules(text, darkMediaRules)) {
            StyleColors colors;
            readDeclarations(colors, rule.declarations, quirks);
            bool namesDark = namesDarkScheme(rule.declarations);
            for (std::string_view written : rule.selectors) {
                if (index.elementsVisited() > kVisitBudget) return styles;
                auto selector = staticSelector(written);
                if (!selector) continue;
                auto apply = [&](const HTMLElement* element) {
                    SheetStyle& style = styles[element];
                    merge(style.colors, colors);
                    style.namesDarkScheme = style.namesDarkScheme || namesDark;
                };
                // The index finds the root's descendants; the root is asked apart.
                if (html::CSSSelector parsed = html::CSSSelector::parse(*selector);
                    parsed.isValid() && parsed.matches(*root, quirksMode))
                    apply(root);
                for (const HTMLElement* element : index.elementsMatching(*selector)) apply(element);
            }
        }
    }
    return styles;
}

bool takesBgcolor(const HTMLElement& element) {
    switch (element.tag()) {
    case Tag::body: case Tag::table: case Tag::thead: case Tag::tbody: case Tag::tfoot: case Tag::tr: case Tag::td:
    case Tag::th:
        return true;
    default:
        return false;
    }
}

bool takesBackgroundAttribute(const HTMLElement& element) {
    return element.is(Tag::body) || element.is(Tag::table) || element.is(Tag::td) || element.is(Tag::th);
}

std::optional<Color> legacyAttribute(const HTMLElement& element, std::string_view name) {
    const std::string* value = element.attribute(name);
    return value ? legacyColor(*value) : std::nullopt;
}

// The background the element paints, as it would be without adaptation.
// A background colour that could not be read counts as `unread`.
std::optional<Color> ownBackground(const HTMLElement& element, const StyleColors& colors,
                                   std::optional<Color> unread) {
    if (colors.background.set) return colors.background.value ? colors.background.value : unread;
    if (takesBgcolor(element))
        if (auto color = legacyAttribute(element, "bgcolor")) return color;
    if (element.is(Tag::mark)) return Color{1, 1, 0, 1};
    return std::nullopt;
}

bool hasBackgroundImage(const HTMLElement& element, const StyleColors& colors) {
    if (colors.image.set) return colors.image.value;
    const std::string* attribute = takesBackgroundAttribute(element) ? element.attribute("background") : nullptr;
    return attribute && attribute->find_first_not_of(" \t\n\r\f") != std::string::npos;
}

bool mayBeTransparent(const HTMLElement& image) {
    const std::string* source = image.attribute("src");
    if (!source) return false;
    std::string lower = toASCIILower(std::string_view(*source).substr(0, 2048));
    return lower.find(".jpg") == std::string::npos && lower.find(".jpeg") == std::string::npos &&
           lower.find("image/jpeg") == std::string::npos;
}

bool skipsSubtree(const HTMLElement& element) {
    if (element.htmlNamespace() != html::Namespace::HTML) return true;
    switch (element.tag()) {
    case Tag::head: case Tag::script: case Tag::style: case Tag::template_: case Tag::title:
        return true;
    default:
        return false;
    }
}

// The colours an element passes to its children.
struct Context {
    bool overImage = false;  // drawn over a background image, whose colours are not known
    Color originalText = kBlack;
    Color adaptedText = kWhite;
    Color originalBackdrop = kWhite;
    Color adaptedBackdrop = kBlack;  // what text on it is measured against
    std::optional<Color> linkColor;  // the body's link attribute
};

std::string hex(const Color& color) { return hashLabelCSSStringRepresentation(rounded(composite(color, kBlack))); }

// The text of each style element not inside another: an SVG style element
// may hold elements, a style among them, whose text is part of the outer
// one's. Reading only the outer ones reads every sheet's text once.
std::vector<std::string> outermostSheetTexts(const HTMLElement& root) {
    std::vector<std::string> texts;
    const HTMLNode* node = &root;
    while (node) {
        const auto* element = node->as<HTMLElement>();
        if (!element || element->localName() != "style") {
            node = html::nextNodeInSubtree(node, &root);
            continue;
        }
        texts.push_back(element->textContent());
        node = html::nextNodeSkippingChildren(node, &root);
    }
    return texts;
}

bool metaNamesDarkScheme(const HTMLElement& root) {
    for (const HTMLElement* meta : root.querySelectorAll("meta[name]")) {
        std::string name = toASCIILower(*meta->attribute("name"));
        const std::string* content = meta->attribute("content");
        if ((name == "color-scheme" || name == "supported-color-schemes") && content &&
            toASCIILower(*content).find("dark") != std::string::npos)
            return true;
    }
    return false;
}

void appendDeclarations(HTMLElement& element, const std::string& added) {
    if (added.empty()) return;
    const std::string* style = element.attribute("style");
    std::string text = style ? *style + declarationBoundary(*style) : std::string();
    element.setAttribute("style", text + added);
}

std::string importantDeclaration(std::string_view name, const std::string& value) {
    return std::string(name) + ": " + value + " !important;";
}

class Adapter {
public:
    // With `keepDesign`, the message's own dark colours (its style sheets'
    // rules for a dark scheme among them) stay, and only text under the
    // contrast floor is changed.
    Adapter(const html::HTMLDocument& document, const DarkAdaptationOptions& options, bool keepDesign)
        : quirks_(document.quirksMode() == html::HTMLQuirksMode::Quirks), keepDesign_(keepDesign), options_(options),
          sheets_(styleSheetStyles(document, keepDesign, quirks_)) {}

    DarkAdaptationReport report;

    void run(HTMLElement& root, HTMLElement* body) {
        struct Frame {
            HTMLElement* element;
            Context context;
        };
        std::vector<Frame> stack;
        stack.push_back({&root, pageContext(root, body)});
        if (keepDesign_) appendDeclarations(root, darkSchemeDeclarations(root, body));
        while (!stack.empty()) {
            Frame frame = std::move(stack.back());
            stack.pop_back();
            if (skipsSubtree(*frame.element)) continue;
            Context context = keepDesign_ ? holdToFloor(*frame.element, frame.context)
                                          : adapt(*frame.element, frame.context);
            for (HTMLNode* child = frame.element->firstChild(); child; child = child->nextSibling())
                if (auto* element = child->as<HTMLElement>()) stack.push_back({element, context});
        }
    }

private:
    bool quirks_;
    bool keepDesign_;
    DarkAdaptationOptions options_;
    std::unordered_map<std::string, Color> textCache_;
    std::unordered_map<const HTMLElement*, SheetStyle> sheets_;

    // What a background colour that could not be read is taken for: light,
    // so it is replaced with a dark one and text is held to the floor there.
    // A message's own dark design keeps it, whatever it is.
    std::optional<Color> unreadBackground() const { return keepDesign_ ? std::nullopt : std::optional(kWhite); }

    StyleColors colorsOf(const HTMLElement& element) const {
        auto found = sheets_.find(&element);
        return readStyle(element, found == sheets_.end() ? nullptr : &found->second, quirks_);
    }

    std::optional<Color> pageBackground(const HTMLElement& root, const HTMLElement* body) const {
        std::optional<Color> background = ownBackground(root, colorsOf(root), unreadBackground());
        if ((!background || background->a == 0) && body)
            background = ownBackground(*body, colorsOf(*body), unreadBackground());
        return background;
    }

    // The page before its root is reached: the root's background, else the
    // body's (which the engine paints on the whole canvas), else white.
    Context pageContext(const HTMLElement& root, const HTMLElement* body) {
        Context page;
        std::optional<Color> background = pageBackground(root, body);
        // A message with dark styles of its own is drawn in the dark scheme,
        // as clients in dark mode draw those: a dark canvas, light text.
        Color canvas = keepDesign_ ? darkPageBackground() : kWhite;
        if (keepDesign_) page.originalText = kWhite;
        page.originalBackdrop = composite(background && background->a > 0 ? *background : canvas, canvas);
        page.adaptedBackdrop = darkBackground(page.originalBackdrop);
        page.adaptedText = adaptedText(kBlack, page);
        if (body) page.linkColor = legacyAttribute(*body, "link");
        return page;
    }

    // What draws a message with dark styles of its own in the dark scheme:
    // the scheme unless it names it, and the dark canvas unless it paints one
    // (engines differ on the canvas a dark scheme gets).
    std::string darkSchemeDeclarations(const HTMLElement& root, const HTMLElement* body) const {
        std::string declarations = declaresDarkScheme(root, body) ? "" : "color-scheme: dark;";
        std::optional<Color> background = pageBackground(root, body);
        if (!background || background->a == 0) declarations += "background-color: " + hex(darkPageBackground()) + ";";
        return declarations;
    }

    bool declaresDarkScheme(const HTMLElement& root, const HTMLElement* body) const {
        for (const HTMLElement* element : {&root, body}) {
            if (!element) continue;
            auto found = sheets_.find(element);
            if (found != sheets_.end() && found->second.namesDarkScheme) return true;
            if (const std::string* style = element->attribute("style"); style && namesDarkScheme(*style)) return true;
        }
        return metaNamesDarkScheme(root);
    }

    Color adaptedText(const Color& original, const Context& context) {
        std::string key;
        for (const Color& color : {original, context.originalBackdrop, context.adaptedBackdrop})
            key += hex(color);
        auto found = textCache_.find(key);
        if (found != textCache_.end()) return found->second;
        Color text = darkText(original, context.originalBackdrop, context.adaptedBackdrop, options_.minimumTextContrast);
        textCache_.emplace(std::move(key), text);
        return text;
    }

    // The text colour the element sets for itself, before adaptation.
    std::optional<Color> ownText(const HTMLElement& element, const StyleColors& colors, const Context& parent) {
        bool link = element.is(Tag::a) && element.hasAttribute("href");
        if (colors.text.set) {
            const TextColor& declared = colors.text.value;
            if (declared.color) return declared.color;
            return link || declared.unread ? std::optional(parent.originalText) : std::nullopt;
        }
        if (element.is(Tag::font))
            if (auto color = legacyAttribute(element, "color")) return color;
        if (element.is(Tag::body))
            if (auto color = legacyAttribute(element, "text")) return color;
        if (link) return parent.linkColor.value_or(kDefaultLink);
        if (element.is(Tag::mark)) return kBlack;
        return std::nullopt;
    }

    Context adapt(HTMLElement& element, const Context& parent) {
        StyleColors colors = colorsOf(element);
        Context context = parent;
        std::string added;
        auto add = [&](std::string_view name, const std::string& value) { added += importantDeclaration(name, value); };

        bool root = element.is(Tag::html);
        std::optional<Color> background = ownBackground(element, colors, unreadBackground());
        bool paintsBackground = root || (background && background->a > 0);
        if (paintsBackground && !root) {
            context.originalBackdrop = composite(*background, parent.originalBackdrop);
            context.adaptedBackdrop = darkBackground(context.originalBackdrop);
        }
        if (paintsBackground) {
            add("background-color", hex(context.adaptedBackdrop));
            ++report.backgrounds;
        }
        if (hasBackgroundImage(element, colors)) {
            add("box-shadow", "inset 0 0 0 100vmax rgba(0, 0, 0, " + std::to_string(kOverlayAlpha).substr(0, 3) + ")");
            context.adaptedBackdrop = kOverlaidWhite;
            ++report.backgroundImageOverlays;
        }
        if (root) add("color-scheme", "dark");

        std::optional<Color> text = ownText(element, colors, parent);
        if (text) context.originalText = composite(*text, context.originalBackdrop);
        bool backdropChanged = !(context.adaptedBackdrop == parent.adaptedBackdrop) ||
                               !(context.originalBackdrop == parent.originalBackdrop);
        if (text || backdropChanged || root) {
            context.adaptedText = adaptedText(context.originalText, context);
            if (text || root || !(context.adaptedText == parent.adaptedText)) {
                add("color", hex(context.adaptedText));
                ++report.textColors;
            }
        }

        bool bordered = false;
        for (int side = 0; side < 4; ++side) {
            const auto& slot = colors.border[side];
            if (!slot.set || !slot.value || slot.value->a == 0) continue;
            add("border-" + std::string(kSideNames[side]) + "-color",
                hex(darkLine(composite(*slot.value, context.originalBackdrop))));
            bordered = true;
        }
        report.borders += bordered;

        if (element.is(Tag::img) && context.adaptedBackdrop == darkBackground(context.originalBackdrop) &&
            perceivedLightness(context.originalBackdrop) > kLightBackdrop && mayBeTransparent(element)) {
            add("background-color", hex(context.originalBackdrop));
            // An image that does not load shows its alt text on that backdrop.
            add("color", hex(context.originalText));
            ++report.imageBackdrops;
        }

        appendDeclarations(element, added);
        return context;
    }

    // The sender's colours resolved as they are; text that falls under the
    // floor against them is lightened or darkened along its own hue.
    Context holdToFloor(HTMLElement& element, const Context& parent) {
        StyleColors colors = colorsOf(element);
        Context context = parent;
        std::optional<Color> background = ownBackground(element, colors, unreadBackground());
        bool backdropChanged = background && background->a > 0;
        if (backdropChanged) {
            context.originalBackdrop = composite(*background, parent.originalBackdrop);
            if (background->a >= 1) context.overImage = false;
        }
        if (hasBackgroundImage(element, colors)) context.overImage = true;
        std::optional<Color> text = ownText(element, colors, parent);
        if (text) context.originalText = composite(*text, context.originalBackdrop);
        if ((!text && !backdropChanged) || context.overImage) return context;
        if (contrastRatio(context.originalText, context.originalBackdrop) >= options_.minimumTextContrast) return context;
        context.originalText = legibleText(context.originalText, context.originalBackdrop, options_.minimumTextContrast);
        appendDeclarations(element, importantDeclaration("color", hex(context.originalText)));
        ++report.textColors;
        return context;
    }
};

}  // namespace

Color darkPageBackground() { return darkBackground(kWhite); }

bool declaresOwnDarkAppearance(const html::HTMLDocument& document) {
    const HTMLElement* root = document.documentElement();
    if (!root) return false;
    for (const HTMLElement* element : {root, static_cast<const HTMLElement*>(document.body())}) {
        if (!element) continue;
        if (const std::string* style = element->attribute("style"); style && namesDarkScheme(*style)) return true;
    }
    if (metaNamesDarkScheme(*root)) return true;
    return std::ranges::any_of(outermostSheetTexts(*root), namesDarkScheme);
}

DarkAdaptationReport adaptDocumentForDarkAppearance(html::HTMLDocument& document, const DarkAdaptationOptions& options) {
    HTMLElement* root = document.documentElement();
    if (!root) return {};
    bool own = declaresOwnDarkAppearance(document);
    Adapter adapter(document, options, own);
    adapter.run(*root, document.body());
    adapter.report.leftAsDesigned = own;
    return adapter.report;
}

}  // namespace zv
