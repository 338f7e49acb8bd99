// A small database with one table of every kind of storage, and statements that change it.
#pragma once

#include <filesystem>
#include <functional>
#include <vector>

#include "core/text.h"
#include "jet/support/tables.h"

namespace qmtrain::test {

inline std::vector<Value> SampleRow(int key) {
    return {key, u"文本" + ToText(std::int64_t{key}), std::u16string(static_cast<std::size_t>(key * 50), u'长')};
}

inline void MakeSample(const std::filesystem::path& path, FileSystem& files) {
    const auto database = jet::Database::Create(path, {}, {.durable = false, .system = &files});
    Write(*database, [&] {
        using jet::ColumnType;
        database->CreateTable({.name = u"T",
                               .columns = {{.name = u"K", .type = ColumnType::Long},
                                           {.name = u"A"},
                                           {.name = u"M", .type = ColumnType::Memo}},
                               .indexes = {{.name = u"PrimaryKey", .columns = {{u"K"}}, .primary = true},
                                           {.name = u"IA", .columns = {{u"A"}}}}});
        for (int i = 0; i < 50; ++i) database->FindTable(u"T")->Insert(SampleRow(i));
    });
}

struct SampleStatement {
    const char* name;
    std::function<void(jet::Database&)> run;
};

inline void DeleteRows(jet::Database& database, std::size_t count) {
    const auto table = database.FindTable(u"T");
    std::vector<jet::RowPointer> rows;
    {
        jet::RowCursor cursor(*table);
        for (cursor.Scan(); cursor.Next() && rows.size() < count;) rows.push_back(cursor.Row());
    }
    for (const jet::RowPointer row : rows) table->Delete(row);
}

// With the smallest cache those of many pages write to the file before they commit.
inline const std::vector<SampleStatement>& SampleStatements() {
    static const std::vector<SampleStatement> statements = {
        {"one row", [](jet::Database& database) { Insert(database, u"T", SampleRow(100)); }},
        {"a new table",
         [](jet::Database& database) {
             Write(database, [&] { database.CreateTable({.name = u"N", .columns = {{.name = u"A"}}}); });
         }},
        {"many pages",
         [](jet::Database& database) {
             Write(database, [&] {
                 for (int i = 101; i < 160; ++i) database.FindTable(u"T")->Insert(SampleRow(i));
                 DeleteRows(database, 40);
             });
         }},
        {"a transaction whose statements may fail",
         [](jet::Database& database) {
             database.BeginTransaction();
             for (int i = 201; i < 240; ++i) ErrorOf([&] { Insert(database, u"T", SampleRow(i)); });
             ErrorOf([&] {
                 Write(database, [&] {
                     DeleteRows(database, 80);
                     for (int i = 299; i > 238; --i) database.FindTable(u"T")->Insert(SampleRow(i));  // 239 is there
                 });
             });
             database.CommitTransaction();
         }},
        {"deletions", [](jet::Database& database) { Write(database, [&] { DeleteRows(database, 30); }); }},
    };
    return statements;
}

}  // namespace qmtrain::test
