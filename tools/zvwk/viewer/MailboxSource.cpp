#include "MailboxSource.h"

#include <dirent.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>

namespace zvwk::viewer {

namespace fs = std::filesystem;

namespace {

bool isHidden(const fs::path& path) { return path.filename().string().starts_with("."); }

bool hasEmlExtension(const fs::path& path) {
    std::string extension = path.extension().string();
    std::transform(extension.begin(), extension.end(), extension.begin(),
                   [](unsigned char c) { return char(std::tolower(c)); });
    return extension == ".eml";
}

bool startsWithFromLine(const fs::path& path) {
    std::ifstream in(path, std::ios::binary);
    char head[5] = {};
    in.read(head, 5);
    return in.gcount() == 5 && std::memcmp(head, "From ", 5) == 0;
}

bool isMaildir(const fs::path& dir) {
    std::error_code ec;
    return fs::is_directory(dir / "cur", ec) || fs::is_directory(dir / "new", ec);
}

// Why an entry of a Maildir folder was passed over.
std::string notAMessageFile(const std::string& path, unsigned char type) {
    std::error_code ec;
    if (!fs::exists(path, ec)) return "a link to nothing";
    if (type == DT_DIR || fs::is_directory(path, ec)) return "a folder, not a message";
    return "not a regular file";
}

// A Maildir's file names start with the delivery time, so the name order is
// the arrival order; newest first. Read with readdir and sorted by the names
// in place: with a path object made per file, or two per comparison, a
// Maildir of 100,000 messages took seconds to list.
void addMaildir(const fs::path& dir, MailboxListing& listing) {
    struct File {
        std::string path;
        size_t nameStart;
        std::string_view name() const { return std::string_view(path).substr(nameStart); }
    };
    std::vector<File> files;
    for (const char* sub : {"new", "cur"}) {
        const std::string folder = (dir / sub).string() + "/";
        DIR* stream = opendir(folder.c_str());
        if (!stream) continue;
        while (const dirent* entry = readdir(stream)) {
            if (entry->d_name[0] == '.') continue;
            std::string path = folder + entry->d_name;
            std::error_code typeError;
            // Links are followed; some file systems do not tell the type in the entry.
            const bool unsure = entry->d_type == DT_UNKNOWN || entry->d_type == DT_LNK;
            if (entry->d_type == DT_REG || (unsure && fs::is_regular_file(path, typeError)))
                files.push_back({std::move(path), folder.size()});
            else
                listing.errors.push_back(path + ": " + notAMessageFile(path, entry->d_type));
        }
        closedir(stream);
    }
    std::sort(files.begin(), files.end(), [](const File& a, const File& b) { return a.name() > b.name(); });
    listing.messages.reserve(listing.messages.size() + files.size());
    for (File& file : files) listing.messages.push_back({std::move(file.path)});
}

void addFile(const fs::path& path, MailboxListing& listing) {
    if (!startsWithFromLine(path)) {
        listing.messages.push_back({path.string()});
        return;
    }
    std::string error;
    for (MessageLocation& message : mboxMessages(path.string(), error)) listing.messages.push_back(std::move(message));
    if (!error.empty()) listing.errors.push_back(path.string() + ": " + error);
}

void addFolder(const fs::path& dir, MailboxListing& listing) {
    if (isMaildir(dir)) {
        addMaildir(dir, listing);
        return;
    }
    std::vector<fs::path> entries;
    std::error_code ec;
    for (fs::directory_iterator it(dir, ec), end; !ec && it != end; it.increment(ec))
        if (!isHidden(it->path())) entries.push_back(it->path());
    if (ec) listing.errors.push_back(dir.string() + ": " + ec.message());
    std::sort(entries.begin(), entries.end());
    for (const fs::path& entry : entries) {
        std::error_code typeError;
        if (fs::is_directory(entry, typeError))
            addFolder(entry, listing);
        else if (hasEmlExtension(entry) || startsWithFromLine(entry))
            addFile(entry, listing);
    }
}

}  // namespace

std::vector<MessageLocation> mboxMessages(const std::string& path, std::string& error) {
    std::ifstream in(path, std::ios::binary);
    if (!in) {
        error = std::strerror(errno);
        return {};
    }
    std::vector<MessageLocation> messages;
    std::string line;
    std::int64_t lineStart = 0;
    bool previousEmpty = true;
    auto closeLast = [&](std::int64_t end) {
        if (!messages.empty()) messages.back().length = std::max<std::int64_t>(0, end - messages.back().offset);
    };
    while (std::getline(in, line)) {
        std::int64_t next = lineStart + std::int64_t(line.size()) + 1;
        if (previousEmpty && line.starts_with("From ")) {
            closeLast(lineStart);
            messages.push_back({path, next, -1});
        }
        previousEmpty = line.empty() || line == "\r";
        lineStart = next;
    }
    closeLast(lineStart);
    return messages;
}

MailboxListing listMailbox(const std::vector<std::string>& operands) {
    MailboxListing listing;
    for (const std::string& operand : operands) {
        std::error_code ec;
        fs::file_status status = fs::status(operand, ec);
        if (ec || !fs::exists(status)) {
            listing.errors.push_back(operand + ": " + (ec ? ec.message() : "No such file or directory"));
            continue;
        }
        if (fs::is_directory(status))
            addFolder(operand, listing);
        else
            addFile(operand, listing);
    }
    return listing;
}

}  // namespace zvwk::viewer
