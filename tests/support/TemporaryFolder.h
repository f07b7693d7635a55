// A folder of files made for one test and removed with it.
#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>

#include <stdlib.h>

namespace zv::test {

class TemporaryFolder {
public:
    TemporaryFolder() : path_((std::filesystem::temp_directory_path() / "zv-test-XXXXXX").string()) {
        EXPECT_TRUE(mkdtemp(path_.data())) << path_;
    }
    // A folder left behind fails the test rather than ending the program.
    ~TemporaryFolder() {
        std::error_code error;
        std::filesystem::remove_all(path_, error);
        EXPECT_FALSE(error) << path_ << ": " << error.message();
    }

    const std::string& path() const { return path_; }
    std::string pathOf(const std::string& relative) const { return path_ + "/" + relative; }
    // Writes `relative`, making the folders on the way.
    void write(const std::string& relative, const std::string& contents) const {
        std::filesystem::create_directories(std::filesystem::path(pathOf(relative)).parent_path());
        EXPECT_TRUE(std::ofstream(pathOf(relative), std::ios::binary) << contents) << relative;
    }
    // What `relative` holds; "" when it cannot be read.
    std::string read(const std::string& relative) const {
        std::ostringstream contents;
        contents << std::ifstream(pathOf(relative), std::ios::binary).rdbuf();
        return contents.str();
    }

private:
    std::string path_;
};

}  // namespace zv::test
