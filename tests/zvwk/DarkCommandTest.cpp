// zvwk dark as a user runs it.
#include "ZvwkRunner.h"

namespace {

using namespace zvwk_test;

using DarkCommand = ZvwkTest;

TEST_F(DarkCommand, AdaptsEachInputAndKeepsMessagesWithTheirOwnDarkStyles) {
    fs::path a = write("a.html", "<!DOCTYPE html><html><head><style>p { color: #000 }</style></head><body><p>a</p></body></html>");
    const char* ownDark = "<html><head><meta name=\"color-scheme\" content=\"light dark\"></head><body>b</body></html>";
    fs::path b = write("b.html", ownDark);
    Outcome run = zvwk("dark --json '" + a.string() + "' '" + b.string() + "'");
    EXPECT_EQ(run.status, 0) << run.err;
    std::vector<nlohmann::json> lines = jsonLines(run.out);
    ASSERT_EQ(lines.size(), 2u) << run.out;
    // The page's #1e1e1e on the root, black text inverted to #e8e8e8, the head sheet gone.
    std::string html = lines[0]["html"];
    EXPECT_NE(html.find("<html style=\"background-color: #1e1e1e !important;"), std::string::npos) << html;
    EXPECT_NE(html.find("color: #e8e8e8 !important;"), std::string::npos) << html;
    EXPECT_EQ(html.find("<style>"), std::string::npos) << html;
    // Its own scheme kept, drawn on the dark canvas.
    EXPECT_EQ(lines[1]["html"], "<html style=\"background-color: #1e1e1e;\"><head><meta name=\"color-scheme\" "
                                "content=\"light dark\"></head><body>b</body></html>");
}

}  // namespace
