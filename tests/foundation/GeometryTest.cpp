#include <zv/foundation/Geometry.h>

#include <gtest/gtest.h>

#include <limits>

namespace {

TEST(Geometry, PrintsShortestExactNumbers) {
    EXPECT_EQ(zv::stringFromSize({800, 600}), "{800, 600}");
    EXPECT_EQ(zv::stringFromRect({8, 120.5, 640, 18}), "{{8, 120.5}, {640, 18}}");
    EXPECT_EQ(zv::stringFromPoint({-0.0, 0.1}), "{0, 0.1}");
    EXPECT_EQ(zv::stringFromSize({1e20, -2.25}), "{1e+20, -2.25}");
}

TEST(Geometry, TextFormsReadBackExactly) {
    const double values[] = {0, 1, -1, 0.1, 1.0 / 3, 120.5, 1e-7, 123456789.125, 1e300};
    for (double w : values) {
        for (double h : values) {
            zv::Size size{w, h};
            EXPECT_EQ(zv::sizeFromString(zv::stringFromSize(size)), size) << zv::stringFromSize(size);
            zv::Rect rect{h, w, w, h};
            EXPECT_EQ(zv::rectFromString(zv::stringFromRect(rect)), rect) << zv::stringFromRect(rect);
        }
    }
}

TEST(Geometry, ReadingIsLenient) {
    struct Case {
        const char* text;
        zv::Rect rect;
    } cases[] = {
        {"{{8,120.5}, {640,18}}", {8, 120.5, 640, 18}},
        {"{{ 1 , 2 } , { 3 , 4 }}", {1, 2, 3, 4}},
        {"1 2 3 4", {1, 2, 3, 4}},
        {"{{1, 2}, {3", {1, 2, 3, 0}},
        {"x=-5 y=+6.5e1", {-5, 65, 0, 0}},
        {"{{.5, -.25}, {1e2, 2E-1}}", {0.5, -0.25, 100, 0.2}},
        {"garbage", {}},
        {"", {}},
        {"- + . {,}", {}},
        {"{{inf, nan}, {1e999, 7}}", {0, 7, 0, 0}},
    };
    for (const auto& c : cases) EXPECT_EQ(zv::rectFromString(c.text), c.rect) << c.text;

    EXPECT_EQ(zv::sizeFromString("{3,4}"), (zv::Size{3, 4}));
    EXPECT_EQ(zv::sizeFromString("{400, 300}"), (zv::Size{400, 300}));
    EXPECT_EQ(zv::sizeFromString("{7}"), (zv::Size{7, 0}));
    EXPECT_EQ(zv::sizeFromString("nothing here"), (zv::Size{}));
    // A size reads only the first two numbers of a longer text.
    EXPECT_EQ(zv::sizeFromString("{{1, 2}, {3, 4}}"), (zv::Size{1, 2}));
    EXPECT_EQ(zv::pointFromString("{-3, 4.75}"), (zv::Point{-3, 4.75}));
}

TEST(Geometry, ValuesCarryNamedMembers) {
    zv::Value size = zv::Size{400, 300};
    EXPECT_EQ(size, (zv::Value{{"width", 400.0}, {"height", 300.0}}));
    EXPECT_EQ(size.get<zv::Size>(), (zv::Size{400, 300}));
    zv::Value rect = zv::Rect{1, 2, 3, 4};
    EXPECT_EQ(rect.get<zv::Rect>(), (zv::Rect{1, 2, 3, 4}));
    // Members missing or of another type read as 0, never throw.
    EXPECT_EQ(zv::Value({{"x", "7"}, {"width", 5}}).get<zv::Rect>(), (zv::Rect{0, 0, 5, 0}));
    EXPECT_EQ(zv::Value("text").get<zv::Point>(), (zv::Point{}));
}

}  // namespace
