#include <zv/foundation/Color.h>

#include <gtest/gtest.h>

#include <optional>

namespace {

zv::Color rgba(int r, int g, int b, double a = 1) { return {r / 255.0, g / 255.0, b / 255.0, a}; }

TEST(ColorString, ReadsHexFunctionsAndNamesAndRefusesTheRest) {
    struct Case {
        const char* text;
        std::optional<zv::Color> color;
    } cases[] = {
        {"#ff0000", rgba(255, 0, 0)},
        {"#F00", rgba(255, 0, 0)},
        {"#0a84ff", rgba(10, 132, 255)},
        {"0A84FF", rgba(10, 132, 255)},
        {"#11223344", rgba(0x11, 0x22, 0x33, 0x44 / 255.0)},
        {"#abcd", rgba(0xaa, 0xbb, 0xcc, 0xdd / 255.0)},
        {"  rgb(10, 20, 30)\n", rgba(10, 20, 30)},
        {"RGBA(10,20,30,0.5)", rgba(10, 20, 30, 0.5)},
        {"rgb(100%, 50%, 0%)", zv::Color{1, 0.5, 0, 1}},
        {"rgba(0, 0, 0, 25%)", zv::Color{0, 0, 0, 0.25}},
        {"rgb(255 128 0 / 50%)", rgba(255, 128, 0, 0.5)},
        {"rgb(300, -5, 12.5)", zv::Color{1, 0, 12.5 / 255, 1}},
        {"Red", rgba(255, 0, 0)},
        {" cornflowerblue ", rgba(100, 149, 237)},
        {"ALICEBLUE", rgba(240, 248, 255)},
        {"", {}}, {"   ", {}}, {"#", {}}, {"#ff0000f", {}}, {"#ff000", {}}, {"#gg0000", {}}, {"rgb(1, 2)", {}},
        {"rgb(1, 2, 3, 4, 5)", {}}, {"rgb(1, 2, x)", {}}, {"rgb(1, 2, 3", {}}, {"rgb(1%%, 2, 3)", {}},
        {"hsl(0, 100%, 50%)", {}}, {"notacolor", {}}, {"red blue", {}}, {"rgb(nan, 0, 0)", {}},
    };
    for (const auto& c : cases) EXPECT_EQ(zv::colorFromStringRepresentation(c.text), c.color) << c.text;
}

TEST(ColorString, WritesHexWhenOpaqueAndRgbaOtherwise) {
    EXPECT_EQ(zv::stringRepresentation(rgba(10, 132, 255)), "#0a84ff");
    EXPECT_EQ(zv::stringRepresentation({1, 1, 1, 1}), "#ffffff");
    EXPECT_EQ(zv::stringRepresentation(rgba(255, 0, 0, 0.5)), "rgba(255, 0, 0, 0.5)");
    EXPECT_EQ(zv::stringRepresentation({0, 0, 0, 0}), "rgba(0, 0, 0, 0)");
    // Out-of-range components are clamped on the way out.
    EXPECT_EQ(zv::stringRepresentation({2, -1, 0.5, 7}), "#ff0080");
    EXPECT_EQ(zv::hashLabelCSSStringRepresentation(rgba(10, 132, 255)), "#0a84ff");
    EXPECT_EQ(zv::hashLabelCSSStringRepresentation(rgba(1, 2, 3, 0x80 / 255.0)), "#01020380");
}

TEST(ColorString, EightBitColoursSurviveBothTextForms) {
    for (int r = 0; r < 256; r += 17) {
        for (int g = 3; g < 256; g += 36) {
            for (int a : {0, 1, 127, 128, 254, 255}) {
                zv::Color color = rgba(r, g, 255 - r, a / 255.0);
                for (auto print : {zv::stringRepresentation, zv::hashLabelCSSStringRepresentation}) {
                    std::string text = print(color);
                    auto back = zv::colorFromStringRepresentation(text);
                    ASSERT_TRUE(back) << text;
                    EXPECT_EQ(*back, color) << text;
                }
            }
        }
    }
}

// Values as the CSS colour keywords define them, written out here; components
// are n / 255 exactly, alpha 1.
TEST(HTMLColorNames, NamesMatchAfterLowerCasingOnly) {
    struct Case {
        std::string_view name;
        std::optional<zv::Color> color;
    };
    const Case cases[] = {
        {"red", rgba(255, 0, 0)}, {"RED", rgba(255, 0, 0)}, {"LightGoldenRodYellow", rgba(250, 250, 210)},
        // Unicode lower-casing: KELVIN SIGN becomes an ASCII "k".
        {"blac\u212A", rgba(0, 0, 0)},
        {"aliceblue", rgba(240, 248, 255)}, {"yellowgreen", rgba(154, 205, 50)}, {"darkolivegreen", rgba(85, 107, 47)},
        {"papayawhip", rgba(255, 239, 213)}, {"steelblue", rgba(70, 130, 180)}, {"tomato", rgba(255, 99, 71)},
        {"lavenderblush", rgba(255, 240, 245)}, {"navajowhite", rgba(255, 222, 173)},
        {"gray", rgba(128, 128, 128)}, {"lightgray", rgba(211, 211, 211)}, {"goldenrod", rgba(218, 165, 32)},
        // The CSS values where X11's differ.
        {"green", rgba(0, 128, 0)}, {"maroon", rgba(128, 0, 0)}, {"purple", rgba(128, 0, 128)},
        {"aqua", rgba(0, 255, 255)}, {"cyan", rgba(0, 255, 255)}, {"fuchsia", rgba(255, 0, 255)},
        {"magenta", rgba(255, 0, 255)},
        // Not names: padded, other colour forms, bad bytes.
        {" red", {}}, {"red ", {}}, {"#ff0000", {}}, {"rgb(255,0,0)", {}}, {"", {}},
        {std::string_view("red\0x", 5), {}}, {"\xFF\xFE", {}},
        // The keywords left out on purpose; the "gray" forms and goldenrod are there.
        {"grey", {}}, {"darkgrey", {}}, {"darkslategrey", {}}, {"dimgrey", {}}, {"lightgrey", {}},
        {"lightslategrey", {}}, {"slategrey", {}}, {"darkgoldenrod", {}}, {"rebeccapurple", {}},
        {"transparent", {}}, {"currentcolor", {}},
    };
    for (const Case& c : cases) EXPECT_EQ(zv::colorWithHTMLName(c.name), c.color) << c.name;
}

}  // namespace
