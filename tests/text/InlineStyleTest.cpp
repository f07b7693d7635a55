#include <zv/text/InlineStyle.h>

#include "HTMLTokenizer.h"

#include <gtest/gtest.h>

namespace {

using zv::StyleDictionary;
using zv::html::HTMLElement;

TEST(InlineStyle, ReadingKeepsOnlyDeclarationsOfExactlyTwoParts) {
    EXPECT_EQ(zv::parseStyleDictionary("color: red; margin:0;"), (StyleDictionary{{"color", "red"}, {"margin", "0"}}));
    EXPECT_EQ(zv::parseStyleDictionary("Color : Red"), (StyleDictionary{{"color", "Red"}}));
    // A value holding ":" goes, by design: the format drops it.
    EXPECT_EQ(zv::parseStyleDictionary("background: url(data:x)"), StyleDictionary{});
    EXPECT_EQ(zv::parseStyleDictionary("a:1;a:2"), (StyleDictionary{{"a", "2"}}));
    EXPECT_EQ(zv::parseStyleDictionary(";;x;:;y:"), (StyleDictionary{{"", ""}, {"y", ""}}));
    EXPECT_EQ(zv::parseStyleDictionary(""), StyleDictionary{});
}

TEST(InlineStyle, TrimsSpacesAndTabsButNotLineBreaks) {
    // Tab, NBSP and EM SPACE are horizontal white space; the line feed is not.
    EXPECT_EQ(zv::parseStyleDictionary("\t\xC2\xA0width\xE2\x80\x83:\t10px \t"), (StyleDictionary{{"width", "10px"}}));
    EXPECT_EQ(zv::parseStyleDictionary("\ncolor: red\n"), (StyleDictionary{{"\ncolor", "red\n"}}));
}

TEST(InlineStyle, NamesAreLowerCasedWithUnicodeRules) {
    EXPECT_EQ(zv::parseStyleDictionary("FONT-Family: Ärial; ÉCLAT: Ü"),
              (StyleDictionary{{"font-family", "Ärial"}, {"éclat", "Ü"}}));
}

TEST(InlineStyle, WritingLowerCasesNamesAndJoinsWithNothingBetween) {
    EXPECT_EQ(zv::styleTextForDictionary({{"Color", "red"}}), "color: red;");
    EXPECT_EQ(zv::styleTextForDictionary({{"margin", "0"}, {"color", "Red"}}), "color: Red;margin: 0;");
    EXPECT_EQ(zv::styleTextForDictionary({}), "");
}

TEST(InlineStyle, StyleValueAgreesWithTheDictionary) {
    for (const char* text : {"display:none", "DISPLAY : Block ; display: inline", "display: url(a:b)", "x:1;Y:2",
                             "display;display:flex;"}) {
        SCOPED_TRACE(text);
        StyleDictionary style = zv::parseStyleDictionary(text);
        auto valueOf = [&](const std::string& name) {
            auto found = style.find(name);
            return found == style.end() ? std::nullopt : std::optional<std::string>(found->second);
        };
        EXPECT_EQ(zv::styleValue(text, "display"), valueOf("display"));
        EXPECT_EQ(zv::styleValues(text, {"x", "display", "y"}),
                  (std::vector<std::optional<std::string>>{valueOf("x"), valueOf("display"), valueOf("y")}));
    }
}

TEST(InlineStyle, ElementStyleIsReadWrittenAndMerged) {
    auto element = HTMLElement::create("p");
    EXPECT_EQ(zv::style(*element), nullptr);
    EXPECT_TRUE(zv::styleDictionary(*element).empty());

    zv::setStyle(*element, "COLOR:red ; x");
    EXPECT_EQ(*zv::style(*element), "COLOR:red ; x");
    EXPECT_EQ(zv::styleDictionary(*element), (StyleDictionary{{"color", "red"}}));

    // Appending nothing still rewrites the attribute in the written format.
    zv::appendStyleWith(*element, "");
    EXPECT_EQ(*zv::style(*element), "color: red;");

    zv::appendStyleWith(*element, "Color: blue; margin: 0");
    EXPECT_EQ(*zv::style(*element), "color: blue;margin: 0;");

    zv::appendStyleWithDict(*element, {{"padding", "1px"}});
    EXPECT_EQ(zv::styleDictionary(*element),
              (StyleDictionary{{"color", "blue"}, {"margin", "0"}, {"padding", "1px"}}));

    zv::setStyleDictionary(*element, {});
    ASSERT_NE(zv::style(*element), nullptr);
    EXPECT_EQ(*zv::style(*element), "");
}

TEST(InlineStyle, AppendingGivesAnElementWithoutStyleAnEmptyOne) {
    auto element = HTMLElement::create("div");
    zv::appendStyleWith(*element, "");
    ASSERT_NE(zv::style(*element), nullptr);
    EXPECT_EQ(*zv::style(*element), "");
}

TEST(InlineStyle, StartTagTokensParseTheirStyleAttribute) {
    zv::html::HTMLTokenizer tokenizer("<p STYLE='Color : Red; background: url(http://x)'><b>");
    const auto* p = static_cast<const zv::html::HTMLTagToken*>(tokenizer.nextToken());
    EXPECT_EQ(zv::styleDictionary(*p), (StyleDictionary{{"color", "Red"}}));
    const auto* b = static_cast<const zv::html::HTMLTagToken*>(tokenizer.nextToken());
    EXPECT_TRUE(zv::styleDictionary(*b).empty());
}

}  // namespace
