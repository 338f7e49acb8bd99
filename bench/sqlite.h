// SQLite as the peer: an open file and its statements.
#pragma once

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <string_view>

#include <sqlite3.h>

#include "core/value.h"

namespace qmtrain::bench {

class SqliteFile {
public:
    explicit SqliteFile(const std::filesystem::path& file) {
        if (sqlite3_open(file.c_str(), &handle_) != SQLITE_OK) Fail();
    }
    SqliteFile(const SqliteFile&) = delete;
    SqliteFile& operator=(const SqliteFile&) = delete;
    ~SqliteFile() { sqlite3_close(handle_); }

    void Execute(const char* sql) {
        if (sqlite3_exec(handle_, sql, nullptr, nullptr, nullptr) != SQLITE_OK) Fail();
    }

    sqlite3* Handle() const { return handle_; }

    // A benchmark against a peer that does not do its work would be worth nothing.
    [[noreturn]] void Fail() const {
        std::fprintf(stderr, "SQLite: %s\n", sqlite3_errmsg(handle_));
        std::exit(1);
    }

private:
    sqlite3* handle_ = nullptr;
};

// Parameters and columns count from 1 and 0, as SQLite's own.
class SqliteStatement {
public:
    SqliteStatement(const SqliteFile& file, std::string_view sql) : file_(file) {
        if (sqlite3_prepare_v2(file.Handle(), sql.data(), static_cast<int>(sql.size()), &statement_, nullptr) !=
            SQLITE_OK) {
            file.Fail();
        }
    }
    SqliteStatement(const SqliteStatement&) = delete;
    SqliteStatement& operator=(const SqliteStatement&) = delete;
    ~SqliteStatement() { sqlite3_finalize(statement_); }

    SqliteStatement& Bind(int at, double value) {
        sqlite3_bind_double(statement_, at, value);
        return *this;
    }
    SqliteStatement& Bind(int at, std::int32_t value) {
        sqlite3_bind_int(statement_, at, value);
        return *this;
    }
    SqliteStatement& Bind(int at, std::u16string_view value) {
        sqlite3_bind_text16(statement_, at, value.data(), static_cast<int>(value.size() * 2), SQLITE_TRANSIENT);
        return *this;
    }
    SqliteStatement& Bind(int at, const Bytes& value) {
        sqlite3_bind_blob(statement_, at, value.data(), static_cast<int>(value.size()), SQLITE_TRANSIENT);
        return *this;
    }

    // Whether there is a row; without one the statement has ended and can run again.
    bool Step() {
        const int result = sqlite3_step(statement_);
        if (result == SQLITE_ROW) return true;
        if (result != SQLITE_DONE) file_.Fail();
        sqlite3_reset(statement_);
        return false;
    }
    void Run() {
        while (Step()) {
        }
    }

    std::int32_t Number(int column) const { return sqlite3_column_int(statement_, column); }
    std::u16string Text(int column) const {
        const void* text = sqlite3_column_text16(statement_, column);
        if (text == nullptr) return {};
        return {static_cast<const char16_t*>(text),
                static_cast<std::size_t>(sqlite3_column_bytes16(statement_, column)) / 2};
    }
    Bytes Blob(int column) const {
        const auto* bytes = static_cast<const std::uint8_t*>(sqlite3_column_blob(statement_, column));
        return bytes == nullptr ? Bytes() : Bytes(bytes, bytes + sqlite3_column_bytes(statement_, column));
    }

private:
    const SqliteFile& file_;
    sqlite3_stmt* statement_ = nullptr;
};

}  // namespace qmtrain::bench
