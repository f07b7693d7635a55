#include <zv/foundation/StringsTable.h>

#include <gtest/gtest.h>

namespace {

using zv::parseStringsTable;
using zv::StringsTable;

TEST(StringsTable, ReadsEntriesCommentsAndEscapes) {
    const char* text = R"(/* Window of the about page */
"@WindowSize" = "{400, 300}";
"@WindowTitle"="About \"Wren\"";   // trailing comment
// a line comment with "quotes" = "inside";
"multi" =
    "one\ntwo\tthree\\four\'five\/six";
/* a block
   over lines */ "nul" = "a\0b";
"unicode" = "caf\U00E9 \u2014 \UD83D\UDE00";
"lone" = "\UD800x";
unquoted_key-1.2 = $value+/:ok;
"same" = "first";
"same" = "second";
"keyOnly";
"emoji" = "😀";
)";
    std::string error = "untouched";
    StringsTable table = parseStringsTable(text, &error);
    EXPECT_EQ(error, "untouched");
    EXPECT_EQ(table.size(), 10u);
    EXPECT_EQ(table["@WindowSize"], "{400, 300}");
    EXPECT_EQ(table["@WindowTitle"], "About \"Wren\"");
    EXPECT_EQ(table["multi"], "one\ntwo\tthree\\four'five/six");
    EXPECT_EQ(table["nul"], std::string("a\0b", 3));
    EXPECT_EQ(table["unicode"], "caf\xC3\xA9 \xE2\x80\x94 \xF0\x9F\x98\x80");
    EXPECT_EQ(table["lone"], "\xEF\xBF\xBDx");
    EXPECT_EQ(table["unquoted_key-1.2"], "$value+/:ok");
    EXPECT_EQ(table["same"], "second");
    EXPECT_EQ(table["keyOnly"], "keyOnly");
    EXPECT_EQ(table["emoji"], "\xF0\x9F\x98\x80");
    EXPECT_EQ(table.count("inside"), 0u);
}

TEST(StringsTable, StopsAtTheFirstFaultKeepingWhatCameBefore) {
    struct Case {
        const char* text;
        size_t kept;
        const char* error;
    } cases[] = {
        {"\"a\" = \"1\";\n\"b\" = \"2\"\n\"c\" = \"3\";", 1, "line 3: expected \";\""},
        {"\"a\" = \"1\";\n\"b\" = \"unterminated;\n", 1, "line 2: unterminated string"},
        {"\"a\" = \"1\"; /* open comment", 1, "line 1: unterminated comment"},
        {"\"a\" = ;", 0, "line 1: unexpected \";\""},
        {"\"a\" = \"1\";\n\n= \"x\";", 1, "line 3: unexpected \"=\""},
        {"\"bad\" = \"\\U12G4\";", 0, "line 1: expected four hex digits after \\U"},
        {"\"a\"", 0, "line 1: expected \"=\" or \";\" after the key"},
        {"\"a\" =", 0, "line 1: expected a value after \"=\""},
    };
    for (const auto& c : cases) {
        std::string error;
        StringsTable table = parseStringsTable(c.text, &error);
        EXPECT_EQ(table.size(), c.kept) << c.text;
        EXPECT_EQ(error, c.error) << c.text;
    }
    // The last entry may go without its semicolon.
    std::string error;
    EXPECT_EQ(parseStringsTable("\"a\" = \"1\";\n\"b\" = \"2\"  // end\n", &error).at("b"), "2");
    EXPECT_EQ(error, "");
    EXPECT_TRUE(parseStringsTable("").empty());
    EXPECT_TRUE(parseStringsTable(" /* only */ // comments\n").empty());
}

TEST(StringsTable, ReadsByteOrderMarkedText) {
    EXPECT_EQ(parseStringsTable("\xEF\xBB\xBF\"k\" = \"v\";").at("k"), "v");
    // "k" = "é"; in UTF-16, little and big endian.
    std::string little("\xFF\xFE\"\0k\0\"\0=\0\"\0\xE9\0\"\0;\0", 18);
    std::string big("\xFE\xFF\0\"\0k\0\"\0=\0\"\0\xE9\0\"\0;", 18);
    EXPECT_EQ(parseStringsTable(little).at("k"), "\xC3\xA9");
    EXPECT_EQ(parseStringsTable(big).at("k"), "\xC3\xA9");
}

}  // namespace
