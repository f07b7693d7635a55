// Runs the zvwk binary named by $ZVWK as a separate process, the way a user
// does, and captures what it prints and its exit status.
#pragma once

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

namespace zvwk_test {

namespace fs = std::filesystem;

struct Outcome {
    int status = -1;
    std::string out, err;
};

class ZvwkTest : public testing::Test {
protected:
    void SetUp() override {
        const char* zvwk = std::getenv("ZVWK");
        if (!zvwk || !fs::exists(zvwk)) GTEST_SKIP() << "ZVWK does not name a zvwk binary; command not tested";
        zvwk_ = zvwk;
        dir_ = fs::temp_directory_path() / ("zvwk-test-" + std::to_string(::getpid()));
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

    // "zvwk ARGS" (ARGS already shell-quoted), with `input` on standard input,
    // or with standard input closed.
    Outcome zvwk(const std::string& args, const std::string& input = "", bool closedInput = false) {
        fs::path in = write("stdin", input);
        std::string command = "'" + zvwk_ + "' " + args + (closedInput ? " <&-" : " <'" + in.string() + "'") +
                              " >'" + (dir_ / "out").string() + "' 2>'" + (dir_ / "err").string() + "'";
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

    // Each line of `out` as JSON; a line that does not parse is a discarded value.
    static std::vector<nlohmann::json> jsonLines(const std::string& out) {
        std::vector<nlohmann::json> objects;
        std::istringstream lines(out);
        for (std::string line; std::getline(lines, line);) objects.push_back(nlohmann::json::parse(line, nullptr, false));
        return objects;
    }

    std::string zvwk_;
    fs::path dir_;
};

}  // namespace zvwk_test
