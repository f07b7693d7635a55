// zvwk page, run as a program: a page shown and captured.
#include "ZvwkRunner.h"

#include <glib.h>

namespace {

using namespace zvwk_test;

class PageCommand : public ZvwkTest {};

TEST_F(PageCommand, ShowsTheLocalizedPageAtItsSizeAndCapturesIt) {
    if (!g_getenv("DISPLAY")) GTEST_SKIP() << "no display: run under xvfb-run";
    g_setenv("WEBKIT_DISABLE_SANDBOX_THIS_IS_DANGEROUS", "1", TRUE);
    // The web engine keeps allocations to the end of the process: no leak
    // report from zvwk under AddressSanitizer (this process is not affected).
    g_setenv("ASAN_OPTIONS", "detect_leaks=0", TRUE);
    write("Info.html", "<p localizationkey=hi>x</p>");
    write("de.lproj/Info.html.strings", "\"@WindowSize\" = \"{300, 200}\";\n\"hi\" = \"Hallo\";");
    fs::path png = dir_ / "shot.png";
    Outcome run = zvwk("page '" + (dir_ / "Info.html").string() + "' --lang de --screenshot '" + png.string() + "'");
    ASSERT_EQ(run.status, 0) << run.err;
    // A PNG's width and height are big-endian at bytes 16 and 20.
    std::string bytes = read("shot.png");
    ASSERT_GE(bytes.size(), 24u);
    auto at = [&](size_t i) {
        return (unsigned char)bytes[i] << 24 | (unsigned char)bytes[i + 1] << 16 | (unsigned char)bytes[i + 2] << 8 |
               (unsigned char)bytes[i + 3];
    };
    EXPECT_EQ(at(16), 300);
    EXPECT_EQ(at(20), 200);
}

}  // namespace
