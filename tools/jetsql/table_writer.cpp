#include "table_writer.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <optional>
#include <vector>

#include <nlohmann/json.hpp>

#include "core/csv.h"
#include "core/text.h"
#include "value_text.h"

namespace qmtrain::jetsql {
namespace {

class CsvTable : public TableWriter {
public:
    explicit CsvTable(Output& output) : output_(output) {}

    void Begin(std::span<const std::u16string> columns) override {
        for (const std::u16string& name : columns) Text(name);
        EndRow();
    }

    void Row(std::span<const Value> values) override {
        for (const Value& value : values) Field(value);
        EndRow();
    }

    void Row(jet::RowCursor& cursor, std::span<const std::size_t> positions) override {
        values_.resize(positions.size());
        narrow_.resize(positions.size());
        // All of them first: half a row is not worth having.
        for (std::size_t i = 0; i < positions.size(); ++i) {
            narrow_[i] = cursor.NarrowText(positions[i]);
            if (!narrow_[i]) cursor.Read(positions[i], values_[i]);
        }
        for (std::size_t i = 0; i < positions.size(); ++i) {
            if (narrow_[i])
                Took(PutQuotedLatin1(*narrow_[i], Room(kMostQuoted * narrow_[i]->size() + 2)));
            else
                Field(values_[i]);
        }
        EndRow();
    }

    void End() override { output_.Flush(); }

private:
    void Field(const Value& value) {
        switch (value.GetType()) {
            case Value::Type::Text: return Text(value.Text());
            case Value::Type::Decimal:
            case Value::Type::Binary:
                long_.clear();
                AppendPlain(value, long_);
                return Took(std::copy(long_.begin(), long_.end(), Room(long_.size())));
            default: return Took(PutShort(value, Room(kMostShort)));
        }
    }

    void Text(std::u16string_view text) { Took(PutQuoted(text, Room(kMostQuoted * text.size() + 2))); }

    // For a field of so many characters.
    char* Room(std::size_t most) {
        char* to = output_.Room(most + 1);
        if (!first_) *to++ = ',';
        first_ = false;
        return to;
    }
    void Took(const char* end) { output_.Took(end); }

    void EndRow() {
        output_.Append("\r\n");
        output_.Breathe();
        first_ = true;
    }

    Output& output_;
    bool first_ = true;                                    // field of its row
    std::string long_;                                     // a field that is not short
    std::vector<std::optional<std::string_view>> narrow_;  // texts of the row as they are stored
};

class JsonWriter : public TableWriter {
public:
    explicit JsonWriter(Output& output) : output_(output) {}

    void Begin(std::span<const std::u16string> columns) override {
        names_.clear();
        for (const std::u16string& name : columns) {
            AppendQuoted(name, names_.emplace_back());
            names_.back().push_back(':');
        }
        output_.Append("[");
        first_ = true;
    }

    void Row(std::span<const Value> values) override {
        std::string& out = row_;
        out = first_ ? "\n{" : ",\n{";
        first_ = false;
        for (std::size_t i = 0; i < values.size(); ++i) {
            if (i > 0) out.push_back(',');
            out += names_[i];
            Put(values[i], out);
        }
        out.push_back('}');
        output_.Append(out);
        output_.Breathe();
    }

    void End() override {
        output_.Append("\n]\n");
        output_.Flush();
    }

private:
    static void Put(const Value& value, std::string& out) {
        switch (value.GetType()) {
            case Value::Type::Empty:
            case Value::Type::Null: out += "null"; return;
            case Value::Type::Boolean: out += value.As<bool>() ? "true" : "false"; return;
            case Value::Type::Text: return AppendQuoted(value.Text(), out);
            case Value::Type::Single: return PutReal(value, value.As<float>(), out);
            case Value::Type::Double: return PutReal(value, value.As<double>(), out);
            case Value::Type::Date:
            case Value::Type::Binary:
                out.push_back('"');
                AppendPlain(value, out);
                out.push_back('"');
                return;
            default: return AppendPlain(value, out);
        }
    }

    // JSON knows no infinity.
    static void PutReal(const Value& value, double number, std::string& out) {
        if (std::isfinite(number)) {
            AppendPlain(value, out);
        } else {
            out += "null";
        }
    }

    // Half of a surrogate pair, which no UTF-8 has, becomes U+FFFD.
    static void AppendQuoted(std::u16string_view text, std::string& out) {
        constexpr int kOneLine = -1;
        const nlohmann::json quoted = ToUtf8(text);
        out += quoted.dump(kOneLine, ' ', false, nlohmann::json::error_handler_t::replace);
    }

    Output& output_;
    std::string row_;
    std::vector<std::string> names_;
    bool first_ = true;
};

// Places that a character takes on a terminal.
int WidthOf(char32_t code) {
    struct Range {
        char32_t first;
        char32_t last;
    };
    constexpr std::array<Range, 3> kNone = {{{0x300, 0x36F}, {0x200B, 0x200F}, {0xFE00, 0xFE0F}}};
    constexpr std::array<Range, 10> kTwo = {{{0x1100, 0x115F},
                                             {0x2E80, 0x303E},
                                             {0x3041, 0xA4CF},
                                             {0xAC00, 0xD7A3},
                                             {0xF900, 0xFAFF},
                                             {0xFE30, 0xFE6F},
                                             {0xFF00, 0xFF60},
                                             {0xFFE0, 0xFFE6},
                                             {0x1F300, 0x1FAFF},
                                             {0x20000, 0x3FFFD}}};
    const auto holds = [code](const Range& range) { return code >= range.first && code <= range.last; };
    if (std::any_of(kNone.begin(), kNone.end(), holds)) return 0;
    return std::any_of(kTwo.begin(), kTwo.end(), holds) ? 2 : 1;
}

class AlignedWriter : public TableWriter {
public:
    explicit AlignedWriter(Output& output) : output_(output) {}

    void Begin(std::span<const std::u16string> columns) override {
        rows_.clear();
        widths_.assign(columns.size(), 1);
        std::vector<Cell> names;
        for (const std::u16string& name : columns) names.push_back(MakeCell(Value(name)));
        Keep(std::move(names));
    }

    void Row(std::span<const Value> values) override {
        std::vector<Cell> row;
        for (const Value& value : values) row.push_back(MakeCell(value));
        if (!widths_known_) {
            Keep(std::move(row));
            if (rows_.size() > kRowsForWidths) PutKept();
        } else {
            Put(row);
        }
    }

    void End() override {
        PutKept();
        widths_known_ = false;
        output_.Flush();
    }

private:
    static constexpr std::size_t kRowsForWidths = 1000;
    static constexpr int kMaxWidth = 60;

    struct Cell {
        std::string text;
        int width = 0;
        bool right = false;
    };

    static Cell MakeCell(const Value& value) {
        Cell cell;
        if (value.IsText()) {
            PutShort(value.Text(), cell);
            return cell;
        }
        std::string plain;
        AppendPlain(value, plain);
        PutShort(FromUtf8(plain), cell);
        cell.right = value.GetType() != Value::Type::Binary && value.GetType() != Value::Type::Date;
        return cell;
    }

    // On one line, and cut where it is too long.
    static void PutShort(std::u16string_view text, Cell& cell) {
        for (std::size_t i = 0; i < text.size(); ++i) {
            std::size_t units = 1;
            char32_t code = text[i];
            const bool high = code >= 0xD800 && code < 0xDC00;
            if (high && i + 1 < text.size() && text[i + 1] >= 0xDC00 && text[i + 1] < 0xE000) {
                code = 0x10000 + ((code - 0xD800) << 10) + (text[i + 1] - 0xDC00);
                units = 2;
            }
            const std::u16string_view shown = code < 0x20 || code == 0x7F ? u" " : text.substr(i, units);
            if (cell.width + WidthOf(code) >= kMaxWidth) {
                cell.text += "…";
                ++cell.width;
                return;
            }
            AppendUtf8(shown, cell.text);
            cell.width += WidthOf(code);
            i += units - 1;
        }
    }

    void Keep(std::vector<Cell> row) {
        for (std::size_t i = 0; i < row.size(); ++i) widths_[i] = std::max(widths_[i], row[i].width);
        rows_.push_back(std::move(row));
    }

    void PutKept() {
        if (widths_known_) return;
        widths_known_ = true;
        for (std::size_t i = 0; i < rows_.size(); ++i) {
            Put(rows_[i]);
            if (i == 0) PutRule();
        }
        rows_.clear();
    }

    void PutRule() {
        std::vector<Cell> rule;
        for (const int width : widths_)
            rule.push_back({std::string(static_cast<std::size_t>(width), '-'), width, false});
        Put(rule);
    }

    void Put(const std::vector<Cell>& row) {
        std::string out;
        for (std::size_t i = 0; i < row.size(); ++i) {
            const std::size_t blanks = std::max(0, widths_[i] - row[i].width);
            if (i > 0) out += "  ";
            if (row[i].right) out.append(blanks, ' ');
            out += row[i].text;
            if (!row[i].right && i + 1 < row.size()) out.append(blanks, ' ');
        }
        out.push_back('\n');
        output_.Append(out);
        output_.Breathe();
    }

    Output& output_;
    std::vector<std::vector<Cell>> rows_;  // those read before the widths are known; the names first
    std::vector<int> widths_;
    bool widths_known_ = false;
};

}  // namespace

void TableWriter::Row(jet::RowCursor& cursor, std::span<const std::size_t> positions) {
    values_.resize(positions.size());
    for (std::size_t i = 0; i < positions.size(); ++i) cursor.Read(positions[i], values_[i]);
    Row(values_);
}

std::unique_ptr<TableWriter> MakeTableWriter(Layout layout, Output& output) {
    switch (layout) {
        case Layout::Csv: return std::make_unique<CsvTable>(output);
        case Layout::Json: return std::make_unique<JsonWriter>(output);
        case Layout::Aligned: break;
    }
    return std::make_unique<AlignedWriter>(output);
}

}  // namespace qmtrain::jetsql
