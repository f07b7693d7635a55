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

// Templates insert groups ($0 the whole match) and quote with a backslash;
// case folding is full Unicode, in UTF-8 out as it came in; \s takes line
// breaks and Unicode spaces; empty matches advance.
TEST(Regex, ReplacesAndCountsAsThePatternAndOptionsSay) {
    const RegexOptions none = RegexOptions::None, ci = RegexOptions::CaseInsensitive;
    struct Replacement {
        const char* pattern;
        RegexOptions options;
        const char* input;
        const char* templ;
        const char* expected;
    };
    const Replacement replacements[] = {
        {"(\\w+)=(\\w+)", none, "a=1, b=2", "$2:$1", "1:a, 2:b"},
        {"(\\w+)=(\\w+)", none, "a=1", "[$0]", "[a=1]"},
        {"(\\w+)=(\\w+)", none, "a=1", "\\$1", "$1"},
        // An optional group that took part with nothing, or not at all, inserts nothing.
        {"</div>([\\n]?)", none, "</div></div>\nx", "</div>\n", "</div>\n</div>\nx"},
        {"a(x)?b", none, "ab", "<$1>", "<>"},
        // A template naming a group the pattern lacks changes nothing.
        {"(a)", none, "banana", "$3", "banana"},
        {"<br>", ci, "a<BR>b<Br>c<br>", "\n", "a\nb\nc\n"},
        {"<br>", none, "a<BR>", "\n", "a<BR>"},
        {"ÉTÉ", ci, "un été", "summer", "un summer"},
        {"<br>([\\s]*)</p>", ci, "x<br> \n\t\xC2\xA0</P>", "</p>", "x</p>"},
        {"<br>([\\s]*)</p>", ci, "x<br>y</p>", "</p>", "x<br>y</p>"},
        {"x*", none, "ab", "-", "-a-b-"},
    };
    for (const Replacement& r : replacements)
        EXPECT_EQ(compiled(r.pattern, r.options).replaceMatches(r.input, r.templ), r.expected) << r.pattern;

    struct Count {
        const char* pattern;
        RegexOptions options;
        const char* input;
        size_t matches;
    };
    const Count counts[] = {
        {"^x", none, "x\nx", 1},
        {"^x", RegexOptions::AnchorsMatchLines, "x\nx", 2},
        {"a.b", none, "a\nb", 0},
        {"a.b", RegexOptions::DotMatchesLineSeparators, "a\nb", 1},
        {"a.b", RegexOptions::IgnoreMetacharacters, "axb a.b", 1},
        {"a b # letters", RegexOptions::AllowCommentsAndWhitespace, "ab", 1},
        // The values combine as the numbers other code writes them (17).
        {"^X$", RegexOptions(17), "x\nx", 2},
        {"x*", none, "", 1},
        {"<ss>", ci, "<\u00DF>", 1},
        {"<k", ci, "<\u212A", 1},
    };
    for (const Count& c : counts)
        EXPECT_EQ(compiled(c.pattern, c.options).numberOfMatches(c.input), c.matches) << c.pattern;
    EXPECT_EQ(uint32_t(RegexOptions::CaseInsensitive | RegexOptions::AnchorsMatchLines), 17u);
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
