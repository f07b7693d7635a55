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
    TemporaryFolder() {
        std::string pattern = (std::filesystem::temp_directory_path() / "zv-test-XXXXXX").string();
        if (mkdtemp(pattern.data())) path_ = pattern;
        EXPECT_FALSE(path_.empty()) << "no temporary folder";
    }
    ~TemporaryFolder() {
        std::error_code ignored;
        if (!path_.empty()) std::filesystem::remove_all(path_, ignored);
    }
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;

    const std::string& path() const { return path_; }
    std::string pathOf(const std::string& relative) const { return path_ + "/" + relative; }

    // Writes `contents` to `relative`, making the folders on the way.
    void write(const std::string& relative, const std::string& contents) const {
        std::filesystem::path file = pathOf(relative);
        std::filesystem::create_directories(file.parent_path());
        std::ofstream(file, std::ios::binary) << contents;
        ASSERT_TRUE(std::filesystem::is_regular_file(file)) << file;
    }
    // The contents of `relative`, or "" when it cannot be read.
    std::string read(const std::string& relative) const {
        std::ifstream in(pathOf(relative), std::ios::binary);
        std::ostringstream contents;
        contents << in.rdbuf();
        return contents.str();
    }

private:
    std::string path_;
};

}  // namespace zv::test
