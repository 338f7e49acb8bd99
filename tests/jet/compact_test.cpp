// Copies of databases: what is kept, and what becomes of it in another version.

#include "jet/compact.h"

#include <map>

#include <gtest/gtest.h>

#include "jet/support/other_readers.h"
#include "jet/support/program.h"
#include "jet/support/samples.h"
#include "jet/support/scratch.h"
#include "jet/support/tables.h"

namespace qmtrain::jet {
namespace {

using test::ExpectClean;
using test::Insert;
using test::Rows;
using test::Write;

// What a database says of a table, without numbers of pages and columns.
struct Shape {
    std::vector<std::u16string> columns;
    std::vector<std::u16string> indexes;
    std::uint32_t autonumber = 0;
    std::vector<std::vector<Value>> rows;

    bool operator==(const Shape&) const = default;
};

std::u16string Described(const StoredColumn& column, const FileFormat& format) {
    const std::size_t unit = column.type == ColumnType::Text ? format.text_unit : 1;
    return column.name + u" " + ToText(column.foreign_type.value_or(StoredType(column.type))) + u" " +
           ToText(column.flags) + u" " + ToText(column.ordinal) + u" " + ToText(column.length / unit);
}

Shape ShapeOf(Database& database, std::u16string_view name) {
    Shape shape;
    shape.rows = Rows(database, name);
    const Database::Reading reading(database);
    const auto table = database.FindTable(name);
    const TableDefinition& definition = table->Definition();
    shape.autonumber = definition.autonumber;
    for (const StoredColumn& column : definition.columns) {
        shape.columns.push_back(Described(column, database.GetPager().GetFormat()));
    }
    for (const LogicalIndex& logical : definition.logical_indexes) {
        std::u16string text = logical.name + u" " + ToText(static_cast<int>(logical.role)) + u" " +
                              ToText(static_cast<int>(logical.side)) + u" " + ToText(logical.update_action) + u" " +
                              ToText(logical.delete_action);
        const RealIndex& real = definition.real_indexes[logical.real];
        text += u" " + ToText(real.flags & 0x7F);
        for (const KeyColumn& part : real.columns) {
            text +=
                u" " + definition.columns[definition.ColumnByNumber(part.number)].name + (part.ascending ? u"+" : u"-");
        }
        shape.indexes.push_back(text);
    }
    return shape;
}

// The tables with their names, and all other objects' names.
std::map<std::u16string, Shape> Contents(Database& database) {
    std::vector<CatalogObject> objects;
    {
        const Database::Reading reading(database);
        objects = database.Objects();
    }
    std::map<std::u16string, Shape> contents;
    for (const CatalogObject& object : objects) {
        const bool core = object.id >= 2 && object.id <= 5;
        const bool table = object.type == CatalogObject::kTable && !core;
        contents[object.name + u" " + ToText(object.type)] = table ? ShapeOf(database, object.name) : Shape{};
    }
    return contents;
}

std::vector<std::u16string> RelationshipsOf(Database& database) {
    const Database::Reading reading(database);
    std::vector<std::u16string> texts;
    for (const Relationship& each : database.Relationships()) {
        texts.push_back(each.name + u" " + each.table + u" " + each.columns.front() + u" " + each.referenced_table +
                        u" " + each.referenced_columns.front() + (each.cascade_delete ? u" cascade" : u""));
    }
    return texts;
}

// By name of the table and its column: the texts among the properties.
std::vector<std::u16string> PropertiesOf(Database& database) {
    const Database::Reading reading(database);
    std::vector<std::u16string> texts;
    for (const CatalogObject& object : database.Objects()) {
        if (object.type != CatalogObject::kTable) continue;
        const Properties properties = database.ReadProperties(object.name);
        for (const auto& [owner, list] : properties.owners) {
            for (const Property& property : list) {
                std::u16string text = object.name + u"." + owner + u"." + property.name;
                const bool is_text = IsText(TypeOfStored(property.type).value_or(ColumnType::Binary));
                text += is_text ? u"=" + property.AsText(database.GetPager().GetFormat(), database.CodePage())
                                : u" " + ToText(property.value.size());
                texts.push_back(text);
            }
        }
    }
    return texts;
}

class CompactTest : public testing::Test {
protected:
    std::filesystem::path Old() const { return folder_.Path() / "old.mdb"; }
    std::filesystem::path New() const { return folder_.Path() / "new.mdb"; }

    std::unique_ptr<Database> Copied(const CompactSettings& settings = {}) {
        std::filesystem::remove(New());
        Compact(Old(), New(), settings);
        return Database::Open(New());
    }

    test::ScratchFolder folder_;
};

TEST_F(CompactTest, KeepsWhatAccessHasMade) {
    if (!std::filesystem::exists(test::SampleFolder()))
        GTEST_SKIP() << "no sample databases in " << test::SampleFolder();
    for (const test::Sample& sample : test::Samples()) {
        SCOPED_TRACE(sample.file);
        test::WriteFile(Old(), test::ReadFile(sample.Path()));
        const auto before = test::ReadFile(Old());
        const auto source = Database::Open(Old());
        for (const Version version : {Version::Jet3, Version::Jet4}) {
            SCOPED_TRACE(version == Version::Jet3 ? "to Jet 3" : "to Jet 4");
            const std::string_view file = sample.file;
            const bool unicode = file.ends_with("testUnicodeCompV2003.mdb");
            const bool decimal = file.ends_with("fixedNumericTestV2003.mdb");
            if (version == Version::Jet3 && (unicode || decimal)) {
                EXPECT_EQ(ErrorOf([&] { Copied({.version = version}); }),
                          static_cast<std::int32_t>(unicode ? ErrorNumber::DataTypeConversion
                                                            : ErrorNumber::OperationNotSupported));
                EXPECT_FALSE(std::filesystem::exists(New()));
                continue;
            }
            const auto copy = Copied({.version = version});
            EXPECT_EQ(copy->GetVersion(), version);
            ExpectClean(*copy);
            EXPECT_EQ(RelationshipsOf(*copy), RelationshipsOf(*source));
            auto expected = Contents(*source);
            if (version == Version::Jet3 && source->GetVersion() == Version::Jet4) {
                expected.erase(u"MSysAccessObjects 1");
            }
            const auto found = Contents(*copy);
            for (const auto& [name, shape] : expected) {
                ASSERT_TRUE(found.contains(name)) << ToUtf8(name);
                EXPECT_EQ(found.at(name).columns, shape.columns) << ToUtf8(name);
                EXPECT_EQ(found.at(name).indexes, shape.indexes) << ToUtf8(name);
                EXPECT_EQ(found.at(name).autonumber, shape.autonumber) << ToUtf8(name);
                EXPECT_TRUE(found.at(name).rows == shape.rows) << ToUtf8(name);
            }
            EXPECT_EQ(found.size(), expected.size());
            if (version == source->GetVersion()) {
                EXPECT_EQ(PropertiesOf(*copy), PropertiesOf(*source));
                EXPECT_LE(std::filesystem::file_size(New()), before.size());
            }
            if (test::HasProgram("mdb-export")) test::ExpectSameAsMdbTools(*copy, New());
        }
        EXPECT_TRUE(test::ReadFile(Old()) == before);
    }
}

TEST_F(CompactTest, ThereAndBackAgain) {
    test::WriteFile(Old(), test::ReadFile(test::SampleFolder() / "nwind.mdb"));
    const auto source = Database::Open(Old());
    Compact(Old(), folder_.Path() / "middle.mdb", {.version = Version::Jet4});
    Compact(folder_.Path() / "middle.mdb", New(), {.version = Version::Jet3});
    const auto copy = Database::Open(New());
    EXPECT_TRUE(Contents(*copy) == Contents(*source));
    EXPECT_EQ(PropertiesOf(*copy), PropertiesOf(*source));
    ExpectClean(*copy);
}

// What was deleted leaves no trace, the autonumber goes on where it was, and what was refused is refused.
TEST_F(CompactTest, LeavesTheGapsBehind) {
    for (const Version version : {Version::Jet3, Version::Jet4}) {
        std::filesystem::remove(Old());
        {
            const auto database = Database::Create(Old(), {.version = version}, {.durable = false});
            Write(*database, [&] {
                database->CreateTable({.name = u"Notes",
                                       .columns = {{.name = u"NoteID", .type = ColumnType::Long, .autonumber = true},
                                                   {.name = u"Gone", .type = ColumnType::Double},
                                                   {.name = u"Name", .required = true},
                                                   {.name = u"Content", .type = ColumnType::Memo}},
                                       .indexes = {{.name = u"PrimaryKey", .columns = {{u"NoteID"}}, .primary = true},
                                                   {.name = u"ByName", .columns = {{u"Name", false}}}}});
                const auto table = database->FindTable(u"Notes");
                std::vector<RowPointer> rows;
                for (int i = 0; i < 2000; ++i) {
                    rows.push_back(
                        table->Insert(std::vector<Value>{Value(), 0.5, u"n" + ToText((i * 37) % 100),
                                                         std::u16string(static_cast<std::size_t>(i % 50) * 40, u'm')}));
                }
                for (std::size_t i = 0; i < rows.size(); ++i) {
                    if (i % 5 != 2) table->Delete(rows[i]);
                }
            });
            Write(*database, [&] { database->DropColumn(u"Notes", u"Gone"); });
        }
        const auto rows = Rows(*Database::Open(Old()), u"Notes");
        const auto copy = Copied();
        EXPECT_LT(std::filesystem::file_size(New()) * 2, std::filesystem::file_size(Old()));
        EXPECT_TRUE(Rows(*copy, u"Notes") == rows);
        EXPECT_EQ(ErrorOf([&] {
                      Insert(*copy, u"Notes", {{}, {}, u"x"});
                  }),
                  static_cast<int>(ErrorNumber::FieldRequired));
        Insert(*copy, u"Notes", {{}, u"new", u"x"});
        EXPECT_EQ(Rows(*copy, u"Notes").back()[0], Value(2001));
        ExpectClean(*copy);
    }
}

TEST_F(CompactTest, GivesAnotherFormOrRefuses) {
    Database::Create(Old(), {.password = u"old"});
    const auto compact = [&](const CompactSettings& settings, std::u16string_view password) {
        return ErrorOf([&] { Compact(Old(), New(), settings, {.password = std::u16string(password)}); });
    };
    EXPECT_EQ(compact({}, u"wrong"), static_cast<int>(ErrorNumber::PasswordInvalid));
    EXPECT_FALSE(std::filesystem::exists(New()));
    struct Case {
        CompactSettings settings;
        std::u16string password;
        std::uint16_t sort_order;
        bool encoded;
    };
    const Case cases[] = {
        {{}, u"old", kGeneralOrder, false},
        {{.password = u"new", .encoded = true}, u"new", kGeneralOrder, true},
        {{.sort_order = kChineseOrder, .version = Version::Jet3, .password = u"", .encoded = true},
         u"",
         kChineseOrder,
         true},
        {{.sort_order = kChineseOrder, .encoded = false}, u"old", kChineseOrder, false},
    };
    for (const Case& test : cases) {
        std::filesystem::remove(New());
        EXPECT_EQ(compact(test.settings, u"old"), 0);
        EXPECT_EQ(ErrorOf([&] { Database::Open(New(), {.password = u"x"}); }),
                  test.password.empty() ? 0 : static_cast<int>(ErrorNumber::PasswordInvalid));
        const auto copy = Database::Open(New(), {.password = test.password});
        EXPECT_EQ(copy->GetPager().GetHeader().sort_order, test.sort_order);
        EXPECT_EQ(copy->GetPager().GetHeader().page_key != 0, test.encoded);
        EXPECT_EQ(copy->CodePage(), test.sort_order == kChineseOrder ? 936 : 1252);
        ExpectClean(*copy);
    }
    EXPECT_EQ(compact({}, u"old"), static_cast<int>(ErrorNumber::DatabaseExists));
    std::size_t files = 0;
    for ([[maybe_unused]] const auto& file : std::filesystem::directory_iterator(folder_.Path())) ++files;
    EXPECT_LE(files, 4U) << "both databases and their lock files";
}

}  // namespace
}  // namespace qmtrain::jet
