// One prepared SQLite statement, finalized on every path out. The stores on
// disk (the URL cache, the remote-content choices) prepare, bind and step
// through it instead of pairing sqlite3_prepare_v2 and sqlite3_finalize by hand.
#pragma once

#include <sqlite3.h>

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace zv {

class SQLiteStatement {
public:
    SQLiteStatement(sqlite3* db, const char* sql) { status_ = sqlite3_prepare_v2(db, sql, -1, &stmt_, nullptr); }
    ~SQLiteStatement() { sqlite3_finalize(stmt_); }
    SQLiteStatement(const SQLiteStatement&) = delete;
    SQLiteStatement& operator=(const SQLiteStatement&) = delete;

    // Before the first step: whether it was prepared.
    bool ok() const { return status_ == SQLITE_OK; }
    int status() const { return status_; }

    // Bound without a copy: the bytes must stay put until the last step.
    void bind(int index, std::string_view text) {
        sqlite3_bind_text(stmt_, index, text.data(), int(text.size()), SQLITE_STATIC);
    }
    void bind(int index, std::int64_t value) { sqlite3_bind_int64(stmt_, index, value); }
    void bindBlob(int index, const std::vector<std::uint8_t>& data) {
        // An empty vector's data() may be null, which SQLite would store as NULL.
        static const std::uint8_t empty = 0;
        sqlite3_bind_blob(stmt_, index, data.empty() ? &empty : data.data(), int(data.size()), SQLITE_STATIC);
    }

    // SQLITE_ROW, SQLITE_DONE or an error code.
    int step() {
        status_ = sqlite3_step(stmt_);
        return status_;
    }
    // Ready to step again with new bindings.
    void reset() {
        sqlite3_reset(stmt_);
        status_ = SQLITE_OK;
    }

    // A NULL column reads as empty.
    std::string text(int column) const {
        const unsigned char* value = sqlite3_column_text(stmt_, column);
        return value ? std::string(reinterpret_cast<const char*>(value), sqlite3_column_bytes(stmt_, column)) : "";
    }
    std::int64_t integer(int column) const { return sqlite3_column_int64(stmt_, column); }
    std::vector<std::uint8_t> blob(int column) const {
        const auto* bytes = static_cast<const std::uint8_t*>(sqlite3_column_blob(stmt_, column));
        return bytes ? std::vector<std::uint8_t>(bytes, bytes + sqlite3_column_bytes(stmt_, column))
                     : std::vector<std::uint8_t>();
    }

private:
    sqlite3_stmt* stmt_ = nullptr;
    int status_ = SQLITE_OK;
};

}  // namespace zv
