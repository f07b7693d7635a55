// Page strings: lookups through a real bundle on disk, overrides, kinds and
// ${name} variables with their order of precedence.
#include <zv/localization/PageLocalization.h>

#include "support/TemporaryFolder.h"

#include <gtest/gtest.h>

namespace {

using namespace zv;

// Unknown variables are answered by the "delegate" only for names starting with "d".
class DelegatingStrings : public PageLocalization {
protected:
    VariableResolver variableResolver() const override {
        return [](const std::string& name, const std::string& key) -> std::optional<std::string> {
            if (!name.starts_with("d")) return std::nullopt;
            return "delegate(" + name + "," + key + ")";
        };
    }
};

class PageLocalizationTest : public ::testing::Test {
protected:
    void SetUp() override {
        root_.write("en.lproj/About.html.strings",
              "\"title\" = \"About\";\n\"greeting.text\" = \"<NOTLOCALIZED>\";\n\"greeting\" = \"Hi ${user}\";\n"
              "\"link.href\" = \"https://x/${user}\";\n\"body.html\" = \"<b>${user}</b>\";\n"
              "\"plain.text\" = \"text of plain\";\n\"plain\" = \"bare plain\";\n\"empty.text\" = \"\";");
        strings_.setLocalizationBundle(std::make_shared<Bundle>(root_.path(), std::vector<std::string>{"en"}));
        strings_.setURL(URL::parse("file:///pages/Help/About.html"));
        strings_.setValueForVariable("A", "user");
        strings_.setValueForVariable("B", "user", "K");
        strings_.setValueForVariable("global-only", "g");
    }
    test::TemporaryFolder root_;
    DelegatingStrings strings_;
};

TEST_F(PageLocalizationTest, TableIsThePageFileNameWithItsExtension) {
    EXPECT_EQ(strings_.localizationTable(), "About.html");
    EXPECT_EQ(strings_.localizedStringForKey("title"), "About");
    strings_.setLocalizationTable("Other");
    EXPECT_EQ(strings_.localizedStringForKey("title"), "title");
    EXPECT_EQ(strings_.localizedStringForKey("title", "fallback"), "fallback");
    PageLocalization unaddressed;
    EXPECT_EQ(unaddressed.localizationTable(), std::nullopt);
    EXPECT_EQ(unaddressed.pageSize(), (Size{800, 600}));
}

TEST_F(PageLocalizationTest, VariablesTakeKeyThenGlobalThenDelegateAndUnknownOnesVanish) {
    struct Case {
        const char* text;
        const char* key;
        const char* expected;
    } cases[] = {
        {"${user}", "K", "B"},
        {"${user}", "other", "A"},
        {"${g}/${user}", "K", "global-only/B"},
        {"${dx}", "K", "delegate(dx,K)"},
        {"[${nobody}]", "K", "[]"},
        {"${1abc} ${a-b} ${}", "K", "${1abc} ${a-b} ${}"},
        {"${user}${user}${g}", "other", "AAglobal-only"},
        {"ü${user}ß${dx}", "K", "üBßdelegate(dx,K)"},
        {"${USER}", "K", ""},
    };
    for (const Case& c : cases) EXPECT_EQ(strings_.expandVariables(c.text, c.key), c.expected) << c.text;
}

TEST_F(PageLocalizationTest, ValuesAreNotExpandedAgain) {
    strings_.setValueForVariable("${user}", "nested");
    EXPECT_EQ(strings_.expandVariables("${nested}", "K"), "${user}");
}

TEST_F(PageLocalizationTest, KindsFallBackAndExpandAsEachKindShould) {
    EXPECT_EQ(strings_.localizedTextForKey("greeting", kNotLocalizedMarker), "Hi A");
    EXPECT_EQ(strings_.localizedTextForKey("plain", kNotLocalizedMarker), "text of plain");
    // An empty .text string is not the marker: no fall-back to the bare key.
    EXPECT_EQ(strings_.localizedTextForKey("empty", kNotLocalizedMarker), "");
    EXPECT_EQ(strings_.localizedTextForKey("missing", kNotLocalizedMarker), kNotLocalizedMarker);
    EXPECT_EQ(strings_.localizedHTMLForKey("body", kNotLocalizedMarker), "<b>A</b>");
    EXPECT_EQ(strings_.localizedHRefForKey("link", kNotLocalizedMarker), "https://x/${user}");
    EXPECT_EQ(strings_.localizedStyleForKey("link", kNotLocalizedMarker), kNotLocalizedMarker);
}

TEST_F(PageLocalizationTest, OverridesWinAsTheyStandAndTextStillExpandsThem) {
    strings_.setLocalizedString("Hello ${user}", "greeting.text");
    EXPECT_EQ(strings_.localizedStringForKey("greeting.text"), "Hello ${user}");
    EXPECT_EQ(strings_.localizedTextForKey("greeting", kNotLocalizedMarker), "Hello A");
    strings_.setLocalizedString("second", "greeting.text");
    EXPECT_EQ(strings_.localizedStringForKey("greeting.text"), "second");
}

}  // namespace
