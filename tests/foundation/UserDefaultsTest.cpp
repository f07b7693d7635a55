#include <zv/foundation/UserDefaults.h>

#include <gtest/gtest.h>

#include "support/TemporaryFolder.h"

#include <glib.h>

#include <filesystem>
#include <thread>

namespace {

class UserDefaultsTest : public ::testing::Test {
protected:
    std::string fileContents() const { return folder_.read("app/defaults.ini"); }

    zv::test::TemporaryFolder folder_;
    const std::string path_ = folder_.pathOf("app/defaults.ini");
};

TEST_F(UserDefaultsTest, TypedValuesPersistInTheKeyFile) {
    {
        zv::UserDefaults defaults(path_);
        defaults.setBool("SearchIgnoreCase", true);
        defaults.setInteger("SearchStyle", 1);
        defaults.setDouble("Zoom", 1.25);
        defaults.setString("FindString", "line one\nline \"two\" = x");
        defaults.setStringArray("recentSearches", {"wren", "", "ü"});
        defaults.setObject("window", {{"size", {400, 300}}, {"visible", false}});
    }
    std::string file = fileContents();
    EXPECT_NE(file.find("[Defaults]"), std::string::npos) << file;
    EXPECT_NE(file.find("SearchStyle=1\n"), std::string::npos) << file;

    zv::UserDefaults reread(path_);
    EXPECT_TRUE(reread.boolForKey("SearchIgnoreCase"));
    EXPECT_EQ(reread.integerForKey("SearchStyle"), 1);
    EXPECT_EQ(reread.doubleForKey("Zoom"), 1.25);
    EXPECT_EQ(reread.stringForKey("FindString"), "line one\nline \"two\" = x");
    EXPECT_EQ(reread.stringArrayForKey("recentSearches"), (std::vector<std::string>{"wren", "", "ü"}));
    EXPECT_EQ(reread.objectForKey("window"), (zv::Value{{"size", {400, 300}}, {"visible", false}}));

    reread.removeObjectForKey("Zoom");
    EXPECT_EQ(zv::UserDefaults(path_).objectForKey("Zoom"), std::nullopt);
    EXPECT_EQ(reread.doubleForKey("Zoom"), 0);
}

TEST_F(UserDefaultsTest, LaunchArgumentsAreReadFirst) {
    zv::UserDefaults defaults(path_);
    defaults.setBool("enableWebViewDebugging", false);
    defaults.setString("kept", "from the file");
    const char* argv[] = {"zvwk",  "-enableWebViewDebugging", "YES", "--gtest_filter=x", "-Offset", "-5",
                          "stray", "-logZVWebKitErrors",      "1",   "-Offset",          "7",       "-Last"};
    defaults.setLaunchArguments(std::size(argv), argv);

    EXPECT_TRUE(defaults.boolForKey("enableWebViewDebugging"));
    defaults.setBool("enableWebViewDebugging", false);
    EXPECT_TRUE(defaults.boolForKey("enableWebViewDebugging")) << "the argument still wins";
    EXPECT_EQ(defaults.launchArgumentForKey("Offset"), "7");
    EXPECT_EQ(defaults.integerForKey("Offset"), 7);
    EXPECT_TRUE(defaults.boolForKey("logZVWebKitErrors"));
    EXPECT_EQ(defaults.launchArgumentForKey("Last"), std::nullopt);
    EXPECT_EQ(defaults.launchArgumentForKey("-gtest_filter=x"), std::nullopt);
    EXPECT_EQ(defaults.launchArgumentForKey("stray"), std::nullopt);
    EXPECT_EQ(defaults.launchArgumentForKey("kept"), std::nullopt);
    EXPECT_EQ(defaults.stringForKey("kept"), "from the file");

    const char* negative[] = {"zvwk", "-Offset", "-5"};
    defaults.setLaunchArguments(3, negative);
    EXPECT_EQ(defaults.integerForKey("Offset"), -5);
    // New arguments replace the old domain whole.
    EXPECT_FALSE(defaults.boolForKey("logZVWebKitErrors"));
    defaults.setLaunchArguments(1, negative);
    EXPECT_FALSE(defaults.boolForKey("enableWebViewDebugging"));
}

TEST_F(UserDefaultsTest, TypedReadsConvertLikeTextToValueReaders) {
    zv::UserDefaults defaults(path_);
    struct Case {
        zv::Value value;
        bool asBool;
        int64_t asInteger;
        double asDouble;
    } cases[] = {
        {"YES", true, 0, 0},      {"yes", true, 0, 0},   {"true", true, 0, 0},       {"T", true, 0, 0},
        {"1", true, 1, 1},        {" 0042", true, 42, 42}, {"-3", true, -3, -3},     {"2.5", true, 2, 2.5},
        {"0", false, 0, 0},       {"no", false, 0, 0},   {"false", false, 0, 0},     {"", false, 0, 0},
        {"000", false, 0, 0},     {3.75, true, 3, 3.75}, {0.0, false, 0, 0},         {true, true, 1, 1},
        {nullptr, false, 0, 0},   {zv::Value::array({"a"}), false, 0, 0},
    };
    for (const auto& c : cases) {
        defaults.setObject("k", c.value);
        EXPECT_EQ(defaults.boolForKey("k"), c.asBool) << c.value;
        EXPECT_EQ(defaults.integerForKey("k"), c.asInteger) << c.value;
        EXPECT_EQ(defaults.doubleForKey("k"), c.asDouble) << c.value;
    }
    defaults.setInteger("n", 42);
    EXPECT_EQ(defaults.stringForKey("n"), "42");
    defaults.setBool("b", true);
    EXPECT_EQ(defaults.stringForKey("b"), "1");
    defaults.setObject("mixed", zv::Value::array({"a", 1}));
    EXPECT_EQ(defaults.stringArrayForKey("mixed"), std::nullopt);
    EXPECT_EQ(defaults.stringForKey("mixed"), std::nullopt);
    EXPECT_EQ(defaults.stringArrayForKey("n"), std::nullopt);
    EXPECT_EQ(defaults.stringForKey("absent"), std::nullopt);
    EXPECT_FALSE(defaults.boolForKey("absent"));
}

TEST_F(UserDefaultsTest, HandEditedFilesAreReadAndKeptWhenWriting) {
    folder_.write("app/defaults.ini", "# settings of the mail viewer\n[Defaults]\nname=Ann Smith\ncount=42\nlist=[\"a\",\"b\"]\n"
              "escaped=tab\\there\n[Other]\nx=1\n");
    zv::UserDefaults defaults(path_);
    EXPECT_EQ(defaults.stringForKey("name"), "Ann Smith");
    EXPECT_EQ(defaults.integerForKey("count"), 42);
    EXPECT_EQ(defaults.stringArrayForKey("list"), (std::vector<std::string>{"a", "b"}));
    EXPECT_EQ(defaults.stringForKey("escaped"), "tab\there");
    EXPECT_EQ(defaults.objectForKey("x"), std::nullopt) << "only the Defaults group is read";

    defaults.setString("added", "new");
    std::string file = fileContents();
    EXPECT_NE(file.find("# settings of the mail viewer"), std::string::npos) << file;
    EXPECT_NE(file.find("name=Ann Smith"), std::string::npos) << file;
    EXPECT_NE(file.find("[Other]"), std::string::npos) << file;
}

TEST_F(UserDefaultsTest, SynchronizeTakesInOtherWriters) {
    zv::UserDefaults first(path_);
    zv::UserDefaults second(path_);
    first.setString("a", "1");
    second.setString("b", "2");  // written over the file as it is now, so "a" stays
    EXPECT_EQ(first.objectForKey("b"), std::nullopt);
    EXPECT_TRUE(first.synchronize());
    EXPECT_EQ(first.stringForKey("a"), "1");
    EXPECT_EQ(first.stringForKey("b"), "2");
}

TEST_F(UserDefaultsTest, BadKeysAndUnreadableFilesAreRefusedQuietly) {
    zv::UserDefaults defaults(path_);
    for (const char* key : {"", "a=b", "[group]", " padded", "#comment", "two\nlines"}) {
        defaults.setString(key, "value");
        EXPECT_EQ(defaults.objectForKey(key), std::nullopt) << key;
    }
    EXPECT_EQ(fileContents(), "");

    zv::UserDefaults folder(folder_.path());
    EXPECT_FALSE(folder.synchronize());
    EXPECT_EQ(folder.objectForKey("anything"), std::nullopt);
    // A file that cannot replace the folder is not written, and nothing is left beside it.
    folder.setString("anything", "value");
    EXPECT_EQ(zv::UserDefaults(folder_.path()).objectForKey("anything"), std::nullopt);
    const std::filesystem::path folderPath(folder_.path());
    for (const auto& entry : std::filesystem::directory_iterator(folderPath.parent_path()))
        EXPECT_FALSE(entry.path().filename().string().starts_with(folderPath.filename().string() + "."))
            << entry.path();
}

TEST_F(UserDefaultsTest, ConcurrentWritersLoseNothing) {
    zv::UserDefaults defaults(path_);
    std::vector<std::thread> writers;
    for (int t = 0; t < 4; ++t)
        writers.emplace_back([&defaults, t] {
            for (int i = 0; i < 10; ++i) defaults.setInteger("k" + std::to_string(t) + "_" + std::to_string(i), i);
        });
    for (auto& writer : writers) writer.join();
    zv::UserDefaults reread(path_);
    for (int t = 0; t < 4; ++t)
        for (int i = 0; i < 10; ++i)
            EXPECT_EQ(reread.integerForKey("k" + std::to_string(t) + "_" + std::to_string(i)), i);
}

TEST(UserDefaultsStandard, LivesUnderTheConfigFolderOfTheApplicationId) {
    std::string config = g_get_user_config_dir();
    EXPECT_EQ(zv::UserDefaults::applicationId(), "zvwebkit");
    EXPECT_EQ(zv::UserDefaults::standard().filePath(), config + "/zvwebkit/defaults.ini");
    zv::UserDefaults::setApplicationId("zv-test-application");
    EXPECT_EQ(zv::UserDefaults::standard().filePath(), config + "/zv-test-application/defaults.ini");
    zv::UserDefaults::setApplicationId("zvwebkit");
    EXPECT_EQ(&zv::UserDefaults::standard(), &zv::UserDefaults::standard());
}

}  // namespace
