#include <zv/foundation/Color.h>

#include <gtest/gtest.h>


namespace {

using zv::Color;
using zv::colorWithHTMLName;

Color rgb(int r, int g, int b) { return Color{r / 255.0, g / 255.0, b / 255.0, 1.0}; }

TEST(HTMLColorNames, NamesMatchAfterLowerCasingOnly) {
    EXPECT_EQ(colorWithHTMLName("red"), rgb(255, 0, 0));
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

// Values as the CSS colour keywords define them, written out here.
TEST(HTMLColorNames, StandardValuesAndSynonyms) {
    struct Case {
        const char* name;
        int r, g, b;
    };
    const Case cases[] = {
        {"aliceblue", 240, 248, 255}, {"yellowgreen", 154, 205, 50}, {"darkolivegreen", 85, 107, 47},
        {"papayawhip", 255, 239, 213}, {"steelblue", 70, 130, 180},  {"tomato", 255, 99, 71},
        {"lavenderblush", 255, 240, 245}, {"navajowhite", 255, 222, 173},
        // The CSS values where X11's differ.
        {"green", 0, 128, 0}, {"maroon", 128, 0, 0}, {"purple", 128, 0, 128},
        {"aqua", 0, 255, 255}, {"cyan", 0, 255, 255}, {"fuchsia", 255, 0, 255}, {"magenta", 255, 0, 255},
    };
    for (const Case& c : cases) EXPECT_EQ(colorWithHTMLName(c.name), rgb(c.r, c.g, c.b)) << c.name;
    // Components are n / 255 exactly, alpha 1.
    const Color gray = *colorWithHTMLName("gray");
    EXPECT_DOUBLE_EQ(gray.r, 128 / 255.0);
    EXPECT_EQ(gray.a, 1.0);
}

}  // namespace
