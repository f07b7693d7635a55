// Rules by selector from head style sheets: the cutting rules, odd results
// included, over a table of sheets, then scopes and where sheets are found.
#include <zv/css/CSSRuleExtraction.h>

#include <zv/html/HTMLElement.h>
#include <zv/html/HTMLSerializer.h>

#include <gtest/gtest.h>

#include <utility>

namespace {

using zv::html::HTMLDocument;
using Rules = std::vector<std::pair<std::string, std::string>>;

// The rules in selector order, each with its declaration text.
Rules rulesOf(const HTMLDocument& document, const std::vector<std::string>& attFilters = {}) {
    zv::CSSRulesBySelector extracted = zv::extractCSSBySelectors(document, attFilters);
    EXPECT_EQ(extracted.selectors.size(), extracted.declarations.size());
    Rules rules;
    for (const std::string& selector : extracted.selectors) {
        auto entry = extracted.declarations.find(selector);
        EXPECT_NE(entry, extracted.declarations.end()) << selector;
        if (entry != extracted.declarations.end()) rules.emplace_back(selector, entry->second);
    }
    return rules;
}

Rules rulesOfSheet(const std::string& sheet) {
    auto document = HTMLDocument::documentWithString("<head><style>" + sheet + "</style></head><body>");
    return rulesOf(*document);
}

struct SheetCase {
    const char* name;
    const char* sheet;
    Rules rules;
};

const SheetCase kSheets[] = {
    {"RepeatedSelectorJoinsItsDeclarations", "p { color: red; } p { margin: 0; }", {{"p", "color: red;margin: 0;"}}},
    {"DeclarationsAreJoinedWithNothingBetween", "p { color: red } p { margin: 0 }", {{"p", "color: redmargin: 0"}}},
    {"GroupsGiveEachSelectorTheDeclarations", "h1, h2 { font-weight: bold; }",
     {{"h1", "font-weight: bold;"}, {"h2", "font-weight: bold;"}}},
    {"SelectorsKeepTheOrderOfFirstAppearance", "a { x: 1; } b { y: 2; } a { z: 3; }",
     {{"a", "x: 1;z: 3;"}, {"b", "y: 2;"}}},
    {"AnAtRuleBecomesASelectorAndLosesItsRules", "@media screen { p { color: red; } }", {{"@media screen", "p"}}},
    {"LaterRulesInsideAnAtRuleBecomeTopLevel", "@media print { p { x: 1; } h1 { y: 2; } }",
     {{"@media print", "p"}, {"h1", "y: 2;"}}},
    {"AStatementAtRuleRunsIntoTheNextSelector", "@import url(a.css); p { color: red; }",
     {{"@import url(a.css); p", "color: red;"}}},
    {"CommentsOnOneLineTakeEverythingBetweenThem", "/* a */ p { x: 1; } /* b */", {}},
    {"ACommentEndingOnTheLineKeepsWhatFollows", "/* a */ p { x: 1; }", {{"p", "x: 1;"}}},
    {"ACommentAcrossLinesStaysAndItsBracesCut", "/* a {\n b } */ p { x: 1; }",
     {{"/* a", "b"}, {"*/ p", "x: 1;"}}},
    {"EmptyDeclarationsGiveNothing", "p { } q {} r{ }", {}},
    {"EmptySelectorsInAGroupAreKept", "a, , b { x: 1; }", {{"a", "x: 1;"}, {"", "x: 1;"}, {"b", "x: 1;"}}},
    {"WhiteSpaceRunsCollapseToOneSpace", "div  >   p { x: 1; }", {{"div > p", "x: 1;"}}},
    {"ALoneLineBreakStaysAndIsNotTrimmed", "p {\n  color: red;\n}", {{"p", "color: red;\n"}}},
    {"DeclarationTextPassesThroughUnchanged", "p { color: red !important; font: 12px/1.5 \"A B\"; }",
     {{"p", "color: red !important; font: 12px/1.5 \"A B\";"}}},
    {"TrimmingTakesTabsAndUnicodeSpaces", "p\t{\xC2\xA0x: 1;\xE2\x80\x83}\t", {{"p", "x: 1;"}}},
    {"PiecesAfterTheSecondAreIgnored", "a { b { c { d: 1; }", {{"a", "b"}}},
    {"AStrayClosingBraceMakesAnEmptyBlock", "} p { x: 1; }}", {{"p", "x: 1;"}}},
    // Six astral characters make the text six units longer than its count
    // of characters, so the search stops six units short: the run of
    // spaces there stays, and the BMP version of the sheet loses it.
    {"SearchesStopAfterAsManyUnitsAsTheTextHasCharacters",
     "\xF0\x9F\x98\x80\xF0\x9F\x98\x80\xF0\x9F\x98\x80\xF0\x9F\x98\x80\xF0\x9F\x98\x80\xF0\x9F\x98\x80p { x:  1; }",
     {{"\xF0\x9F\x98\x80\xF0\x9F\x98\x80\xF0\x9F\x98\x80\xF0\x9F\x98\x80\xF0\x9F\x98\x80\xF0\x9F\x98\x80p",
       "x:  1;"}}},
    {"BMPCharactersCountOneUnitEach",
     "\xE2\x98\xBA\xE2\x98\xBA\xE2\x98\xBA\xE2\x98\xBA\xE2\x98\xBA\xE2\x98\xBAp { x:  1; }",
     {{"\xE2\x98\xBA\xE2\x98\xBA\xE2\x98\xBA\xE2\x98\xBA\xE2\x98\xBA\xE2\x98\xBAp", "x: 1;"}}},
    {"CombiningSequencesShortenTheSearchToo", "e\xCC\x81" "e\xCC\x81" "e\xCC\x81 p { x: 1; /* c */ }",
     {{"e\xCC\x81" "e\xCC\x81" "e\xCC\x81 p", "x: 1; /* c */"}}},
    {"WithoutThemTheSameCommentGoes", "eee p { x: 1; /* c */ }", {{"eee p", "x: 1;"}}},
    {"ACommentNeedsFourCharacters", "/*/ p { x: 1; }\n/**/q { y: 2; }", {{"/*/ p", "x: 1;"}, {"q", "y: 2;"}}},
    // "}" with U+0301 after it is one character, not the separator.
    {"ASeparatorJoinedByACombiningMarkDoesNotCut", "p { x: 1; }\xCC\x81 q { y: 2; }",
     {{"p", "x: 1; }\xCC\x81 q"}}},
    {"CommaJoinedByACombiningMarkDoesNotCut", "a,\xCC\x81 b, c { x: 1; }", {{"a,\xCC\x81 b", "x: 1;"}, {"c", "x: 1;"}}},
};

class SheetCutting : public testing::TestWithParam<SheetCase> {};

TEST_P(SheetCutting, GivesTheRulesInOrder) { EXPECT_EQ(rulesOfSheet(GetParam().sheet), GetParam().rules); }

INSTANTIATE_TEST_SUITE_P(Sheets, SheetCutting, testing::ValuesIn(kSheets),
                         [](const auto& info) { return std::string(info.param.name); });

TEST(CSSRuleExtraction, SheetsAreReadInDocumentOrderAndTheirRulesMerged) {
    auto document = HTMLDocument::documentWithString(
        "<head><style>b { x: 1; }</style><style></style><style>a { y: 2; } b { z: 3; }</style></head>");
    EXPECT_EQ(rulesOf(*document), (Rules{{"b", "x: 1;z: 3;"}, {"a", "y: 2;"}}));
}

TEST(CSSRuleExtraction, FiltersChooseSheetsByScope) {
    auto document = HTMLDocument::documentWithString(
        "<head><style zv-scope=print>p { a: 1; }</style><style>q { b: 2; }</style>"
        "<style zv-scope=screen>r { c: 3; }</style><style zv-scope=required>s { d: 4; }</style>"
        "<style zv-scope=--invalid-filter-name-->t { e: 5; }</style></head>");
    EXPECT_EQ(rulesOf(*document, {"print"}), (Rules{{"p", "a: 1;"}}));
    EXPECT_EQ(rulesOf(*document, {"screen", "print"}), (Rules{{"p", "a: 1;"}, {"r", "c: 3;"}}));
    // Neither "required" nor the sentinel means anything here: an unscoped
    // sheet is never chosen by a filter.
    EXPECT_EQ(rulesOf(*document, {"required"}), (Rules{{"s", "d: 4;"}}));
    EXPECT_EQ(rulesOf(*document, {"--invalid-filter-name--"}), (Rules{{"t", "e: 5;"}}));
    EXPECT_EQ(rulesOf(*document, {"Print"}), Rules{});
    EXPECT_EQ(rulesOf(*document).size(), 5u);
}

TEST(CSSRuleExtraction, OnlyTheHeadsSheetsAreRead) {
    // The noscript sheet is in the head, one level down; the body's is not read.
    auto document = HTMLDocument::documentWithString(
        "<head><noscript><style>a { x: 1; }</style></noscript></head><body><style>b { y: 2; }</style>");
    EXPECT_EQ(rulesOf(*document), (Rules{{"a", "x: 1;"}}));
}

TEST(CSSRuleExtraction, NoHeadNoSheetsOrEmptySheetsGiveNothing) {
    auto headless = HTMLDocument::documentWithString("<style>p{x:1}</style>");
    headless->documentElement()->removeChildNode(headless->head());
    EXPECT_EQ(rulesOf(*headless), Rules{});
    EXPECT_EQ(rulesOf(*HTMLDocument::create()), Rules{});
    EXPECT_EQ(rulesOfSheet(""), Rules{});
    EXPECT_EQ(rulesOfSheet("  \n\t "), Rules{});
    EXPECT_EQ(rulesOfSheet("just text"), Rules{});
}

TEST(CSSRuleExtraction, TheDocumentIsNotChanged) {
    auto document = HTMLDocument::documentWithString(
        "<head><style>/* c */\np { x: 1; }</style></head><body><p style='y: 2'>t</p>");
    const std::string before = zv::html::serializeNode(*document);
    EXPECT_EQ(rulesOf(*document), (Rules{{"p", "x: 1;"}}));
    EXPECT_EQ(zv::html::serializeNode(*document), before);
}

}  // namespace
