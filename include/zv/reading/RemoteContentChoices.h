// The reader's standing choices to show a sender's remote content:
// "always from this sender" (one address) and "always from this domain"
// (every address at that exact domain, subdomains apart).
//
// Kept in an SQLite database (write-ahead log, every change one transaction
// synced before it returns), so a choice made is a choice kept even when the
// process is killed the moment after. By default the database is
// "$XDG_CONFIG_HOME/<program name>/RemoteContentChoices.sqlite": these are the
// reader's settings, which must outlive a cleared cache. A database that
// cannot be opened or is damaged is never fatal: the choices are logged as
// lost, the damaged file is set aside and a fresh one is started (in memory
// when not even that can be made). Safe to use from any thread.
//
// A sender address is only what the message claims; hosts should apply a
// choice only to messages whose sender they trust to be who it says.
#pragma once

#include <zv/Export.h>

#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

struct sqlite3;

namespace zv {

class ZV_EXPORT RemoteContentChoices {
public:
    enum class Scope { Sender, Domain };
    struct Choice {
        Scope scope;
        std::string value;  // the address or the domain, in lower case
        friend bool operator==(const Choice&, const Choice&) = default;
    };

    // The store every host window shares, opened on first use.
    static std::shared_ptr<RemoteContentChoices> shared();
    // A store on the database at `path` (created with its folder when missing).
    static std::shared_ptr<RemoteContentChoices> open(const std::string& path);

    ~RemoteContentChoices();
    RemoteContentChoices(const RemoteContentChoices&) = delete;
    RemoteContentChoices& operator=(const RemoteContentChoices&) = delete;

    // Whether a message from `senderAddress` ("Ann <ann@x.org>" or "ann@x.org")
    // shows its remote content by a choice of either scope.
    bool allowsRemoteContent(std::string_view senderAddress);
    // Remembers the sender's address, or its domain; false for an address
    // without one, or when the choice could not be stored.
    bool alwaysAllow(std::string_view senderAddress, Scope scope);
    // Forgets the choice of that scope for the sender; false when there was none.
    bool forget(std::string_view senderAddress, Scope scope);
    void forgetAll();
    // Every choice, domains first, each kind in alphabetical order.
    std::vector<Choice> choices();
    bool isOnDisk();

private:
    explicit RemoteContentChoices(std::string path);
    bool openDatabase(const std::string& path);
    bool change(const char* sql, Scope scope, const std::string& value);

    std::mutex mutex_;
    sqlite3* db_ = nullptr;
    bool onDisk_ = false;
};

}  // namespace zv
