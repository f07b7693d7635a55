// How every command reads its inputs: one reader for files and standard
// input, one walk for folders.
#include "Commands.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <iostream>

namespace zvwk {

namespace {

// Taken before anything opens a file: a closed descriptor 0 would be reused
// by the next open, and "-" would then read some other file.
const bool kStandardInputClosed = ::fcntl(STDIN_FILENO, F_GETFD) == -1 && errno == EBADF;

class Descriptor {
public:
    explicit Descriptor(int fd) : fd_(fd) {}
    ~Descriptor() {
        if (fd_ >= 0) ::close(fd_);
    }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    int get() const { return fd_; }

private:
    int fd_;
};

std::optional<std::string> readAll(int fd, std::string& reason) {
    struct stat info {};
    if (::fstat(fd, &info) != 0) {
        reason = std::strerror(errno);
        return std::nullopt;
    }
    if (S_ISDIR(info.st_mode)) {
        reason = std::strerror(EISDIR);
        return std::nullopt;
    }
    std::string bytes;
    if (S_ISREG(info.st_mode) && info.st_size > 0) bytes.reserve(size_t(info.st_size));
    char buffer[1 << 16];
    for (;;) {
        ssize_t n = ::read(fd, buffer, sizeof buffer);
        if (n == 0) return bytes;
        if (n > 0) {
            bytes.append(buffer, size_t(n));
            continue;
        }
        if (errno == EINTR) continue;
        reason = std::strerror(errno);
        return std::nullopt;
    }
}

std::vector<std::string> filesUnder(const std::string& dir, std::string& error) {
    namespace fs = std::filesystem;
    std::vector<std::string> files;
    std::error_code ec;
    fs::recursive_directory_iterator it(dir, fs::directory_options::skip_permission_denied, ec);
    for (; !ec && it != fs::recursive_directory_iterator(); it.increment(ec)) {
        if (it->path().filename().string().starts_with(".")) {
            it.disable_recursion_pending();
            continue;
        }
        std::error_code typeError;
        if (it->is_regular_file(typeError)) files.push_back(it->path().string());
    }
    if (ec) error = "zvwk: " + dir + ": " + ec.message();
    std::sort(files.begin(), files.end());
    return files;
}

}  // namespace

std::optional<std::string> readInput(const std::string& path, std::string& reason) {
    if (path == "-") {
        if (kStandardInputClosed) {
            reason = "standard input is closed";
            return std::nullopt;
        }
        return readAll(STDIN_FILENO, reason);
    }
    Descriptor file(::open(path.c_str(), O_RDONLY | O_CLOEXEC));
    if (file.get() < 0) {
        reason = std::strerror(errno);
        return std::nullopt;
    }
    return readAll(file.get(), reason);
}

std::optional<std::string> readInput(const std::string& path) {
    std::string reason;
    std::optional<std::string> bytes = readInput(path, reason);
    if (!bytes) std::cerr << "zvwk: " << path << ": " << reason << "\n";
    return bytes;
}

std::vector<std::string> expandInputs(const std::vector<std::string>& operands, bool& failed, bool* anyDirectory) {
    std::vector<std::string> inputs;
    for (const std::string& operand : operands) {
        std::error_code ec;
        if (operand == "-" || !std::filesystem::is_directory(operand, ec)) {
            inputs.push_back(operand);
            continue;
        }
        if (anyDirectory) *anyDirectory = true;
        std::string error;
        for (std::string& file : filesUnder(operand, error)) inputs.push_back(std::move(file));
        if (!error.empty()) {
            std::cerr << error << "\n";
            failed = true;
        }
    }
    return inputs;
}

}  // namespace zvwk
