// zvwk tokenize, run as a program: its output format, options and failures.
#include <gtest/gtest.h>

#include <sys/wait.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>

namespace {

namespace fs = std::filesystem;

struct Outcome {
    int status = -1;
    std::string out, err;
};

class TokenizeCommand : public testing::Test {
protected:
    void SetUp() override {
        const char* zvwk = std::getenv("ZVWK");
        if (!zvwk || !fs::exists(zvwk)) GTEST_SKIP() << "ZVWK does not name a zvwk binary; command not tested";
        zvwk_ = zvwk;
        dir_ = fs::temp_directory_path() / ("zvwk-tokenize-" + std::to_string(::getpid()));
        fs::create_directories(dir_);
    }
    void TearDown() override {
        if (!dir_.empty()) fs::remove_all(dir_);
    }

    fs::path write(const std::string& name, const std::string& content) {
        fs::path path = dir_ / name;
        std::ofstream(path, std::ios::binary) << content;
        return path;
    }

    // Runs "zvwk tokenize ARGS", with standard input from `stdinFile` if given.
    Outcome tokenize(const std::string& args, const fs::path& stdinFile = {}) {
        std::string command = "'" + zvwk_ + "' tokenize " + args + " >'" + (dir_ / "out").string() + "' 2>'" +
                              (dir_ / "err").string() + "'";
        if (!stdinFile.empty()) command += " <'" + stdinFile.string() + "'";
        Outcome run;
        int raw = std::system(command.c_str());
        run.status = WIFEXITED(raw) ? WEXITSTATUS(raw) : -1;
        run.out = read(dir_ / "out");
        run.err = read(dir_ / "err");
        return run;
    }

    static std::string read(const fs::path& path) {
        std::ifstream in(path, std::ios::binary);
        std::ostringstream s;
        s << in.rdbuf();
        return s.str();
    }

    std::string zvwk_;
    fs::path dir_;
};

TEST_F(TokenizeCommand, PrintsTheTokensInHtml5libFormat) {
    auto file = write("doc.html", "<!DOCTYPE html><p class=a id='b'>x&amp;y<br/></p>\r\n<!--c--></p x>");
    Outcome run = tokenize("'" + file.string() + "'");
    EXPECT_EQ(run.status, 0) << run.err;
    EXPECT_EQ(run.out,
              R"([["DOCTYPE","html",null,null,true],["StartTag","p",{"class":"a","id":"b"}],)"
              R"(["Character","x&y"],["StartTag","br",{},true],["EndTag","p"],["Character","\n"],)"
              R"(["Comment","c"],["EndTag","p"]])"
              "\n");
}

TEST_F(TokenizeCommand, StartsInTheGivenStateAndReadsStandardInput) {
    auto file = write("title.txt", "a<b>&amp;</x></title>z");
    Outcome run = tokenize("--state rcdata --last-start-tag title -", file);
    EXPECT_EQ(run.status, 0) << run.err;
    EXPECT_EQ(run.out, R"([["Character","a<b>&</x>"],["EndTag","title"],["Character","z"]])" "\n");
}

TEST_F(TokenizeCommand, FailsClearlyOnBadArgumentsAndUnreadableInput) {
    Outcome missing = tokenize("'" + (dir_ / "missing.html").string() + "'");
    EXPECT_NE(missing.status, 0);
    EXPECT_EQ(missing.err, "zvwk: " + (dir_ / "missing.html").string() + ": No such file or directory\n");
    EXPECT_TRUE(missing.out.empty());

    auto file = write("doc.html", "<p>");
    EXPECT_EQ(tokenize("--frobnicate '" + file.string() + "'").status, 2);
    EXPECT_EQ(tokenize("--state nowhere '" + file.string() + "'").status, 2);
    EXPECT_EQ(tokenize("").status, 2);
}

}  // namespace
