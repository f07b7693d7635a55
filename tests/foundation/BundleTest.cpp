#include <zv/foundation/Bundle.h>

#include <gtest/gtest.h>

#include "support/TemporaryFolder.h"

#include <glib.h>

#include <optional>

namespace {

// A resource folder made for one test and removed after it.
class BundleTest : public ::testing::Test {
protected:
    void SetUp() override {
        write("Localizable.strings", "\"topOnly\" = \"from the top\";\n\"Hello\" = \"top hello\";");
        write("about.html", "<p>about</p>");
        write("js/mark.min.js", "/* script */");
        write("de.lproj/Localizable.strings", "/* German */\n\"Hello\" = \"Hallo\";\n\"@WindowSize\" = \"{400, 300}\";");
        write("de.lproj/Find.strings", "\"Next\" = \"Weiter\";");
        write("de.lproj/page.html", "<p>Seite</p>");
        write("en.lproj/Localizable.strings", "\"Hello\" = \"Hello\";\n\"onlyEnglish\" = \"English only\";");
        write("en.lproj/page.html", "<p>page</p>");
        write("Base.lproj/Localizable.strings", "\"fromBase\" = \"Base text\";");
        write("pt-BR.lproj/Localizable.strings", "\"Hello\" = \"Olá\";");
        write("broken.lproj/Localizable.strings", "\"kept\" = \"yes\";\n\"lost\" = \"no\"\n\"after\" = \"x\";");
        write("fr.lproj/.keep", "");
        write("notes.lproj", "a file, not a folder");
    }
    void write(const std::string& relative, const std::string& contents) const { folder_.write(relative, contents); }

    zv::test::TemporaryFolder folder_;
    const std::string root_ = folder_.path();
};

// Sets an environment variable for one scope.
class ScopedEnvironment {
public:
    ScopedEnvironment(const char* name, const char* value) : name_(name) {
        if (const char* old = g_getenv(name)) old_ = old;
        if (value)
            g_setenv(name, value, TRUE);
        else
            g_unsetenv(name);
    }
    ~ScopedEnvironment() {
        if (old_)
            g_setenv(name_, old_->c_str(), TRUE);
        else
            g_unsetenv(name_);
    }

private:
    const char* name_;
    std::optional<std::string> old_;
};

TEST_F(BundleTest, SearchesThePreferredLanguagesThenBaseThenEnglish) {
    zv::Bundle german(root_, {"de_DE", "de"});
    EXPECT_EQ(german.preferredLocalizations(), (std::vector<std::string>{"de", "Base", "en"}));
    // A user who names English gets it before the Base folder.
    EXPECT_EQ(zv::Bundle(root_, {"de", "en"}).preferredLocalizations(), (std::vector<std::string>{"de", "en", "Base"}));
    zv::Bundle brazilian(root_, {"pt_BR", "pt"});
    EXPECT_EQ(brazilian.preferredLocalizations(), (std::vector<std::string>{"pt-BR", "Base", "en"}));
    zv::Bundle missing(root_ + "/nowhere", {"de"});
    EXPECT_TRUE(missing.preferredLocalizations().empty());
    EXPECT_TRUE(missing.localizations().empty());
    EXPECT_EQ(german.localizations(), (std::vector<std::string>{"Base", "broken", "de", "en", "fr", "pt-BR"}));
}

TEST_F(BundleTest, LocalizedStringLookupContract) {
    zv::Bundle bundle(root_, {"de", "en"});
    EXPECT_EQ(bundle.localizedString("Hello"), "Hallo");
    EXPECT_EQ(bundle.localizedString("@WindowSize", "", "Localizable"), "{400, 300}");
    // Keys the first language lacks come from the next folder that has them.
    EXPECT_EQ(bundle.localizedString("fromBase"), "Base text");
    EXPECT_EQ(bundle.localizedString("onlyEnglish"), "English only");
    EXPECT_EQ(bundle.localizedString("topOnly"), "from the top");
    // Missing: the default when there is one, else the key itself.
    EXPECT_EQ(bundle.localizedString("@WindowTitle", "Default title"), "Default title");
    EXPECT_EQ(bundle.localizedString("@WindowTitle"), "@WindowTitle");
    EXPECT_EQ(bundle.localizedString("Next", "", "Find"), "Weiter");
    EXPECT_EQ(bundle.localizedString("Next", "", "NoSuchTable"), "Next");
    EXPECT_EQ(zv::Bundle(root_, {"pt_BR"}).localizedString("Hello"), "Olá");
}

TEST_F(BundleTest, TablesAreReadOnceAndMalformedOnesKeepTheirStart) {
    zv::Bundle bundle(root_, {"broken"});
    EXPECT_EQ(bundle.localizedString("kept"), "yes");
    EXPECT_EQ(bundle.localizedString("after"), "after");
    auto table = bundle.stringsTable("Localizable", "broken");
    EXPECT_EQ(table->size(), 1u);
    // Changing the file afterwards changes nothing: the table is cached.
    write("broken.lproj/Localizable.strings", "\"kept\" = \"changed\";");
    EXPECT_EQ(bundle.localizedString("kept"), "yes");
    EXPECT_EQ(bundle.stringsTable("Localizable", "broken"), table);
    EXPECT_TRUE(bundle.stringsTable("Missing", "de")->empty());
}

TEST_F(BundleTest, FindsResourcesAtTheTopThenByLanguage) {
    zv::Bundle bundle(root_, {"de", "en"});
    EXPECT_EQ(bundle.pathForResource("about", "html"), root_ + "/about.html");
    EXPECT_EQ(bundle.pathForResource("page", "html"), root_ + "/de.lproj/page.html");
    EXPECT_EQ(zv::Bundle(root_, {"fr"}).pathForResource("page", "html"), root_ + "/en.lproj/page.html");
    EXPECT_EQ(bundle.pathForResource("js/mark.min", "js"), root_ + "/js/mark.min.js");
    EXPECT_EQ(bundle.pathForResource("about.html", ""), root_ + "/about.html");
    EXPECT_EQ(bundle.pathForResource("missing", "html"), std::nullopt);
    EXPECT_EQ(bundle.pathForResource("js", ""), std::nullopt) << "folders are not resources";
    EXPECT_EQ(bundle.pathForResource("", ""), std::nullopt);
    auto url = bundle.urlForResource("page", "html");
    ASSERT_TRUE(url);
    EXPECT_TRUE(url->isFileURL());
    EXPECT_EQ(url->filePath(), root_ + "/de.lproj/page.html");
}

TEST_F(BundleTest, NamedBundlesFollowTheHostAndTheEnvironment) {
    EXPECT_TRUE(zv::Bundle::mainBundle()->resourcePath().ends_with("/resources"));
    auto before = zv::Bundle::mainBundle();
    zv::Bundle::setMainBundlePath(root_);
    EXPECT_EQ(zv::Bundle::mainBundle()->resourcePath(), root_);
    EXPECT_NE(before->resourcePath(), root_);

    ScopedEnvironment unset("ZV_RESOURCES_DIR", nullptr);
    zv::Bundle::setFrameworkBundlePath(root_ + "/de.lproj");
    EXPECT_EQ(zv::Bundle::frameworkBundle()->resourcePath(), root_ + "/de.lproj");
    {
        ScopedEnvironment environment("ZV_RESOURCES_DIR", root_.c_str());
        EXPECT_EQ(zv::Bundle::frameworkBundle()->resourcePath(), root_);
    }
    zv::Bundle::setMainBundlePath("");
    zv::Bundle::setFrameworkBundlePath("");
}

TEST(PreferredLanguages, ComeFromTheLocaleWithEnglishLast) {
    ScopedEnvironment language("LANGUAGE", "de_DE.UTF-8@euro:fr");
    EXPECT_EQ(zv::preferredLanguages(), (std::vector<std::string>{"de_DE", "de", "fr", "en"}));
    ScopedEnvironment posix("LANGUAGE", "C");
    ScopedEnvironment all("LC_ALL", "C");
    EXPECT_EQ(zv::preferredLanguages(), (std::vector<std::string>{"en"}));
}

}  // namespace
