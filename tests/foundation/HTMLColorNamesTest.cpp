#include <zv/foundation/Color.h>

#include <gtest/gtest.h>

#include <optional>

namespace {

// Values as the CSS colour keywords define them, written out here; components
// are n / 255 exactly, alpha 1.
TEST(HTMLColorNames, NamesMatchAfterLowerCasingOnly) {
    struct Case {
        std::string_view name;
        std::optional<zv::Color> color;
    };
    auto rgb = [](int r, int g, int b) { return zv::Color{r / 255.0, g / 255.0, b / 255.0, 1.0}; };
    const Case cases[] = {
        {"red", rgb(255, 0, 0)}, {"RED", rgb(255, 0, 0)}, {"LightGoldenRodYellow", rgb(250, 250, 210)},
        // Unicode lower-casing: KELVIN SIGN becomes an ASCII "k".
        {"blac\u212A", rgb(0, 0, 0)},
        {"aliceblue", rgb(240, 248, 255)}, {"yellowgreen", rgb(154, 205, 50)}, {"darkolivegreen", rgb(85, 107, 47)},
        {"papayawhip", rgb(255, 239, 213)}, {"steelblue", rgb(70, 130, 180)}, {"tomato", rgb(255, 99, 71)},
        {"lavenderblush", rgb(255, 240, 245)}, {"navajowhite", rgb(255, 222, 173)},
        {"gray", rgb(128, 128, 128)}, {"lightgray", rgb(211, 211, 211)}, {"goldenrod", rgb(218, 165, 32)},
        // The CSS values where X11's differ.
        {"green", rgb(0, 128, 0)}, {"maroon", rgb(128, 0, 0)}, {"purple", rgb(128, 0, 128)},
        {"aqua", rgb(0, 255, 255)}, {"cyan", rgb(0, 255, 255)}, {"fuchsia", rgb(255, 0, 255)},
        {"magenta", rgb(255, 0, 255)},
        // Not names: padded, other colour forms, bad bytes.
        {" red", {}}, {"red ", {}}, {"#ff0000", {}}, {"rgb(255,0,0)", {}}, {"", {}},
        {std::string_view("red\0x", 5), {}}, {"\xFF\xFE", {}},
        // The keywords left out: the grey spellings, and those newer than the table.
        {"grey", {}}, {"darkgrey", {}}, {"darkslategrey", {}}, {"dimgrey", {}}, {"lightgrey", {}},
        {"lightslategrey", {}}, {"slategrey", {}}, {"darkgoldenrod", {}}, {"rebeccapurple", {}},
        {"transparent", {}}, {"currentcolor", {}},
    };
    for (const Case& c : cases) EXPECT_EQ(zv::colorWithHTMLName(c.name), c.color) << c.name;
}

}  // namespace
