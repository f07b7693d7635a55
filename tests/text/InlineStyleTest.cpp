#include <zv/text/InlineStyle.h>

#include "HTMLTokenizer.h"

#include <gtest/gtest.h>

namespace {

using zv::StyleDictionary;
using zv::html::HTMLElement;

TEST(InlineStyle, ReadingKeepsDeclarationsOfExactlyTwoPartsTrimmedAndLowerCased) {
    const std::pair<const char*, StyleDictionary> cases[] = {
        {"color: red; margin:0;", {{"color", "red"}, {"margin", "0"}}},
        {"Color : Red", {{"color", "Red"}}},
        {"background: url(data:x)", {}},  // a value holding ":" goes, by design: the format drops it
        {"a:1;a:2", {{"a", "2"}}},
        {";;x;:;y:", {{"", ""}, {"y", ""}}},
        {"", {}},
        // Tab, NBSP and EM SPACE are horizontal white space; the line feed is not.
        {"\t\xC2\xA0width\xE2\x80\x83:\t10px \t", {{"width", "10px"}}},
        {"\ncolor: red\n", {{"\ncolor", "red\n"}}},
        // Names are lower-cased with Unicode's rules.
        {"FONT-Family: Ärial; ÉCLAT: Ü", {{"font-family", "Ärial"}, {"éclat", "Ü"}}},
    };
    for (const auto& [text, expected] : cases) EXPECT_EQ(zv::parseStyleDictionary(text), expected) << text;
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
    // Appending gives an element without style an empty one.
    zv::appendStyleWith(*element, "");
    ASSERT_NE(zv::style(*element), nullptr);
    EXPECT_EQ(*zv::style(*element), "");

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

TEST(InlineStyle, StartTagTokensParseTheirStyleAttribute) {
    zv::html::HTMLTokenizer tokenizer("<p STYLE='Color : Red; background: url(http://x)'><b>");
    const auto* p = static_cast<const zv::html::HTMLTagToken*>(tokenizer.nextToken());
    EXPECT_EQ(zv::styleDictionary(*p), (StyleDictionary{{"color", "Red"}}));
    const auto* b = static_cast<const zv::html::HTMLTagToken*>(tokenizer.nextToken());
    EXPECT_TRUE(zv::styleDictionary(*b).empty());
}

}  // namespace
