#include <zv/text/HTMLColorNames.h>

#include <gtest/gtest.h>

#include <cmath>
#include <fstream>
#include <regex>
#include <set>
#include <sstream>

namespace {

using zv::Color;
using zv::colorWithHTMLName;

Color rgb(int r, int g, int b) { return Color{r / 255.0, g / 255.0, b / 255.0, 1.0}; }

TEST(HTMLColorNames, NamesMatchAfterLowerCasingOnly) {
    EXPECT_EQ(colorWithHTMLName("red"), rgb(255, 0, 0));
    EXPECT_EQ(colorWithHTMLName("Red"), rgb(255, 0, 0));
    EXPECT_EQ(colorWithHTMLName("RED"), rgb(255, 0, 0));
    EXPECT_EQ(colorWithHTMLName("LightGoldenRodYellow"), rgb(250, 250, 210));
    // Unicode lower-casing: KELVIN SIGN becomes an ASCII "k".
    EXPECT_EQ(colorWithHTMLName("blac\u212A"), rgb(0, 0, 0));
    EXPECT_FALSE(colorWithHTMLName(" red"));
    EXPECT_FALSE(colorWithHTMLName("red "));
    EXPECT_FALSE(colorWithHTMLName("#ff0000"));
    EXPECT_FALSE(colorWithHTMLName("rgb(255,0,0)"));
    EXPECT_FALSE(colorWithHTMLName(""));
    EXPECT_FALSE(colorWithHTMLName(std::string_view("red\0x", 5)));
    EXPECT_FALSE(colorWithHTMLName("\xFF\xFE"));
}

TEST(HTMLColorNames, TheLeftOutKeywords) {
    for (const char* name : {"grey", "darkgrey", "darkslategrey", "dimgrey", "lightgrey", "lightslategrey",
                             "slategrey", "darkgoldenrod", "rebeccapurple", "transparent", "currentcolor"})
        EXPECT_FALSE(colorWithHTMLName(name)) << name;
    EXPECT_EQ(colorWithHTMLName("gray"), rgb(128, 128, 128));
    EXPECT_EQ(colorWithHTMLName("lightgray"), rgb(211, 211, 211));
    EXPECT_EQ(colorWithHTMLName("goldenrod"), rgb(218, 165, 32));
}

TEST(HTMLColorNames, StandardValuesAndSynonyms) {
    EXPECT_EQ(colorWithHTMLName("aliceblue"), rgb(240, 248, 255));
    EXPECT_EQ(colorWithHTMLName("yellowgreen"), rgb(154, 205, 50));
    // The CSS values where X11's differ.
    EXPECT_EQ(colorWithHTMLName("green"), rgb(0, 128, 0));
    EXPECT_EQ(colorWithHTMLName("maroon"), rgb(128, 0, 0));
    EXPECT_EQ(colorWithHTMLName("purple"), rgb(128, 0, 128));
    EXPECT_EQ(colorWithHTMLName("aqua"), colorWithHTMLName("cyan"));
    EXPECT_EQ(colorWithHTMLName("aqua"), rgb(0, 255, 255));
    EXPECT_EQ(colorWithHTMLName("fuchsia"), colorWithHTMLName("magenta"));
    EXPECT_EQ(colorWithHTMLName("fuchsia"), rgb(255, 0, 255));
    // Components are n / 255 exactly, alpha 1.
    const Color gray = *colorWithHTMLName("gray");
    EXPECT_DOUBLE_EQ(gray.r, 128 / 255.0);
    EXPECT_EQ(gray.a, 1.0);
}

// The generated table: 139 rows, sorted, unique, every value three bytes.
TEST(HTMLColorNames, TheTableHas139KnownKeywords) {
    std::ifstream in(ZV_COLOR_TABLE);
    ASSERT_TRUE(in) << ZV_COLOR_TABLE;
    const std::regex row(R"re(^\s*\{"([a-z]+)", "(\d+),(\d+),(\d+)"\},$)re");
    std::set<std::string> names;
    std::string previous, line;
    while (std::getline(in, line)) {
        std::smatch m;
        if (!std::regex_match(line, m, row)) continue;
        const std::string name = m[1];
        EXPECT_LT(previous, name);
        previous = name;
        names.insert(name);
        const Color expected = rgb(std::stoi(m[2]), std::stoi(m[3]), std::stoi(m[4]));
        EXPECT_EQ(colorWithHTMLName(name), expected) << name;
    }
    EXPECT_EQ(names.size(), 139u);
    EXPECT_FALSE(names.count("grey"));
}

}  // namespace
