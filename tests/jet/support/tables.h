// Short forms for tests that make tables, fill them and look at them.
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "jet/check.h"
#include "jet/database.h"
#include "jet/row_cursor.h"

namespace qmtrain::test {

inline void Write(jet::Database& database, const std::function<void()>& body) {
    jet::Database::Writing writing(database);
    body();
    writing.Commit();
}

inline jet::RowPointer Insert(jet::Database& database, std::u16string_view table, std::vector<Value> row) {
    jet::RowPointer where;
    Write(database, [&] { where = database.FindTable(table)->Insert(row); });
    return where;
}

inline std::uint32_t PagesOf(jet::Database& database) {
    const jet::Database::Reading reading(database);
    return database.PageCount();
}

// The rows of a table in the order of their storing, values of one row after the other.
inline std::vector<std::vector<Value>> Rows(jet::Database& database, std::u16string_view name) {
    const jet::Database::Reading reading(database);
    const auto table = database.FindTable(name);
    std::vector<std::vector<Value>> rows;
    jet::RowCursor cursor(*table);
    for (cursor.Scan(); cursor.Next();) {
        rows.emplace_back(table->Definition().columns.size());
        for (std::size_t i = 0; i < rows.back().size(); ++i) cursor.Read(i, rows.back()[i]);
    }
    return rows;
}

// No defects; in files of our own making no notes either.
inline void ExpectClean(jet::Database& database, bool ours = true) {
    const jet::CheckReport report = jet::CheckDatabase(database);
    for (const std::u16string& line : report.defects) ADD_FAILURE() << ToUtf8(line);
    if (!ours) return;
    for (const std::u16string& line : report.notes) ADD_FAILURE() << ToUtf8(line);
}

// The number of the error that the body raises, 0 for none. The description must say something.
inline std::int32_t ErrorOf(const std::function<void()>& body) {
    try {
        body();
    } catch (const AutomationError& error) {
        EXPECT_FALSE(error.Description().empty());
        return error.Number();
    }
    return 0;
}

}  // namespace qmtrain::test
