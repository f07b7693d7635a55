#include <zv/css/HeadCSSInlining.h>
#include <zv/html/HTMLElement.h>
#include <zv/html/HTMLParser.h>
#include <zv/reading/DarkAdaptation.h>
#include <zv/text/InlineStyle.h>

#include <gtest/gtest.h>

#include <chrono>
#include <cmath>
#include <future>
#include <string>

namespace {

using zv::Color;
using zv::html::HTMLDocument;
using zv::html::HTMLParser;

// WCAG 2, written out here so the floor is checked against an independent sum.
double luminance(const Color& c) {
    auto channel = [](double v) { return v <= 0.04045 ? v / 12.92 : std::pow((v + 0.055) / 1.055, 2.4); };
    return 0.2126 * channel(c.r) + 0.7152 * channel(c.g) + 0.0722 * channel(c.b);
}

double contrast(const Color& a, const Color& b) {
    double x = luminance(a), y = luminance(b);
    return (std::max(x, y) + 0.05) / (std::min(x, y) + 0.05);
}

struct Adapted {
    zv::html::Ref<HTMLDocument> document;
    zv::DarkAdaptationReport report;

    // The colour the adaptation gave `property` on the element with `id`
    // (the last declaration wins), or nothing.
    std::optional<Color> color(const std::string& id, const std::string& property) const {
        auto* element = id == "html" ? document->documentElement() : document->querySelector("#" + id);
        const std::string* style = element ? zv::style(*element) : nullptr;
        auto value = style ? zv::styleValue(*style, property) : std::nullopt;
        if (!value) return std::nullopt;
        if (auto bang = value->find('!'); bang != std::string::npos) value->resize(bang);
        return zv::colorFromStringRepresentation(*value);
    }
    std::string hex(const std::string& id, const std::string& property) const {
        auto c = color(id, property);
        return c ? zv::stringRepresentation(*c) : "none";
    }
};

Adapted adapt(const std::string& html) {
    auto document = HTMLParser(html).parseDocument();
    auto report = zv::adaptDocumentForDarkAppearance(*document);
    return {document, report};
}

// The colour the browser would use for `property` on the element: the
// nearest one the adaptation wrote on it or above it (text inherits, and a
// transparent element shows what lies behind it).
std::string effective(const Adapted& adapted, const std::string& id, const std::string& property) {
    for (auto* element = adapted.document->querySelector("#" + id); element; element = element->parentElement()) {
        const std::string* style = zv::style(*element);
        auto value = style ? zv::styleValue(*style, property) : std::nullopt;
        if (value) return zv::stringRepresentation(*zv::colorFromStringRepresentation(value->substr(0, value->find('!'))));
    }
    return "none";
}

TEST(DarkAdaptation, PageAndTextColoursWorkedOutByHand) {
    // Each row: a body, the element to read, the text colour and background
    // it ends up with ("" when only the contrast floor is checked).
    struct Case {
        const char* body;
        const char* id;
        const char* text;
        const char* background;
    };
    const Case cases[] = {
        // Black on white: the page's #1e1e1e, text OKLab L 0.93.
        {"<p id=t>plain</p>", "t", "#e8e8e8", "#1e1e1e"},
        // White on a blue banner: white stays white on a darker blue.
        {"<div id=t style=\"background:#0000ff;color:#fff\">banner</div>", "t", "#ffffff", ""},
        // bgcolor tables, the attribute read as legacy colours ("f0f0f0" without "#").
        {"<table bgcolor=f0f0f0><tr><td id=t>cell</td></tr></table>", "t", "#e8e8e8", "#212121"},
        {"<font id=t color=\"#999999\">grey</font>", "t", "#a0a0a0", ""},
        // Light grey on white (contrast 1.6) comes out legible.
        {"<p id=t style=\"color:#cccccc\">faint</p>", "t", "#8f8f8f", ""},
        // Later declarations win (head CSS is appended), unless the earlier is important.
        {"<p id=t style=\"color:#fff; color:#000\">x</p>", "t", "#e8e8e8", ""},
        {"<p id=t style=\"color:#000 !important; color:#fff\">x</p>", "t", "#e8e8e8", ""},
        // Dark text on a background image is lightened against the overlay.
        {"<div id=t style=\"background:url(cid:x) #fff\">x</div>", "t", "#e8e8e8", "#1e1e1e"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.body);
        Adapted adapted = adapt(std::string("<!DOCTYPE html><body>") + c.body);
        EXPECT_EQ(adapted.hex("html", "background-color"), "#1e1e1e");
        std::string text = effective(adapted, c.id, "color"), background = effective(adapted, c.id, "background-color");
        if (*c.text) {
            EXPECT_EQ(text, c.text);
        }
        if (*c.background) {
            EXPECT_EQ(background, c.background);
        }
        EXPECT_GE(contrast(*zv::colorFromStringRepresentation(text), *zv::colorFromStringRepresentation(background)), 4.5);
    }
}

TEST(DarkAdaptation, BackgroundsKeepTheirHueAndGoDark) {
    Adapted adapted = adapt(
        "<body><table id=table bgcolor=\"#f0f0f0\"><tr><td id=yellow bgcolor=ffcc00><a id=link href=x>link</a></td>"
        "<td id=blue style=\"background-color:#0000ff\"><span id=white style=\"color:white\">on blue</span></td>"
        "<td id=border style=\"border:1px solid #dddddd\">x</td></tr></table>");
    EXPECT_EQ(adapted.hex("table", "background-color"), "#212121");
    Color yellow = *adapted.color("yellow", "background-color");
    EXPECT_TRUE(yellow.r >= yellow.g && yellow.g > yellow.b && luminance(yellow) < 0.1) << zv::stringRepresentation(yellow);
    Color blue = *adapted.color("blue", "background-color");
    EXPECT_TRUE(blue.b > blue.r && blue.b > blue.g && luminance(blue) < luminance({0, 0, 1, 1}))
        << zv::stringRepresentation(blue);
    EXPECT_EQ(adapted.hex("white", "color"), "#ffffff");
    // Links keep their blue, lightened to the floor.
    Color link = *adapted.color("link", "color");
    EXPECT_GT(link.b, link.r);
    EXPECT_GE(contrast(link, yellow), 4.5);
    // A light border becomes a dark one.
    Color border = *adapted.color("border", "border-top-color");
    EXPECT_LT(luminance(border), 0.05);
}

TEST(DarkAdaptation, ImagesKeepTheirColoursAndTransparentOnesTheirLightBackdrop) {
    Adapted adapted = adapt(
        "<body><img id=logo src=\"cid:logo.png\"><img id=photo src=\"https://x.example/photo.JPG\">"
        "<div style=\"background:#000;color:#fff\"><img id=onDark src=\"cid:white-logo.png\"></div>");
    EXPECT_EQ(adapted.hex("logo", "background-color"), "#ffffff");
    EXPECT_EQ(adapted.hex("photo", "background-color"), "none");
    EXPECT_EQ(adapted.hex("onDark", "background-color"), "none");
    EXPECT_EQ(adapted.report.imageBackdrops, 1u);
}

TEST(DarkAdaptation, MessagesWithTheirOwnDarkStylesKeepThemWithOnlyIllegibleTextChanged) {
    // Its own dark rules put #3869d4 links on #333 (2.49:1); the light grey
    // paragraph on #333 (11.3:1) and the box itself stay as written.
    Adapted own = adapt("<head><style>@media (prefers-color-scheme: dark) { .box { background: #333333; color: #fff } a { color: #3869d4 } }"
                        "</style></head><body><div class=box><a id=l href=x>link</a><p id=p style=\"color:#eeeeee\">ok</p></div>");
    EXPECT_TRUE(own.report.leftAsDesigned);
    Color link = *own.color("l", "color");
    EXPECT_GE(contrast(link, Color{0.2, 0.2, 0.2, 1}), 4.5);
    EXPECT_GT(link.b, link.g);
    EXPECT_GT(link.g, link.r);
    EXPECT_EQ(*zv::style(*own.document->querySelector("#p")), "color:#eeeeee");
    EXPECT_FALSE(own.document->querySelector(".box")->hasAttribute("style"));
    EXPECT_EQ(own.report.textColors, 1u);
    EXPECT_EQ(*zv::style(*own.document->documentElement()), "color-scheme: dark;background-color: #1e1e1e;");

    // The dark scheme draws default text light: on the body's own white it
    // would vanish, so it turns dark. On the dark canvas, no text changes.
    Adapted white = adapt("<head><meta name=\"color-scheme\" content=\"light dark\"></head><body id=b bgcolor=white>x");
    EXPECT_TRUE(white.report.leftAsDesigned);
    EXPECT_GE(contrast(*white.color("b", "color"), Color{1, 1, 1, 1}), 4.5);
    for (const char* html : {"<html style=\"color-scheme: light dark\"><body>x",
                             "<head><style>:root { color-scheme: dark }</style></head><body><p style=\"color: #ddd\">x",
                             "<head><meta name=supported-color-schemes content=\"light dark\"><body><font color=white>x"}) {
        SCOPED_TRACE(html);
        Adapted kept = adapt(html);
        EXPECT_TRUE(kept.report.leftAsDesigned);
        EXPECT_EQ(kept.report.textColors, 0u);
        EXPECT_EQ(kept.hex("html", "background-color"), "#1e1e1e");
    }
    EXPECT_FALSE(adapt("<head><style>:root { color-scheme: light only }</style></head><body>x").report.leftAsDesigned);
}

TEST(DarkAdaptation, StylesKeepTheSendersDeclarationsAndBadInputIsHarmless) {
    // An unclosed url( would swallow what is appended; it is closed first.
    Adapted adapted = adapt("<body><p id=t style=\"color: #333; background: url(cid:x\">x</p>");
    EXPECT_NE(zv::style(*adapted.document->querySelector("#t"))->find("color: #333"), std::string::npos);
    EXPECT_TRUE(adapted.color("t", "color"));
    // Deep nesting is walked without recursion.
    std::string deep = "<body>";
    for (int i = 0; i < 20000; ++i) deep += "<div style=\"background:#fff\">";
    EXPECT_EQ(adapt(deep).report.backgrounds, 20001u);
    EXPECT_EQ(adapt("").report.textColors, 1u);
    // Colours it cannot read are replaced all the same: the sender's dark
    // text never stays on the dark page, nor a light background under light text.
    Adapted unread = adapt("<body><p id=t style=\"color: hsl(0.5turn 100% 10%)\">x</p>"
                           "<div id=b style=\"background: var(--paper) no-repeat\">y</div>");
    EXPECT_EQ(unread.hex("t", "color"), "#e8e8e8");
    EXPECT_EQ(unread.hex("b", "background-color"), "#1e1e1e");
    // One long rule named by many selectors, each matching every element:
    // its declarations are read once, not once per selector and element.
    std::string sheet = "<body><style>";
    for (int i = 0; i < 1900; ++i) sheet += "*,";
    sheet += "i {";
    for (int i = 0; i < 400; ++i) sheet += "color: #123456;";
    sheet += "}</style>";
    for (int i = 0; i < 400; ++i) sheet += "<i>";
    auto done = std::async(std::launch::async, [&] { return adapt(sheet).report.textColors; });
    ASSERT_EQ(done.wait_for(std::chrono::seconds(30)), std::future_status::ready) << "adaptation stalled";
    EXPECT_EQ(done.get(), 402u) << "the root, the body and each <i>";
    // A million selectors no index can key, each a walk of 5,000 elements:
    // the walks stop at a budget instead of running for hours.
    std::string walks = "<body><style>";
    for (int i = 0; i < 1000000; ++i) walks += ":not(x),";
    walks += "i { color: #123456 }</style>";
    for (int i = 0; i < 5000; ++i) walks += "<i></i>";
    auto walked = std::async(std::launch::async, [&] { return adapt(walks).report.textColors; });
    ASSERT_EQ(walked.wait_for(std::chrono::seconds(30)), std::future_status::ready) << "adaptation stalled";
    walked.get();
    // Whether the sheets name a dark scheme is read in one pass, however many
    // names they hold without a value's end, however they nest.
    std::string names = "<style>";
    for (int i = 0; i < 40000; ++i) names += "color-scheme:";
    // SVG style elements each inside the last: the outer one's text holds them all.
    names += "</style><svg>";
    for (int i = 0; i < 80000; ++i) names += "<style>a";
    auto judged = std::async(std::launch::async, [&] { return adapt(names).report.leftAsDesigned; });
    ASSERT_EQ(judged.wait_for(std::chrono::seconds(30)), std::future_status::ready) << "adaptation stalled";
    EXPECT_FALSE(judged.get());
}

TEST(DarkAdaptation, StyleSheetsLeftInTheBodyCountBeneathStyleAttributes) {
    auto document = HTMLParser("<body><center><style>h4 { color: #0000ff; background: #f3f3f3 }"
                               "@media screen { h4 { color: red } } a:hover { color: red } a:link { color: #fff }</style>"
                               "<h4 id=t>x</h4><a id=link href=x style=\"background: #fff\">y</a></center>").parseDocument();
    zv::applyHeadCSSToContentAndPurge(*document, true, {}, {});
    Adapted adapted{document, zv::adaptDocumentForDarkAppearance(*document)};
    // #f3f3f3 is OKLab L 0.9642: 0.235 + 0.3 x 0.0358 gives #212121.
    EXPECT_EQ(adapted.hex("t", "background-color"), "#212121");
    Color blue = *adapted.color("t", "color");
    EXPECT_GT(blue.b, blue.r);
    EXPECT_GE(contrast(blue, {33 / 255.0, 33 / 255.0, 33 / 255.0, 1}), 4.5);
    // White on white (the sheet's :link rule): the white stays, on the page's grey.
    EXPECT_EQ(adapted.hex("link", "background-color"), "#1e1e1e");
    EXPECT_EQ(adapted.hex("link", "color"), "#ffffff");

    // A framework's sheet of thousands of rules is read to its end: its last
    // rule's black text would otherwise stay black on the dark page.
    std::string framework = "<body><style>";
    for (int i = 0; i < 5000; ++i) framework += ".c" + std::to_string(i) + " { margin: 0 }\n";
    framework += ".last { color: #000000 }</style><p><span id=t class=last>x</span></p>";
    Adapted late = adapt(framework);
    ASSERT_TRUE(late.color("t", "color"));
    EXPECT_GE(contrast(*late.color("t", "color"), {30 / 255.0, 30 / 255.0, 30 / 255.0, 1}), 4.5);
}

}  // namespace
