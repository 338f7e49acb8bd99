#include "jet/support/other_readers.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <list>
#include <map>
#include <unordered_map>

#include <gtest/gtest.h>

#include "core/convert.h"
#include "core/text.h"
#include "jet/row_cursor.h"
#include "jet/support/program.h"
#include "jet/support/samples.h"
#include "support/raised.h"

namespace qmtrain::test {
namespace {

using jet::RowCursor;
using jet::StoredColumn;
using jet::Table;
using Line = std::vector<Cell>;

std::string Hex(const Bytes& bytes) {
    constexpr char kDigits[] = "0123456789abcdef";
    std::string text;
    for (const std::uint8_t byte : bytes) text += {kDigits[byte >> 4], kDigits[byte & 15]};
    return text;
}

std::string LowerCase(std::string text) {
    std::transform(text.begin(), text.end(), text.begin(),
                   [](unsigned char c) { return static_cast<char>(tolower(c)); });
    return text;
}

std::string DateText(Date date) {
    const CivilTime time = ToCivil(date);
    char text[32];
    std::snprintf(text, sizeof text, "%04d-%02d-%02d %02d:%02d:%02d", time.year, time.month, time.day, time.hour,
                  time.minute, time.second);
    return text;
}

// What another reader shows for a value, and how far it can be trusted.
class Reader {
public:
    virtual ~Reader() = default;

    virtual bool Agrees(const StoredColumn& column, const Value& value, const Cell& cell) const {
        if (value.IsNull()) return IsNull(cell);
        if (IsNull(cell)) return false;
        switch (value.GetType()) {
            case Value::Type::Boolean: return cell.text == (value.As<bool>() ? "1" : "0");
            case Value::Type::Single: return IsNear(value.As<float>(), cell, 1e-7);
            case Value::Type::Double: return IsNear(value.As<double>(), cell, 1e-15);
            case Value::Type::Currency: return std::llround(Number(cell) * 10000) == value.As<Currency>().scaled;
            case Value::Type::Date: return AgreesOnDate(value.As<Date>(), cell);
            case Value::Type::Binary: return LowerCase(cell.text) == Hex(value.Binary());
            case Value::Type::Text:
                if (column.type == ColumnType::Guid) return AgreesOnGuid(value.Text(), cell);
                return cell.text == ToUtf8(value.Text());
            default: return cell.text == ToUtf8(ToText(value));
        }
    }

protected:
    virtual bool IsNull(const Cell& cell) const = 0;
    virtual bool AgreesOnGuid(const std::u16string& guid, const Cell& cell) const = 0;
    virtual bool AgreesOnDate(Date date, const Cell& cell) const = 0;

    static double Number(const Cell& cell) { return std::strtod(cell.text.c_str(), nullptr); }
    static bool IsNear(double value, const Cell& cell, double tolerance) {
        return std::abs(value - Number(cell)) <= std::abs(value) * tolerance;
    }
};

class MdbToolsReader : public Reader {
public:
    static constexpr const char* kNull = "<null>";

    // Its defects: texts and short binary values end at a zero, and count as Null when nothing is left.
    bool Agrees(const StoredColumn& column, const Value& value, const Cell& cell) const override {
        if (Reader::Agrees(column, value, cell)) return true;
        if (value.IsNull()) return false;
        if (column.type == ColumnType::Text) {
            return Reader::Agrees(column, Value(value.Text().substr(0, value.Text().find(u'\0'))), cell);
        }
        if (column.type != ColumnType::Binary) return false;
        Bytes cut = value.Binary();
        cut.erase(std::find(cut.begin(), cut.end(), 0), cut.end());
        return cut.empty() ? IsNull(cell) : Reader::Agrees(column, Value(cut), cell);
    }

private:
    bool IsNull(const Cell& cell) const override { return cell.text == kNull && !cell.quoted; }

    bool AgreesOnDate(Date date, const Cell& cell) const override { return cell.text == DateText(date); }

    // The last hyphen of a GUID is missing there, and its text counts as binary data.
    bool AgreesOnGuid(const std::u16string& guid, const Cell& cell) const override {
        std::string text = ToUtf8(guid);
        text.erase(text.rfind('-'), 1);
        return LowerCase(cell.text) == Hex(Bytes(text.begin(), text.end()));
    }
};

class MdbReaderReader : public Reader {
    bool IsNull(const Cell& cell) const override { return cell.text.empty() && !cell.quoted; }
    bool AgreesOnGuid(const std::u16string& guid, const Cell& cell) const override {
        return LowerCase("{" + cell.text + "}") == LowerCase(ToUtf8(guid));
    }

    // To the millisecond.
    bool AgreesOnDate(Date date, const Cell& cell) const override {
        return std::abs(date.days - Number(cell)) * 86400000 < 1.001;
    }
};

// `lines`: the names of the columns, then the rows. A row that was moved may stand elsewhere: some readers list it
// where its bytes are.
void Compare(const Reader& reader, const std::shared_ptr<Table>& table, std::vector<Line> lines) {
    SCOPED_TRACE("table " + ToUtf8(table->Name()));
    const std::vector<StoredColumn>& columns = table->Definition().columns;
    ASSERT_FALSE(lines.empty());
    const Line names = lines.front();
    std::vector<std::size_t> places;  // by column: its cell in a line
    for (const StoredColumn& column : columns) {
        const auto found = std::find_if(names.begin(), names.end(),
                                        [&](const Cell& cell) { return cell.text == ToUtf8(column.name); });
        ASSERT_NE(found, names.end()) << ToUtf8(column.name);
        places.push_back(static_cast<std::size_t>(found - names.begin()));
    }
    ASSERT_EQ(names.size(), columns.size());
    lines.erase(lines.begin());
    for (const Line& line : lines) ASSERT_EQ(line.size(), columns.size());
    // Rows are looked for among those with the same number in the first column of whole numbers.
    const auto anchor = static_cast<std::size_t>(
        std::find_if(columns.begin(), columns.end(),
                     [](const StoredColumn& column) { return column.type == ColumnType::Long; }) -
        columns.begin());
    std::unordered_map<std::string, std::list<Line>> remaining;
    for (Line& line : lines) {
        std::string key;
        if (anchor < columns.size() && !reader.Agrees(columns[anchor], Null{}, line[places[anchor]])) {
            key = line[places[anchor]].text;
        }
        remaining[key].push_back(std::move(line));
    }
    RowCursor cursor(*table);
    std::vector<Value> row(columns.size());
    for (cursor.Scan(); cursor.Next();) {
        for (std::size_t i = 0; i < row.size(); ++i) cursor.Read(i, row[i]);
        const auto difference = [&](const Line& line) {
            std::size_t i = 0;
            while (i < row.size() && reader.Agrees(columns[i], row[i], line[places[i]])) ++i;
            return i;
        };
        const bool numbered = anchor < columns.size() && !row[anchor].IsNull();
        std::list<Line>& candidates = remaining[numbered ? ToUtf8(ToText(row[anchor])) : std::string()];
        const auto same = std::find_if(candidates.begin(), candidates.end(),
                                       [&](const Line& line) { return difference(line) == row.size(); });
        if (same != candidates.end()) {
            candidates.erase(same);
            continue;
        }
        ASSERT_FALSE(candidates.empty()) << "the other reader lacks the row at page " << cursor.Row().page << " slot "
                                         << int{cursor.Row().slot};
        const std::size_t column = difference(candidates.front());
        ADD_FAILURE() << "page " << cursor.Row().page << " slot " << int{cursor.Row().slot} << ", column "
                      << ToUtf8(columns[column].name) << ": " << Shown(row[column]) << ", the other reader has "
                      << candidates.front()[places[column]].text.substr(0, 200);
        return;
    }
    for (const auto& [key, left] : remaining) EXPECT_TRUE(left.empty()) << "the other reader has more rows: " << key;
}

}  // namespace

void ExpectSameAsMdbTools(jet::Database& database, const std::filesystem::path& path) {
    const jet::Database::Reading reading(database);
    for (const auto& table : AllTables(database)) {
        const auto output = OutputOf({"mdb-export", "-b", "hex", "-D", "%Y-%m-%d %H:%M:%S", "-T", "%Y-%m-%d %H:%M:%S",
                                      "-0", MdbToolsReader::kNull, path.string(), ToUtf8(table->Name())});
        ASSERT_TRUE(output) << ToUtf8(table->Name());
        Compare(MdbToolsReader(), table, ParseCsv(*output));
    }
}

const char* MdbReaderModules() {
    return std::getenv("QMTRAIN_MDB_READER");
}

void ExpectSameAsMdbReader(jet::Database& database, const std::filesystem::path& path) {
    const auto output = OutputOf({"node", QMTRAIN_TEST_DIR "/readers/dump.mjs", MdbReaderModules(), path.string()});
    ASSERT_TRUE(output) << "node or mdb-reader failed";
    std::map<std::string, std::vector<Line>> answers;
    std::string name;
    for (Line& line : ParseCsv(*output)) {
        if (line[0].text == "T") {
            name = line[1].text;
        } else {
            answers[name].emplace_back(line.begin() + 1, line.end());
        }
    }
    const jet::Database::Reading reading(database);
    for (const auto& table : AllTables(database)) Compare(MdbReaderReader(), table, answers[ToUtf8(table->Name())]);
}

}  // namespace qmtrain::test
