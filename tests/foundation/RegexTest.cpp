#include <zv/foundation/Regex.h>

#include <gtest/gtest.h>

namespace {

using zv::Regex;
using zv::RegexError;
using zv::RegexMatchingOptions;
using zv::RegexOptions;
using zv::RegexRange;

Regex compiled(std::string_view pattern, RegexOptions options = RegexOptions::None) {
    RegexError error;
    std::optional<Regex> regex = Regex::compile(pattern, options, &error);
    EXPECT_TRUE(regex) << pattern << ": " << error.localizedDescription;
    return *regex;
}

TEST(Regex, TemplatesInsertGroupsAndQuoteWithBackslash) {
    Regex pair = compiled("(\\w+)=(\\w+)");
    EXPECT_EQ(pair.replaceMatches("a=1, b=2", "$2:$1"), "1:a, 2:b");
    EXPECT_EQ(pair.replaceMatches("a=1", "[$0]"), "[a=1]");
    EXPECT_EQ(pair.replaceMatches("a=1", "\\$1"), "$1");
    // An optional group that took part with nothing, or not at all, inserts nothing.
    EXPECT_EQ(compiled("</div>([\\n]?)").replaceMatches("</div></div>\nx", "</div>\n"), "</div>\n</div>\nx");
    EXPECT_EQ(compiled("a(x)?b").replaceMatches("ab", "<$1>"), "<>");
    // A template naming a group the pattern lacks changes nothing.
    EXPECT_EQ(compiled("(a)").replaceMatches("banana", "$3"), "banana");
}

TEST(Regex, CaseInsensitiveFoldsTagNamesAndNonAscii) {
    Regex br = compiled("<br>", RegexOptions::CaseInsensitive);
    EXPECT_EQ(br.replaceMatches("a<BR>b<Br>c<br>", "\n"), "a\nb\nc\n");
    EXPECT_EQ(compiled("<br>").replaceMatches("a<BR>", "\n"), "a<BR>");
    // Full Unicode case folding, in UTF-8 out as it came in.
    EXPECT_EQ(compiled("ÉTÉ", RegexOptions::CaseInsensitive).replaceMatches("un été", "summer"), "un summer");
}

TEST(Regex, WhiteSpaceClassTakesLineBreaksAndUnicodeSpaces) {
    Regex trailing = compiled("<br>([\\s]*)</p>", RegexOptions::CaseInsensitive);
    EXPECT_EQ(trailing.replaceMatches("x<br> \n\t\xC2\xA0</P>", "</p>"), "x</p>");
    EXPECT_EQ(trailing.replaceMatches("x<br>y</p>", "</p>"), "x<br>y</p>");
}

TEST(Regex, OptionsMapToTheirIcuFlags) {
    // Line anchors.
    EXPECT_EQ(compiled("^x").numberOfMatches("x\nx"), 1u);
    EXPECT_EQ(compiled("^x", RegexOptions::AnchorsMatchLines).numberOfMatches("x\nx"), 2u);
    // Dot and line breaks.
    EXPECT_EQ(compiled("a.b").numberOfMatches("a\nb"), 0u);
    EXPECT_EQ(compiled("a.b", RegexOptions::DotMatchesLineSeparators).numberOfMatches("a\nb"), 1u);
    // Metacharacters as literals.
    EXPECT_EQ(compiled("a.b", RegexOptions::IgnoreMetacharacters).numberOfMatches("axb a.b"), 1u);
    // Comments and white space in the pattern.
    EXPECT_EQ(compiled("a b # letters", RegexOptions::AllowCommentsAndWhitespace).numberOfMatches("ab"), 1u);
    // The values combine as the numbers other code writes them (17).
    EXPECT_EQ(uint32_t(RegexOptions::CaseInsensitive | RegexOptions::AnchorsMatchLines), 17u);
    EXPECT_EQ(compiled("^X$", RegexOptions(17)).numberOfMatches("x\nx"), 2u);
}

TEST(Regex, RangesCountUtf16UnitsAndLeaveTheRestAlone) {
    Regex a = compiled("a");
    EXPECT_EQ(a.replaceMatches("aaaa", "b", RegexMatchingOptions::None, RegexRange{1, 2}), "abba");
    EXPECT_EQ(a.numberOfMatches("aaaa", RegexMatchingOptions::None, RegexRange{1, 2}), 2u);
    // "😀" is two UTF-16 units: the range [0, 3) covers it and the first "a" only.
    EXPECT_EQ(a.replaceMatches("😀aa", "b", RegexMatchingOptions::None, RegexRange{0, 3}), "😀ba");
    // Ranges past the end are clipped, not refused.
    EXPECT_EQ(a.replaceMatches("aa", "b", RegexMatchingOptions::None, RegexRange{1, 100}), "ab");
    EXPECT_EQ(a.numberOfMatches("aa", RegexMatchingOptions::None, RegexRange{5, 1}), 0u);
    EXPECT_EQ(a.numberOfMatches("aa", RegexMatchingOptions::None, RegexRange{1, SIZE_MAX}), 1u);
}

TEST(Regex, AnchoringBoundsDecideWhetherRangeEndsCountAsLineEnds) {
    Regex last = compiled("\\w+$");
    const RegexRange firstWord{0, 3};  // "one" of "one two"
    EXPECT_EQ(last.numberOfMatches("one two", RegexMatchingOptions::None, firstWord), 1u);
    EXPECT_EQ(last.numberOfMatches("one two", RegexMatchingOptions::WithoutAnchoringBounds, firstWord), 0u);
    EXPECT_EQ(last.replaceMatches("one two", "X", RegexMatchingOptions::None, firstWord), "X two");
    EXPECT_EQ(last.replaceMatches("one two", "X", RegexMatchingOptions::WithoutAnchoringBounds, firstWord),
              "one two");
    // Over the whole text the option changes nothing.
    EXPECT_EQ(last.numberOfMatches("one two", RegexMatchingOptions::WithoutAnchoringBounds), 1u);
}

TEST(Regex, TransparentBoundsLetLookaroundSeePastTheRange) {
    Regex beforeB = compiled("a(?=b)");
    const RegexRange justA{0, 1};
    EXPECT_EQ(beforeB.numberOfMatches("ab", RegexMatchingOptions::None, justA), 0u);
    EXPECT_EQ(beforeB.numberOfMatches("ab", RegexMatchingOptions::WithTransparentBounds, justA), 1u);
}

TEST(Regex, EmptyMatchesAdvance) {
    EXPECT_EQ(compiled("x*").replaceMatches("ab", "-"), "-a-b-");
    EXPECT_EQ(compiled("x*").numberOfMatches(""), 1u);
}

// A search over the whole text tries the engine only where the pattern's
// literal prefix stands; with a range it runs ICU's own loop. Both must agree,
// case folding beyond ASCII and lookbehind included.
TEST(Regex, ThePrefixSearchFindsWhatTheEngineFinds) {
    struct Pattern {
        const char* text;
        RegexOptions options;
    };
    const RegexOptions ci = RegexOptions::CaseInsensitive;
    const Pattern patterns[] = {
        {"</div>([\\n]?)", ci},  {"<br>([\\s]*)</p>", ci}, {"<div([^>]*)>(&nbsp;)*</div", ci},
        {"<br>", ci},            {"<ss>", ci},              {"<k", ci},
        {"<fi", ci},             {"ab+c", {}},              {"abc?", {}},
        {"x*y", {}},             {"<b(?<=x<b)", ci},        {"<i\\b", ci},
        {"a|<b", ci},            {"é<", ci},                {"<a.c", RegexOptions::DotMatchesLineSeparators},
        {"a\\G", {}},
    };
    const char* inputs[] = {
        "<BR>x</P><br> \n</p>",   "</div></DIV>\n\n</Div>",       "<<br><br><br>",
        "<\u00DF><SS><sS>",        "<K <\u212A <k",                 "<\uFB01 <fi <FI",
        "abbbc abc ab ac",         "xxy y x",                        "x<b <b x<B",
        "<i <in <I>",              "<div class=\"x\">&nbsp;</div><div></DIV",
        "\u00C9< \u00E9< e<",      "<a\nc <abc",                    "",
        "\xF0\x9F\x98\x80<br>\xF0\x9F\x98\x80", "aaa", "\xFF<br>\xC3",
    };
    const char* templates[] = {"$1", "[$0]", "\n<br>", "<div$1><br></div", "\\$1", "$12"};
    for (const Pattern& p : patterns) {
        Regex regex = compiled(p.text, p.options);
        for (const char* input : inputs) {
            const RegexRange whole{0, SIZE_MAX};
            EXPECT_EQ(regex.numberOfMatches(input), regex.numberOfMatches(input, RegexMatchingOptions::None, whole))
                << p.text << " in " << input;
            for (const char* templ : templates)
                EXPECT_EQ(regex.replaceMatches(input, templ),
                          regex.replaceMatches(input, templ, RegexMatchingOptions::None, whole))
                    << p.text << " in " << input << " with " << templ;
        }
    }
    // Spot checks of what the folding cases give.
    EXPECT_EQ(compiled("<ss>", ci).numberOfMatches("<\u00DF>"), 1u);
    EXPECT_EQ(compiled("<k", ci).numberOfMatches("<\u212A"), 1u);
}

TEST(Regex, APatternThatDoesNotCompileSaysWhyAndWhere) {
    RegexError error;
    EXPECT_FALSE(Regex::compile("a(b", RegexOptions::None, &error));
    EXPECT_EQ(error.name, "U_REGEX_MISMATCHED_PAREN");
    EXPECT_GE(error.offset, 0);
    EXPECT_NE(error.localizedDescription.find("a(b"), std::string::npos);
    EXPECT_NE(error.localizedDescription.find("U_REGEX_MISMATCHED_PAREN"), std::string::npos);

    EXPECT_FALSE(Regex::compile("[z-a]"));  // no error out-parameter: still no crash
    EXPECT_FALSE(Regex::compile("*", RegexOptions::CaseInsensitive, &error));
    EXPECT_EQ(error.name, "U_REGEX_RULE_SYNTAX");
}

}  // namespace
