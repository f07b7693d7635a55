// Runs the zvwk binary named by $ZVWK as a separate process, the way a user
// does, and captures what it prints and its exit status.
#pragma once

#include "support/TemporaryFolder.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
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
    }

    fs::path write(const std::string& name, const std::string& content) {
        folder_.write(name, content);
        return folder_.pathOf(name);
    }
    // What the file `name` of the test's folder holds.
    std::string read(const std::string& name) const { return folder_.read(name); }

    // "zvwk ARGS" (ARGS already shell-quoted), with `input` on standard input,
    // or with standard input closed.
    Outcome zvwk(const std::string& args, const std::string& input = "", bool closedInput = false) {
        fs::path in = write("stdin", input);
        std::string command = "'" + zvwk_ + "' " + args + (closedInput ? " <&-" : " <'" + in.string() + "'") +
                              " >'" + (dir_ / "out").string() + "' 2>'" + (dir_ / "err").string() + "'";
        Outcome run;
        int raw = std::system(command.c_str());
        run.status = WIFEXITED(raw) ? WEXITSTATUS(raw) : -1;
        run.out = read("out");
        run.err = read("err");
        return run;
    }

    // Each line of `out` as JSON; a line that does not parse is a discarded value.
    static std::vector<nlohmann::json> jsonLines(const std::string& out) {
        std::vector<nlohmann::json> objects;
        std::istringstream lines(out);
        for (std::string line; std::getline(lines, line);) objects.push_back(nlohmann::json::parse(line, nullptr, false));
        return objects;
    }

    std::string zvwk_;
    zv::test::TemporaryFolder folder_;
    const fs::path dir_ = folder_.path();
};

}  // namespace zvwk_test
