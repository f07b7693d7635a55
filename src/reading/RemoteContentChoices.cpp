#include <zv/reading/RemoteContentChoices.h>

#include "../common/SQLiteStatement.h"
#include "../text/CaseMapping.h"

#include <zv/foundation/Log.h>

#include <glib.h>
#include <glib/gstdio.h>
#include <sqlite3.h>

#include <cctype>
#include <optional>
#include <utility>
#include <vector>

namespace zv {

namespace {

std::mutex gSharedMutex;
std::shared_ptr<RemoteContentChoices> gShared;

std::string defaultPath() {
    const char* program = g_get_prgname();
    std::string folder = program && *program ? program : "ZVWebKit";
    char* path = g_build_filename(g_get_user_config_dir(), folder.c_str(), "RemoteContentChoices.sqlite", nullptr);
    std::string result = path;
    g_free(path);
    return result;
}

// Where the address of "Name <a@b>" or "a@b (Name)" stands: within the
// angle brackets when there are some, else the whole. Quoted strings and
// comments belong to the name and never give the address, so
// "a@b (<c@d>)" and "Ann <a@b> (<c@d>)" are from a@b. A "(" never closed,
// as in "Ann :-( <a@b>", is read again as a plain character.
std::string addressPart(std::string_view sender, bool readComments = true) {
    std::string outside, angled;
    std::optional<std::string> found;
    bool inAngle = false, quoted = false;
    int comments = 0;
    for (std::size_t i = 0; i < sender.size(); ++i) {
        char c = sender[i];
        std::string& text = inAngle ? angled : outside;
        if (c == '\\' && (quoted || comments) && i + 1 < sender.size()) {
            if (!comments) text += sender.substr(i, 2);
            ++i;
        } else if (comments) {
            comments += c == '(' ? 1 : c == ')' ? -1 : 0;
        } else if (quoted || c == '"') {
            quoted = quoted ? c != '"' : true;
            text += c;
        } else if (c == '(' && readComments) {
            comments = 1;
        } else if (c == '<') {
            inAngle = true;
            angled.clear();
        } else if (c == '>' && inAngle) {
            inAngle = false;
            found = angled;
        } else {
            text += c;
        }
    }
    if (comments) return addressPart(sender, false);
    if (inAngle) return angled;  // an unclosed "<a@b" still names a@b
    return found ? *found : outside;
}

// The bare address of "Name <a@b>" or "a@b", in lower case; nothing without a domain.
std::optional<std::string> bareAddress(std::string_view written) {
    std::string part = addressPart(written);
    std::string_view sender = part;
    while (!sender.empty() && std::isspace(static_cast<unsigned char>(sender.front()))) sender.remove_prefix(1);
    while (!sender.empty() && std::isspace(static_cast<unsigned char>(sender.back()))) sender.remove_suffix(1);
    std::size_t at = sender.rfind('@');
    if (at == std::string_view::npos || at == 0 || at + 1 == sender.size()) return std::nullopt;
    return textcase::lowercase(sender);
}

std::string valueFor(const std::string& address, RemoteContentChoices::Scope scope) {
    return scope == RemoteContentChoices::Scope::Sender ? address : address.substr(address.rfind('@') + 1);
}

const char* scopeName(RemoteContentChoices::Scope scope) {
    return scope == RemoteContentChoices::Scope::Sender ? "sender" : "domain";
}

std::int64_t userVersion(sqlite3* db) {
    SQLiteStatement statement(db, "PRAGMA user_version");
    return statement.ok() && statement.step() == SQLITE_ROW ? statement.integer(0) : 0;
}

// Stores written before letters beyond ASCII were lowered hold "zoË@École.x"
// where a lookup now asks for "zoë@école.x": their values are lowered once,
// and user_version 1 says it was done.
void lowerEarlierValues(sqlite3* db) {
    if (userVersion(db) >= 1) return;
    std::vector<std::pair<std::string, std::string>> rows;  // scope, value
    {
        SQLiteStatement select(db, "SELECT scope, value FROM choices");
        if (!select.ok()) return;
        while (select.step() == SQLITE_ROW) rows.emplace_back(select.text(0), select.text(1));
    }
    // OR REPLACE: where the lowered value is stored already, the two become one.
    SQLiteStatement update(db, "UPDATE OR REPLACE choices SET value=?1 WHERE scope=?2 AND value=?3");
    if (!update.ok() || sqlite3_exec(db, "BEGIN IMMEDIATE", nullptr, nullptr, nullptr) != SQLITE_OK) return;
    for (const auto& [scope, value] : rows) {
        std::string lowered = textcase::lowercase(value);
        if (lowered == value) continue;
        update.bind(1, lowered);
        update.bind(2, scope);
        update.bind(3, value);
        update.step();
        update.reset();
    }
    if (sqlite3_exec(db, "PRAGMA user_version=1; COMMIT", nullptr, nullptr, nullptr) != SQLITE_OK) {
        sqlite3_exec(db, "ROLLBACK", nullptr, nullptr, nullptr);
        log(LogLevel::Warning, std::string("remote content choices not lowered: ") + sqlite3_errmsg(db));
    }
}

}  // namespace

std::shared_ptr<RemoteContentChoices> RemoteContentChoices::shared() {
    std::lock_guard lock(gSharedMutex);
    if (!gShared) gShared = open(defaultPath());
    return gShared;
}

std::shared_ptr<RemoteContentChoices> RemoteContentChoices::open(const std::string& path) {
    return std::shared_ptr<RemoteContentChoices>(new RemoteContentChoices(path));
}

RemoteContentChoices::RemoteContentChoices(std::string path) {
    char* folder = g_path_get_dirname(path.c_str());
    g_mkdir_with_parents(folder, 0700);
    g_free(folder);
    if (openDatabase(path)) {
        onDisk_ = true;
        return;
    }
    // Set aside rather than deleted: the reader may want the old file back.
    std::string aside = path + ".damaged";
    log(LogLevel::Warning, "remote content choices at " + path + " are unreadable; starting afresh, old file kept as " + aside);
    g_rename(path.c_str(), aside.c_str());
    for (const char* suffix : {"-wal", "-shm"}) g_remove((path + suffix).c_str());
    if (openDatabase(path)) {
        onDisk_ = true;
        return;
    }
    log(LogLevel::Warning, "remote content choices cannot be stored at " + path + "; kept in memory until the program ends");
    openDatabase(":memory:");
}

RemoteContentChoices::~RemoteContentChoices() { sqlite3_close(db_); }

bool RemoteContentChoices::openDatabase(const std::string& path) {
    sqlite3_close(db_);
    db_ = nullptr;
    if (sqlite3_open(path.c_str(), &db_) != SQLITE_OK) return false;
    sqlite3_busy_timeout(db_, 2000);
    // synchronous=FULL: a choice is on disk before alwaysAllow returns.
    if (sqlite3_exec(db_,
                     "PRAGMA journal_mode=WAL; PRAGMA synchronous=FULL;"
                     "CREATE TABLE IF NOT EXISTS choices(scope TEXT NOT NULL, value TEXT NOT NULL,"
                     " PRIMARY KEY(scope, value)) WITHOUT ROWID;"
                     "SELECT count(*) FROM choices;",
                     nullptr, nullptr, nullptr) != SQLITE_OK)
        return false;
    lowerEarlierValues(db_);
    return true;
}

bool RemoteContentChoices::change(const char* sql, Scope scope, const std::string& value) {
    SQLiteStatement statement(db_, sql);
    if (!statement.ok()) return false;
    statement.bind(1, scopeName(scope));
    statement.bind(2, value);
    bool done = statement.step() == SQLITE_DONE;
    if (!done) log(LogLevel::Warning, std::string("remote content choice not changed: ") + sqlite3_errmsg(db_));
    return done;
}

bool RemoteContentChoices::allowsRemoteContent(std::string_view senderAddress) {
    auto address = bareAddress(senderAddress);
    if (!address) return false;
    std::lock_guard lock(mutex_);
    SQLiteStatement statement(db_,
                              "SELECT 1 FROM choices WHERE (scope='sender' AND value=?1) OR (scope='domain' AND value=?2)");
    if (!statement.ok()) return false;
    std::string domain = valueFor(*address, Scope::Domain);
    statement.bind(1, *address);
    statement.bind(2, domain);
    return statement.step() == SQLITE_ROW;
}

bool RemoteContentChoices::alwaysAllow(std::string_view senderAddress, Scope scope) {
    auto address = bareAddress(senderAddress);
    if (!address) return false;
    std::lock_guard lock(mutex_);
    // One statement is one transaction; a choice already made counts as stored.
    return change("INSERT OR IGNORE INTO choices(scope, value) VALUES(?1, ?2)", scope, valueFor(*address, scope));
}

bool RemoteContentChoices::forget(std::string_view senderAddress, Scope scope) {
    auto address = bareAddress(senderAddress);
    if (!address) return false;
    std::lock_guard lock(mutex_);
    return change("DELETE FROM choices WHERE scope=?1 AND value=?2", scope, valueFor(*address, scope)) &&
           sqlite3_changes(db_) > 0;
}

void RemoteContentChoices::forgetAll() {
    std::lock_guard lock(mutex_);
    sqlite3_exec(db_, "DELETE FROM choices", nullptr, nullptr, nullptr);
}

std::vector<RemoteContentChoices::Choice> RemoteContentChoices::choices() {
    std::lock_guard lock(mutex_);
    std::vector<Choice> out;
    SQLiteStatement statement(db_, "SELECT scope, value FROM choices ORDER BY scope, value");
    if (!statement.ok()) return out;
    while (statement.step() == SQLITE_ROW)
        out.push_back({statement.text(0) == "sender" ? Scope::Sender : Scope::Domain, statement.text(1)});
    return out;
}

bool RemoteContentChoices::isOnDisk() {
    std::lock_guard lock(mutex_);
    return onDisk_;
}

}  // namespace zv
