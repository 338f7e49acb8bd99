// Healthy databases of our own, made in memory: what fuzzing of files starts from.
#pragma once

#include <vector>

#include "jet/database.h"
#include "jet/support/memory_files.h"

namespace qmtrain::test {

inline constexpr const char* kFuzzedFile = "fuzz.mdb";

// A table with every kind of column and some of its rows, a second that refers to it, and one whose definition is long.
inline MemoryFiles::Content SmallDatabase(bool with_tables, jet::Version version) {
    MemoryFiles files;
    {
        const auto database =
            jet::Database::Create(kFuzzedFile, {.version = version}, {.durable = false, .system = &files});
        const bool jet4 = version == jet::Version::Jet4;
        jet::Database::Writing writing(*database);
        if (with_tables) {
            database->CreateTable({.name = u"A",
                                   .columns = {{.name = u"N", .type = ColumnType::Long, .autonumber = true},
                                               {.name = u"T", .size = 50},
                                               {.name = u"M", .type = ColumnType::Memo},
                                               {.name = u"O", .type = ColumnType::LongBinary},
                                               {.name = u"B", .type = ColumnType::Boolean},
                                               {.name = u"D", .type = ColumnType::Date},
                                               {.name = u"S", .type = ColumnType::Single}},
                                   .indexes = {{.name = u"P", .columns = {{u"N"}}, .primary = true},
                                               {.name = u"I", .columns = {{u"T", false}, {u"N"}}}}});
            database->CreateTable({.name = u"R", .columns = {{.name = u"N", .type = ColumnType::Long}}});
            database->CreateRelationship({.name = u"AR",
                                          .table = u"R",
                                          .columns = {u"N"},
                                          .referenced_table = u"A",
                                          .referenced_columns = {u"N"}});
            for (int i = 0; i < 40; ++i) {
                const std::size_t length = i == 0 ? 9000 : i % 10 == 0 ? 700 : 5;
                database->FindTable(u"A")->Insert(std::vector<Value>{
                    Value(), (jet4 ? u"文本" : u"\u00FC") + ToText(i % 7), std::u16string(length, jet4 ? u'长' : u'l'),
                    Bytes(length / 2, 7), i % 2 == 0, Date{38000.5 + i}, 1.5F});
                database->FindTable(u"R")->Insert(std::vector<Value>{i + 1});
            }
        }
        writing.Commit();
    }
    return files.At(kFuzzedFile);
}

}  // namespace qmtrain::test
