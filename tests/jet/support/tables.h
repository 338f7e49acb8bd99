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
#include "support/raised.h"

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

// For the names of tests over both versions.
inline std::string VersionName(const testing::TestParamInfo<jet::Version>& info) {
    return info.param == jet::Version::Jet3 ? "Jet3" : "Jet4";
}

// A text that a new file of the version can hold, in General order: in Jet 3 a Latin letter for each other character.
inline std::u16string Fitting(std::u16string_view text, jet::Version version) {
    std::u16string fitting(text);
    if (version == jet::Version::Jet4) return fitting;
    for (char16_t& unit : fitting) unit = unit < 0x100 ? unit : static_cast<char16_t>(u'a' + unit % 26);
    return fitting;
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

}  // namespace qmtrain::test
