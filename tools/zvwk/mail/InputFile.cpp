#include "InputFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

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

}  // namespace zvwk
