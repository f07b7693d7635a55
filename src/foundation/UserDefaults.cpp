#include <zv/foundation/UserDefaults.h>

#include <zv/foundation/Log.h>

#include "Guarded.h"

#include <glib.h>
#include <glib/gstdio.h>

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <charconv>
#include <cmath>
#include <memory>

namespace zv {

namespace {

constexpr char kGroup[] = "Defaults";

using KeyFilePtr = std::unique_ptr<GKeyFile, decltype(&g_key_file_free)>;

KeyFilePtr newKeyFile() { return KeyFilePtr(g_key_file_new(), g_key_file_free); }

Guarded<std::string>& applicationIdStorage() {
    static Guarded<std::string> id("zvwebkit");
    return id;
}

std::string filePathFor(const std::string& applicationId) {
    std::unique_ptr<char, decltype(&g_free)> path(
        g_build_filename(g_get_user_config_dir(), applicationId.c_str(), "defaults.ini", nullptr), g_free);
    return path.get();
}

// Writes all of `data` to `fd`; errno says why not.
bool writeAll(int fd, std::string_view data) {
    while (!data.empty()) {
        const ssize_t n = write(fd, data.data(), data.size());
        if (n < 0 && errno == EINTR) continue;
        if (n < 0) return false;
        data.remove_prefix(size_t(n));
    }
    return true;
}

// Replaces `path` by a file holding `data`: written beside it, then renamed
// over it, so a reader or a process ending mid-write sees the old file or the
// new one, never a part. Not forced to the disk: fsync took 6 ms on average
// and up to 16 ms here, on the main thread, for every change (twice for each
// search typed in a find bar); the kernel writes it back soon after.
bool replaceFile(const std::string& path, std::string_view data, std::string& error) {
    std::string temporary = path + ".XXXXXX";
    const int fd = g_mkstemp_full(temporary.data(), O_WRONLY | O_CLOEXEC, 0600);
    if (fd < 0) {
        error = g_strerror(errno);
        return false;
    }
    bool done = writeAll(fd, data);
    done = close(fd) == 0 && done;
    done = done && g_rename(temporary.c_str(), path.c_str()) == 0;
    if (done) return true;
    error = g_strerror(errno);
    g_unlink(temporary.c_str());
    return false;
}

// Keys GKeyFile can hold and read back as the same key.
bool isStorableKey(std::string_view key) {
    if (key.empty() || key.front() == ' ' || key.back() == ' ' || key.front() == '#') return false;
    return key.find_first_of("=[]\n\r") == std::string_view::npos;
}

// A value as written in the file: JSON text, or else plain text.
Value valueOfEntry(GKeyFile* file, const char* key) {
    std::unique_ptr<char, decltype(&g_free)> raw(g_key_file_get_value(file, kGroup, key, nullptr), g_free);
    if (!raw) return nullptr;
    Value parsed = Value::parse(raw.get(), nullptr, false);
    if (!parsed.is_discarded()) return parsed;
    std::unique_ptr<char, decltype(&g_free)> text(g_key_file_get_string(file, kGroup, key, nullptr), g_free);
    return text ? Value(text.get()) : Value(raw.get());
}

std::string_view skipLeadingSpace(std::string_view s) {
    while (!s.empty() && (s.front() == ' ' || s.front() == '\t' || s.front() == '\n')) s.remove_prefix(1);
    return s;
}

// The number a string starts with, as text-to-number readers take it.
template <class Number>
Number leadingNumber(std::string_view s) {
    s = skipLeadingSpace(s);
    if (s.starts_with('+')) s.remove_prefix(1);
    Number value{};
    std::from_chars(s.data(), s.data() + s.size(), value);
    return value;
}

// True for a string that starts, after white space, a sign and zeros, with
// Y, T or a digit from 1 to 9 ("YES", "true", "1", "0042").
bool stringBoolValue(std::string_view s) {
    s = skipLeadingSpace(s);
    if (s.starts_with('+') || s.starts_with('-')) s.remove_prefix(1);
    while (s.starts_with('0')) s.remove_prefix(1);
    return !s.empty() && std::string_view("YyTt123456789").find(s.front()) != std::string_view::npos;
}

}  // namespace

UserDefaults& UserDefaults::standard() {
    // Never destroyed: other threads may read defaults while the process exits.
    static UserDefaults* defaults = new UserDefaults(filePathFor(applicationId()));
    return *defaults;
}

void UserDefaults::setApplicationId(std::string id) {
    applicationIdStorage().set(id);
    standard().retarget(filePathFor(id));
}

std::string UserDefaults::applicationId() {
    return applicationIdStorage().get();
}

UserDefaults::UserDefaults(std::string filePath) : filePath_(std::move(filePath)) {
    std::lock_guard lock(mutex_);
    loadLocked();
}

std::string UserDefaults::filePath() const {
    std::lock_guard lock(mutex_);
    return filePath_;
}

void UserDefaults::retarget(std::string filePath) {
    std::lock_guard lock(mutex_);
    filePath_ = std::move(filePath);
    loadLocked();
}

bool UserDefaults::loadLocked() {
    values_ = Value::object();
    KeyFilePtr file = newKeyFile();
    GError* error = nullptr;
    if (!g_key_file_load_from_file(file.get(), filePath_.c_str(), G_KEY_FILE_KEEP_COMMENTS, &error)) {
        bool missing = g_error_matches(error, G_FILE_ERROR, G_FILE_ERROR_NOENT);
        if (!missing) log(LogLevel::Warning, "Cannot read defaults " + filePath_ + ": " + error->message);
        g_error_free(error);
        return missing;
    }
    gsize count = 0;
    std::unique_ptr<char*, decltype(&g_strfreev)> keys(g_key_file_get_keys(file.get(), kGroup, &count, nullptr),
                                                       g_strfreev);
    for (gsize i = 0; keys && i < count; ++i) values_[keys.get()[i]] = valueOfEntry(file.get(), keys.get()[i]);
    return true;
}

// Changes one key of the file as it is now on disk (so keys other processes
// wrote, and comments, stay) and writes it back; `value` null removes it.
void UserDefaults::storeLocked(std::string_view key, const Value* value) {
    std::string name(key);
    if (value)
        values_[name] = *value;
    else
        values_.erase(name);

    KeyFilePtr file = newKeyFile();
    g_key_file_load_from_file(file.get(), filePath_.c_str(), G_KEY_FILE_KEEP_COMMENTS, nullptr);
    if (value)
        g_key_file_set_value(file.get(), kGroup, name.c_str(), value->dump().c_str());
    else
        g_key_file_remove_key(file.get(), kGroup, name.c_str(), nullptr);

    std::unique_ptr<char, decltype(&g_free)> directory(g_path_get_dirname(filePath_.c_str()), g_free);
    g_mkdir_with_parents(directory.get(), 0700);
    gsize length = 0;
    std::unique_ptr<char, decltype(&g_free)> data(g_key_file_to_data(file.get(), &length, nullptr), g_free);
    std::string error;
    if (!replaceFile(filePath_, std::string_view(data.get(), length), error))
        log(LogLevel::Warning, "Cannot write defaults " + filePath_ + ": " + error);
}

void UserDefaults::setLaunchArguments(int argc, const char* const* argv) {
    Value arguments = Value::object();
    for (int i = 1; i + 1 < argc; ++i) {
        std::string_view argument = argv[i] ? argv[i] : "";
        if (argument.size() < 2 || argument[0] != '-' || argument[1] == '-') continue;
        arguments[std::string(argument.substr(1))] = argv[i + 1] ? argv[i + 1] : "";
        ++i;
    }
    std::lock_guard lock(mutex_);
    arguments_ = std::move(arguments);
}

std::optional<std::string> UserDefaults::launchArgumentForKey(std::string_view key) const {
    std::lock_guard lock(mutex_);
    auto it = arguments_.find(key);
    return it == arguments_.end() ? std::nullopt : std::optional<std::string>(it->get<std::string>());
}

std::optional<Value> UserDefaults::lookupLocked(std::string_view key) const {
    if (auto it = arguments_.find(key); it != arguments_.end()) return *it;
    if (auto it = values_.find(key); it != values_.end()) return *it;
    return std::nullopt;
}

std::optional<Value> UserDefaults::objectForKey(std::string_view key) const {
    std::lock_guard lock(mutex_);
    return lookupLocked(key);
}

bool UserDefaults::boolForKey(std::string_view key) const {
    auto value = objectForKey(key);
    if (!value) return false;
    if (value->is_boolean()) return value->get<bool>();
    if (value->is_number()) return value->get<double>() != 0;
    if (value->is_string()) return stringBoolValue(value->get_ref<const std::string&>());
    return false;
}

int64_t UserDefaults::integerForKey(std::string_view key) const {
    auto value = objectForKey(key);
    if (!value) return 0;
    if (value->is_boolean()) return value->get<bool>();
    if (value->is_number_integer()) return value->get<int64_t>();
    if (value->is_number_float()) {
        double d = value->get<double>();
        return std::isfinite(d) && std::fabs(d) < 9.2e18 ? int64_t(d) : 0;
    }
    if (value->is_string()) return leadingNumber<int64_t>(value->get_ref<const std::string&>());
    return 0;
}

double UserDefaults::doubleForKey(std::string_view key) const {
    auto value = objectForKey(key);
    if (!value) return 0;
    if (value->is_boolean()) return value->get<bool>();
    if (value->is_number()) return value->get<double>();
    if (value->is_string()) return leadingNumber<double>(value->get_ref<const std::string&>());
    return 0;
}

std::optional<std::string> UserDefaults::stringForKey(std::string_view key) const {
    auto value = objectForKey(key);
    if (!value) return std::nullopt;
    if (value->is_string()) return value->get<std::string>();
    if (value->is_boolean()) return value->get<bool>() ? "1" : "0";
    if (value->is_number()) return value->dump();
    return std::nullopt;
}

std::optional<std::vector<std::string>> UserDefaults::stringArrayForKey(std::string_view key) const {
    auto value = objectForKey(key);
    if (!value || !value->is_array()) return std::nullopt;
    std::vector<std::string> strings;
    for (const Value& element : *value) {
        if (!element.is_string()) return std::nullopt;
        strings.push_back(element.get<std::string>());
    }
    return strings;
}

void UserDefaults::setObject(std::string_view key, const Value& value) {
    if (!isStorableKey(key)) {
        log(LogLevel::Warning, "Defaults cannot store the key \"" + std::string(key) + "\"");
        return;
    }
    std::lock_guard lock(mutex_);
    storeLocked(key, &value);
}

void UserDefaults::setBool(std::string_view key, bool value) { setObject(key, Value(value)); }
void UserDefaults::setInteger(std::string_view key, int64_t value) { setObject(key, Value(value)); }
void UserDefaults::setDouble(std::string_view key, double value) { setObject(key, Value(value)); }
void UserDefaults::setString(std::string_view key, std::string_view value) { setObject(key, Value(std::string(value))); }
void UserDefaults::setStringArray(std::string_view key, const std::vector<std::string>& value) {
    setObject(key, Value(value));
}

void UserDefaults::removeObjectForKey(std::string_view key) {
    if (!isStorableKey(key)) return;
    std::lock_guard lock(mutex_);
    storeLocked(key, nullptr);
}

bool UserDefaults::synchronize() {
    std::lock_guard lock(mutex_);
    return loadLocked();
}

}  // namespace zv
