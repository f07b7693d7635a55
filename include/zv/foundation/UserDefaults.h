// User defaults: small named settings kept between runs, with launch
// arguments that override them for one run.
//
// Two domains are searched, in order:
// 1. the argument domain, from `-Key value` pairs given at start-up
//    (setLaunchArguments); values there are strings, read through the typed
//    getters below ("-SearchIgnoreCase YES" makes boolForKey true);
// 2. the application domain, a key file at
//    $XDG_CONFIG_HOME/<application id>/defaults.ini (the id defaults to
//    "zvwebkit"), group [Defaults], one key per setting, each value written
//    as JSON text (`SearchStyle=1`, `recents=["a","b"]`). A value that is not
//    JSON (edited by hand: `name=Ann`) reads as that string.
//
// Every change is written to the file at once (atomically, replacing it), so
// nothing is lost when the process ends without ceremony. It is not forced to
// the disk, which would hold the caller for milliseconds: a crash of the
// system itself can lose the last seconds of changes. All members are
// thread-safe.
#pragma once

#include <zv/Export.h>

#include <zv/foundation/Value.h>

#include <cstdint>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace zv {

class ZV_EXPORT UserDefaults {
public:
    // The process's defaults, in the file of the current application id.
    static UserDefaults& standard();
    // Moves standard() to the file of another application id and reads it;
    // launch arguments already given stay.
    static void setApplicationId(std::string applicationId);
    static std::string applicationId();

    // Defaults kept in the key file at `filePath` (missing: starts empty).
    explicit UserDefaults(std::string filePath);
    UserDefaults(const UserDefaults&) = delete;
    UserDefaults& operator=(const UserDefaults&) = delete;

    std::string filePath() const;

    // Replaces the argument domain with the `-Key value` pairs of argv[1...]:
    // an argument starting with exactly one "-" names a key (without the
    // dash; "--option" is not a key) and the argument after it, whatever it
    // looks like, is its value ("-Size -5" sets Size to "-5"). A key without a following argument, and arguments
    // that are not keys, are skipped. Later pairs win over earlier ones.
    void setLaunchArguments(int argc, const char* const* argv);
    std::optional<std::string> launchArgumentForKey(std::string_view key) const;

    // The value of `key` in the first domain that has it; nothing if none has.
    std::optional<Value> objectForKey(std::string_view key) const;

    // Typed reads. A missing or unconvertible value reads as false, 0, 0.0 or
    // nothing. Booleans: true, non-zero numbers, and strings that start,
    // after white space, a sign and zeros, with Y, T or a digit from 1 to 9
    // ("YES", "true", "1"). Numbers read the number a string starts with
    // ("42", " 2.5"; an integer of "2.5" is 2).
    bool boolForKey(std::string_view key) const;
    int64_t integerForKey(std::string_view key) const;
    double doubleForKey(std::string_view key) const;
    // Strings, and numbers or booleans written as text.
    std::optional<std::string> stringForKey(std::string_view key) const;
    // Arrays whose elements are all strings; nothing otherwise.
    std::optional<std::vector<std::string>> stringArrayForKey(std::string_view key) const;

    // Writes into the application domain (and the file). A launch argument of
    // the same key still wins when reading.
    void setBool(std::string_view key, bool value);
    void setInteger(std::string_view key, int64_t value);
    void setDouble(std::string_view key, double value);
    void setString(std::string_view key, std::string_view value);
    void setStringArray(std::string_view key, const std::vector<std::string>& value);
    void setObject(std::string_view key, const Value& value);
    void removeObjectForKey(std::string_view key);

    // Re-reads the file, taking in what other processes wrote; false if it
    // exists and cannot be read. (Changes made here are already written.)
    bool synchronize();

private:
    void retarget(std::string filePath);
    bool loadLocked();
    void storeLocked(std::string_view key, const Value* value);
    std::optional<Value> lookupLocked(std::string_view key) const;

    mutable std::mutex mutex_;
    std::string filePath_;
    Value arguments_ = Value::object();
    Value values_ = Value::object();
};

}  // namespace zv
