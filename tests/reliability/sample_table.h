// A small database with one table of every kind of storage, and statements that change it.
#pragma once

#include <filesystem>
#include <functional>
#include <vector>

#include "core/text.h"
#include "jet/support/tables.h"

namespace qmtrain::test {

// Samples are opened with it; one of the statements sets it.
inline constexpr char16_t kSamplePassword[] = u"Practice";

inline std::vector<Value> SampleRow(const jet::Database& database, int key) {
    const jet::Version version = database.GetVersion();
    const std::size_t length = static_cast<std::size_t>(key) * 100 / jet::FormatOf(version).text_unit;
    return {key, Fitting(u"文本" + ToText(key), version), Fitting(std::u16string(length, u'长'), version)};
}

inline void MakeSample(const std::filesystem::path& path, FileSystem& files,
                       jet::Version version = jet::Version::Jet4) {
    const auto database = jet::Database::Create(path, {.version = version}, {.durable = false, .system = &files});
    Write(*database, [&] {
        database->CreateTable({.name = u"T",
                               .columns = {{.name = u"K", .type = ColumnType::Long},
                                           {.name = u"A"},
                                           {.name = u"M", .type = ColumnType::Memo}},
                               .indexes = {{.name = u"PrimaryKey", .columns = {{u"K"}}, .primary = true},
                                           {.name = u"IA", .columns = {{u"A"}}}}});
        for (int i = 0; i < 50; ++i) database->FindTable(u"T")->Insert(SampleRow(*database, i));
    });
}

using Databases = std::vector<std::unique_ptr<jet::Database>>;

struct SampleStatement {
    const char* name;
    std::function<void(jet::Database&)> run;
};

// A change of several files that share a session. The first file links the table "T" of the second as "L".
struct SampleStory {
    const char* name;
    std::size_t files;
    std::function<void(Databases&)> run;
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
        {"one row", [](jet::Database& database) { Insert(database, u"T", SampleRow(database, 100)); }},
        {"a new table",
         [](jet::Database& database) {
             Write(database, [&] { database.CreateTable({.name = u"N", .columns = {{.name = u"A"}}}); });
         }},
        {"many pages",
         [](jet::Database& database) {
             Write(database, [&] {
                 for (int i = 101; i < 160; ++i) database.FindTable(u"T")->Insert(SampleRow(database, i));
                 DeleteRows(database, 40);
             });
         }},
        {"a transaction whose statements may fail",
         [](jet::Database& database) {
             database.BeginTransaction();
             for (int i = 201; i < 240; ++i) ErrorOf([&] { Insert(database, u"T", SampleRow(database, i)); });
             ErrorOf([&] {
                 Write(database, [&] {
                     DeleteRows(database, 80);
                     for (int i = 299; i > 238; --i)
                         database.FindTable(u"T")->Insert(SampleRow(database, i));  // 239 is there
                 });
             });
             database.CommitTransaction();
         }},
        {"a password", [](jet::Database& database) { database.NewPassword(u"", kSamplePassword); }},
        {"deletions", [](jet::Database& database) { Write(database, [&] { DeleteRows(database, 30); }); }},
    };
    return statements;
}

// Files with a table each, the first with a link into the second.
inline std::vector<std::filesystem::path> MakeSamples(const std::filesystem::path& folder, std::size_t count,
                                                      FileSystem& files, jet::Version version = jet::Version::Jet4) {
    constexpr const char* kNames[] = {"Client.mdb", "Other.mdb", "Third.mdb"};
    std::vector<std::filesystem::path> paths;
    for (std::size_t i = 0; i < count; ++i) {
        paths.push_back(folder / kNames[i]);
        MakeSample(paths.back(), files, version);
    }
    if (count < 2) return paths;
    const auto first = jet::Database::Open(paths[0], {.durable = false, .system = &files});
    Write(*first, [&] { first->CreateLink(u"L", u";DATABASE=Other.mdb", u"T"); });
    return paths;
}

inline Databases OpenTogether(const std::vector<std::filesystem::path>& paths, FileSystem& files) {
    const auto session = std::make_shared<jet::Session>();
    Databases databases;
    for (const std::filesystem::path& path : paths) {
        databases.push_back(jet::Database::Open(
            path,
            {.cache_bytes = 0, .durable = true, .password = kSamplePassword, .system = &files, .session = session}));
    }
    return databases;
}

inline void InTransaction(jet::Database& database, const std::function<void()>& body) {
    database.BeginTransaction();
    try {
        body();
    } catch (const AutomationError&) {
        database.RollbackTransaction();
        throw;
    }
    database.CommitTransaction();
}

inline const std::vector<SampleStory>& SampleStories() {
    static const std::vector<SampleStory> stories = {
        {"a table and a link", 2,
         [](Databases& databases) {
             jet::Database& database = *databases[0];
             databases.resize(1);  // the link opens the other file itself
             Write(database, [&] {
                 database.FindTable(u"T")->Insert(SampleRow(*databases[0], 100));
                 database.FindTable(u"L")->Insert(SampleRow(*databases[0], 100));
             });
         }},
        {"a transaction over two files", 2,
         [](Databases& databases) {
             InTransaction(*databases[0], [&] {
                 Insert(*databases[0], u"T", SampleRow(*databases[0], 100));
                 Insert(*databases[1], u"T", SampleRow(*databases[0], 100));
             });
         }},
        {"three files, one of them written early", 3,
         [](Databases& databases) {
             InTransaction(*databases[0], [&] {
                 Insert(*databases[2], u"T", SampleRow(*databases[0], 100));
                 Write(*databases[1], [&] {
                     for (int i = 101; i < 150; ++i) databases[1]->FindTable(u"T")->Insert(SampleRow(*databases[1], i));
                 });
                 Insert(*databases[0], u"T", SampleRow(*databases[0], 100));
             });
         }},
    };
    return stories;
}

}  // namespace qmtrain::test
