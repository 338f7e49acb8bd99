// Columns of types that a file does not have, and values that none of our types holds.

#include "odbc_fixture.h"

namespace qmtrain::test {
namespace {

class ServerTypesTest : public OdbcTest {
protected:
    void SetUp() override {
        setenv("QMTRAININFO_PASSWORD", "secret;{}", 1);
        OdbcTest::SetUp();
    }

    // A table of a row with this value, and a link to it. Returns its name.
    std::u16string MakeRow(const std::string& type, const std::string& value) {
        const std::string table = "kind" + std::to_string(++tables_);
        MakeTable(table, "id serial PRIMARY KEY, a integer, v " + type);
        server_->Psql("INSERT INTO " + table + " (v) VALUES ('" + value + "')");
        return FromUtf8(table);
    }

    int tables_ = 0;
};

// They are shown as the server shows them, and stand in no way of changes.
TEST_F(ServerTypesTest, RowsWithForeignTypesCanBeChanged) {
    server_->Psql("CREATE TYPE colour AS ENUM ('red', 'green')");
    struct Case {
        const char* type;
        const char* value;
        const char* shown;
        const char* other;
    };
    const Case cases[] = {
        {"time", "08:30:15.25", "08:30:15.25", "23:59:59"},
        {"timetz", "08:30:15+02", "08:30:15+02", "23:59:59+00"},
        {"interval", "1 day 02:03:04.5", "1 day 02:03:04.5", "2 days"},
        {"colour", "green", "green", "red"},
        {"inet", "10.0.0.1", "10.0.0.1", "10.0.0.2"},
        {"json", "{\"a\": 1}", "{\"a\": 1}", "[]"},
        {"bit(3)", "101", "101", "111"},
        {"int4range", "[1,5)", "[1,5)", "[2,3)"},
        {"integer[]", "{1,2}", "{1,2}", "{}"},
        {"uuid", "00112233-4455-6677-8899-aabbccddeeff", "{00112233-4455-6677-8899-AABBCCDDEEFF}",
         "{00112233-4455-6677-8899-AABBCCDDEEFE}"},
        {"char(5)", "ab", "ab   ", "c    "},
        {"name", "x", "x", "y"},
        {"money", "1234.5", "1234.5", "7"},
        {"numeric", "1.50", "1.5", "2.5"},
        {"numeric(30, 10)", "1.1234567891", "1.1234567891", "-2.5"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.type);
        const auto rows = database_->OpenRecordset(MakeRow(c.type, c.value));
        const auto change = [&](std::u16string_view field, const Value& value) {
            rows->Edit();
            rows->Fields(field).Value(value);
            rows->Update();
        };
        EXPECT_EQ(ToUtf8(ToText(rows->Fields(u"v").Value())), c.shown);
        for (std::int32_t turn = 0; turn < 3; ++turn) EXPECT_EQ(ErrorOf([&] { change(u"a", turn); }), 0);
        EXPECT_EQ(ErrorOf([&] { change(u"v", FromUtf8(c.other)); }), 0);
        EXPECT_EQ(ToUtf8(ToText(rows->Fields(u"v").Value())), c.other);
        EXPECT_EQ(ErrorOf([&] { change(u"v", Null{}); }), 0);
    }
}

TEST_F(ServerTypesTest, AnEmptyTextIsNotNull) {
    const std::u16string table = MakeRow("varchar(5)", "");
    const auto rows = database_->OpenRecordset(table);
    rows->Edit();
    rows->Fields(u"a").Value(std::int32_t{1});
    server_->Psql("UPDATE " + ToUtf8(table) + " SET v = NULL");
    EXPECT_EQ(ErrorOf([&] { rows->Update(); }), static_cast<std::int32_t>(ErrorNumber::RecordChanged));
}

// What they cannot hold is told, and nothing else is shown in its place.
TEST_F(ServerTypesTest, ValuesBeyondOursAreRefused) {
    struct Case {
        const char* type;
        const char* value;
        const char* shown;  // null: refused
    };
    const Case cases[] = {
        {"double precision", "NaN", nullptr},
        {"double precision", "-Infinity", nullptr},
        {"real", "NaN", nullptr},
        {"numeric", "NaN", nullptr},
        {"numeric", "1e40", nullptr},
        {"numeric", "0.00000000000000000000000000000000000012345", nullptr},
        {"numeric(30, 10)", "12345678901234567890.1234567891", nullptr},
        {"numeric(30, 10)", "-12345678901234567890.12345670", "-12345678901234567890.1234567"},
        {"bigint", "-9223372036854775808", "-9223372036854775808"},
        {"oid", "4294967295", nullptr},
        {"timestamp", "infinity", nullptr},
        {"timestamp", "-infinity", nullptr},
        {"timestamp", "0044-03-15 12:00:00 BC", nullptr},
        {"timestamp", "0099-12-31 23:00", nullptr},
        {"timestamp", "0100-01-01 00:00:01", "100/1/1 0:00:01"},
        {"timestamp", "9999-12-31 23:59:59.999999", "9999/12/31 23:59:59"},
        {"timestamp", "10000-01-01", nullptr},
        {"timestamptz", "2005-04-12 08:30:15.75", "2005/4/12 8:30:15"},
        {"date", "infinity", nullptr},
        {"date", "0044-03-15 BC", nullptr},
        {"date", "10000-01-01", nullptr},
        {"date", "2005-04-12", "2005/4/12"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(std::string(c.type) + " " + c.value);
        const std::u16string table = MakeRow(c.type, c.value);
        for (const std::u16string& sql : {u"SELECT v FROM " + table, u"SELECT Max(v) AS v FROM " + table}) {
            std::string shown;
            const AutomationError error = RaisedBy([&] { shown = ToUtf8(Column(sql, u"v")); });
            if (c.shown != nullptr) {
                EXPECT_EQ(shown, c.shown) << error.what();
                continue;
            }
            EXPECT_EQ(error.Number(), static_cast<std::int32_t>(ErrorNumber::Overflow)) << shown;
            EXPECT_NE(std::string(error.what()).find("“v”"), std::string::npos) << error.what();
        }
    }
}

}  // namespace
}  // namespace qmtrain::test
