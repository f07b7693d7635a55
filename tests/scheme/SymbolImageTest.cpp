// "wren-symbol" URLs: how they read, and the symbols drawn from the icon theme.
#include <zv/scheme/IconThemeSymbols.h>
#include <zv/scheme/SymbolImage.h>
#include <zv/scheme/ZVWebViewURLSchemeHandler.h>

#include "LoopbackServer.h"
#include "SchemeTestSupport.h"

#include <zv/scheme/AccentColor.h>

#include <gtest/gtest.h>

#include <cmath>
#include <future>
#include <thread>

namespace zv {
namespace {

constexpr Color kRed{1, 0, 0, 1};

TEST(SymbolURL, ReadsNameSizeWeightAndColour) {
    struct Case {
        const char* query;  // after "wren-symbol:questionmark.square.dashed"
        double pointSize;
        SymbolWeight weight;
        std::optional<Color> color;
    };
    const Case cases[] = {
        {"", 96, SymbolWeight::Regular, std::nullopt},
        {"?size=36", 72, SymbolWeight::Regular, std::nullopt},
        {"?size=0", 96, SymbolWeight::Regular, std::nullopt},
        {"?size=abc", 96, SymbolWeight::Regular, std::nullopt},
        {"?size=-5", 96, SymbolWeight::Regular, std::nullopt},
        {"?size=36px", 72, SymbolWeight::Regular, std::nullopt},
        {"?size", 96, SymbolWeight::Regular, std::nullopt},
        {"?SIZE=10&size=20", 40, SymbolWeight::Regular, std::nullopt},  // the later size wins
        {"?weight=BOLD", 96, SymbolWeight::Bold, std::nullopt},
        {"?weight=ultra", 96, SymbolWeight::UltraLight, std::nullopt},
        {"?weight=regular", 96, SymbolWeight::Regular, std::nullopt},
        {"?weight=heavy&weight=whatever", 96, SymbolWeight::Heavy, std::nullopt},  // an unknown weight keeps the last
        {"?Color=%23FF0000", 96, SymbolWeight::Regular, kRed},
        {"?color=RED&weight=light", 96, SymbolWeight::Light, kRed},
        {"?color=nonsense", 96, SymbolWeight::Regular, std::nullopt},
        {"?size=36&color=%233584e4&weight=light", 72, SymbolWeight::Light,
         Color{0x35 / 255.0, 0x84 / 255.0, 0xe4 / 255.0, 1}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.query);
        auto request = symbolImageRequestFromURL(std::string("wren-symbol:questionmark.square.dashed") + c.query);
        ASSERT_TRUE(request);
        EXPECT_EQ(request->name, "questionmark.square.dashed");
        EXPECT_EQ(request->pointSize, c.pointSize);
        EXPECT_EQ(request->weight, c.weight);
        EXPECT_EQ(request->color, c.color);
    }
}

TEST(SymbolURL, TextThatIsNoURLReadsAsNothing) {
    EXPECT_FALSE(symbolImageRequestFromURL("questionmark.square.dashed"));
    EXPECT_FALSE(symbolImageRequestFromURL(""));
}

class IconThemeSymbolsTest : public ::testing::Test {
protected:
    static void SetUpTestSuite() { useIconThemeSymbols(); }

    static Data render(const std::string& url) {
        auto request = symbolImageRequestFromURL(url);
        EXPECT_TRUE(request) << url;
        auto png = request ? renderIconThemeSymbol(*request) : std::nullopt;
        EXPECT_TRUE(png) << url;
        return png.value_or(Data{});
    }

    static int coverage(const std::string& url) { return test::pngCoverage(render(url)).second; }
};

// Symbols the mail views use, with the icons that stand for them.
TEST_F(IconThemeSymbolsTest, SymbolsAndIconNamesAreDrawnUnknownNamesAreNot) {
    struct Row {
        const char* symbol;
        const char* icon;  // null: nothing stands for it
    };
    const Row rows[] = {
        {"questionmark.square.dashed", "image-missing-symbolic"},
        {"paperclip", "mail-attachment-symbolic"},
        {"envelope.open", "mail-read-symbolic"},
        {"arrowshape.turn.up.right", "mail-forward-symbolic"},
        {"exclamationmark.triangle", "dialog-warning-symbolic"},
        {"mail-attachment-symbolic", "mail-attachment-symbolic"},  // icon names pass as they are
        {"mail-attachment", nullptr},                              // only symbolic icons
        {"no.such.symbol", nullptr},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.symbol);
        auto png = renderIconThemeSymbol(SymbolImageRequest{row.symbol, 32, SymbolWeight::Regular, std::nullopt});
        if (!row.icon) {
            EXPECT_FALSE(iconNameForSymbol(row.symbol));
            EXPECT_FALSE(png);
            continue;
        }
        EXPECT_EQ(iconNameForSymbol(row.symbol), row.icon);
        ASSERT_TRUE(png);
        EXPECT_GT(test::pngCoverage(*png).second, 0) << "blank";
    }
}

TEST_F(IconThemeSymbolsTest, SizeIsTwiceThePointsAndBounded) {
    auto pixel = test::pngPixel(render("wren-symbol:paperclip?size=36"), 0, 0);
    ASSERT_TRUE(pixel);
    EXPECT_EQ(pixel->width, 72);
    EXPECT_EQ(pixel->height, 72);
    pixel = test::pngPixel(render("wren-symbol:paperclip?size=99999999999"), 0, 0);
    ASSERT_TRUE(pixel);
    EXPECT_EQ(pixel->width, 1024);
}

TEST_F(IconThemeSymbolsTest, AColourReplacesTheIconsOwn) {
    Data png = render("wren-symbol:star.fill?size=24&color=%23ff0000");
    auto own = test::pngPixel(render("wren-symbol:star.fill?size=24"), 24, 24);
    auto red = test::pngPixel(png, 24, 24);  // the middle of the star
    ASSERT_TRUE(own && red);
    EXPECT_EQ(own->a, 255);
    EXPECT_LT(own->r, 100);  // Adwaita's dark grey
    EXPECT_EQ(red->a, 255);
    EXPECT_EQ(std::tie(red->r, red->g, red->b), std::make_tuple(255, 0, 0));
    // Coverage is kept: a colour changes no shape.
    EXPECT_EQ(test::pngCoverage(png), test::pngCoverage(render("wren-symbol:star.fill?size=24")));
}

TEST_F(IconThemeSymbolsTest, WeightThickensAndThins) {
    int thinner = 0;
    for (const char* weight : {"&weight=ultra", "&weight=light", "", "&weight=bold", "&weight=black"}) {
        const int covered = coverage(std::string("wren-symbol:paperclip?size=48") + weight);
        EXPECT_LT(thinner, covered) << weight;
        thinner = covered;
    }
}

// What a scheme routine answered, and on which thread.
struct Answer {
    std::optional<URLResponse> response;
    std::optional<Data> data;
    std::optional<Error> error;
    bool untracked = false;
    std::thread::id thread;

    // Waits, bounded, for the answer to what `ask` starts.
    static Answer of(const std::function<void(ZVWebViewURLSchemeHandler::Completion)>& ask) {
        auto promise = std::make_shared<std::promise<Answer>>();
        auto future = promise->get_future();
        ask([promise](auto r, auto d, auto e, bool u) {
            promise->set_value({std::move(r), std::move(d), std::move(e), u, std::this_thread::get_id()});
        });
        if (future.wait_for(std::chrono::seconds(10)) != std::future_status::ready) {
            ADD_FAILURE() << "no answer";
            return {};
        }
        return future.get();
    }
    static Answer toSymbol(const std::string& url) {
        URLRequest request;
        request.url = url;
        return of([&](auto completion) { ZVWebViewURLSchemeHandler::handleSymbolRequest(request, completion); });
    }
};

TEST_F(IconThemeSymbolsTest, HandleSymbolRequestAnswersPNGOrFileDoesNotExist) {
    const std::string url = "wren-symbol:paperclip?size=10";
    Answer answer = Answer::toSymbol(url);
    ASSERT_TRUE(answer.response && answer.data);
    EXPECT_FALSE(answer.error);
    EXPECT_TRUE(answer.untracked);
    EXPECT_EQ(answer.response->url, url);
    EXPECT_EQ(answer.response->mimeType, "image/png");
    EXPECT_EQ(answer.response->expectedContentLength, std::int64_t(answer.data->size()));
    EXPECT_EQ(test::pngPixel(*answer.data, 0, 0)->width, 20);
    EXPECT_NE(answer.thread, std::this_thread::get_id()) << "drawn on the asking thread";

    answer = Answer::toSymbol("wren-symbol:no.such.symbol");
    EXPECT_FALSE(answer.response || answer.data);
    ASSERT_TRUE(answer.error);
    EXPECT_EQ(answer.error->domain, kURLErrorDomain);
    EXPECT_EQ(answer.error->code, kURLErrorFileDoesNotExist);
    EXPECT_FALSE(answer.untracked);

    // Without a renderer no symbol exists, not even one drawn before.
    auto renderer = symbolRenderer();
    setSymbolRenderer(nullptr);
    answer = Answer::toSymbol(url);
    setSymbolRenderer(renderer);
    ASSERT_TRUE(answer.error);
    EXPECT_EQ(answer.error->code, kURLErrorFileDoesNotExist);
}

TEST_F(IconThemeSymbolsTest, ThePlaceholderIsTheLightSymbolInTheAccentColour) {
    Answer answer = Answer::of(&ZVWebViewURLSchemeHandler::makeMissingResourceWithHandler);
    ASSERT_TRUE(answer.response && answer.data);
    const Data& data = *answer.data;
    auto request = symbolImageRequestFromURL(answer.response->url);
    ASSERT_TRUE(request);
    EXPECT_EQ(*request, (SymbolImageRequest{"questionmark.square.dashed", 72, SymbolWeight::Light, controlAccentColor()}));
    EXPECT_EQ(data, *renderIconThemeSymbol(*request));
    // Every pixel it covers is the accent colour.
    Color accent = controlAccentColor();
    bool found = false;
    for (int y = 0; y < 72 && !found; ++y) {
        for (int x = 0; x < 72 && !found; ++x) {
            auto pixel = test::pngPixel(data, x, y);
            if (pixel->a < 64) continue;
            found = true;
            EXPECT_NEAR(pixel->r, std::lround(accent.r * 255), 3);
            EXPECT_NEAR(pixel->g, std::lround(accent.g * 255), 3);
            EXPECT_NEAR(pixel->b, std::lround(accent.b * 255), 3);
        }
    }
    EXPECT_TRUE(found);
}

}  // namespace
}  // namespace zv
