// Localizing a parsed page: each marked element against strings set as
// overrides, the result read back from the serialized body.
#include <zv/localization/DocumentLocalization.h>

#include <zv/html/HTMLElement.h>

#include <gtest/gtest.h>

namespace {

using namespace zv;

struct Case {
    const char* name;
    const char* body;
    std::vector<std::pair<std::string, std::string>> strings;
    const char* expected;
};

class VariableStrings : public PageLocalization {
public:
    StringMap localizationVariableTable() const override { return {{"who", "Ann"}}; }
};

std::string localizedBody(const Case& c) {
    VariableStrings strings;
    for (const auto& [key, value] : c.strings) strings.setLocalizedString(value, key);
    auto document = html::HTMLDocument::documentWithString(std::string("<body>") + c.body);
    localizeHTMLDocument(*document, strings);
    return document->body()->innerHTML();
}

TEST(DocumentLocalizationTest, ElementsTakeTheirStringsOfEveryKind) {
    const Case cases[] = {
        {"line feed is a paragraph", "<p localizationkey=k>x</p>", {{"k.text", "Line1\nLine2"}},
         "<p localizationkey=\"k\">Line1<br>&nbsp;<br>Line2</p>"},
        {"carriage return is a line", "<p localizationkey=k>x</p>", {{"k.text", "a\rb"}},
         "<p localizationkey=\"k\">a<br>b</p>"},
        {"one line is text", "<p localizationkey=k>x</p>", {{"k.text", "a<b"}}, "<p localizationkey=\"k\">a&lt;b</p>"},
        {"multi-line text is escaped", "<p localizationkey=k>x</p>", {{"k.text", "<i>\n"}},
         "<p localizationkey=\"k\">&lt;i&gt;<br>&nbsp;<br></p>"},
        {"bare key serves text", "<p localizationkey=k>x</p>", {{"k", "plain"}}, "<p localizationkey=\"k\">plain</p>"},
        {"html wins over text, style still applies", "<p localizationkey=k style='margin:0'>x</p>",
         {{"k.html", "<i>h</i>"}, {"k.text", "t"}, {"k.style", "+color:red"}},
         "<p localizationkey=\"k\" style=\"margin:0; color:red\"><i>h</i></p>"},
        {"appended style after a semicolon", "<p localizationkey=k style='margin:0;'>x</p>",
         {{"k.style", "+color:red"}}, "<p localizationkey=\"k\" style=\"margin:0;color:red\">X</p>"},
        {"appended style without a style", "<p localizationkey=k>x</p>", {{"k.style", "+color:red"}},
         "<p localizationkey=\"k\">X</p>"},
        {"replaced style, href and src", "<a localizationkey=k style='a:b' href=old>x</a><img localizationkey=i>",
         {{"k.text", "t"}, {"k.style", "c:d"}, {"k.href", "new"}, {"i.src", "p.png"}},
         "<a localizationkey=\"k\" style=\"c:d\" href=\"new\">t</a><img localizationkey=\"i\" src=\"p.png\">"},
        {"missing string upper-cases only own text", "<p localizationkey=k>Hello <b>world</b> straße</p>", {},
         "<p localizationkey=\"k\">HELLO <b>world</b> STRASSE</p>"},
        {"element without text gets no text", "<p localizationkey=k></p>", {{"k.text", "t"}},
         "<p localizationkey=\"k\"></p>"},
        {"localization element uses key", "<localization key=k localizationkey=z>x</localization>",
         {{"k.text", "yes"}, {"z.text", "no"}}, "<localization key=\"k\" localizationkey=\"z\">yes</localization>"},
        {"table variables in text", "<p localizationkey=k>x</p>", {{"k.text", "Hi {$who}, {$nobody}"}},
         "<p localizationkey=\"k\">Hi Ann, {$nobody}</p>"},
        {"accessibility label found", "<p accessibilitykey=a aria-label=old></p>", {{"a.axLabel", "Label"}},
         "<p accessibilitykey=\"a\" aria-label=\"Label\"></p>"},
        {"accessibility label missing", "<p accessibilitykey=a aria-label=old></p>", {},
         "<p accessibilitykey=\"a\" aria-label=\"old\"></p>"},
    };
    for (const Case& c : cases) EXPECT_EQ(localizedBody(c), c.expected) << c.name;
}

TEST(DocumentLocalizationTest, TitleKeyTitlesTheWindowOrShowsUntranslated) {
    for (bool translated : {true, false}) {
        PageLocalization strings;
        if (translated) strings.setLocalizedString("Über", "about.title");
        auto document = html::HTMLDocument::documentWithString(
            "<title localizationkey='about.title'>t</title><title localizationkey=second></title>");
        std::vector<std::string> titles;
        localizeHTMLDocument(*document, strings, [&](const std::string& title) { titles.push_back(title); });
        EXPECT_EQ(titles, std::vector<std::string>{translated ? "Über" : "ABOUT.TITLE"});
    }
}

TEST(DocumentLocalizationTest, FilePagesPointRelativeReferencesAtTheFileScheme) {
    const char* page = "<img src='pics/x.png'><img src='https://h/y.png'><img src='data:,x'>"
                       "<link href=s.css><a href=rel.html>a</a><img>";
    std::string html = rewriteHTML(page, *URL::parse("file:///A/B/page.html"));
    EXPECT_NE(html.find("src=\"zvfile:///A/B/pics/x.png\""), std::string::npos) << html;
    EXPECT_NE(html.find("src=\"https://h/y.png\""), std::string::npos);
    EXPECT_NE(html.find("src=\"data:,x\""), std::string::npos);
    EXPECT_NE(html.find("href=\"zvfile:///A/B/s.css\""), std::string::npos);
    EXPECT_NE(html.find("href=\"rel.html\""), std::string::npos);
    EXPECT_EQ(rewriteHTML(page, *URL::parse("https://h/page.html")), page);
}

}  // namespace
