#include "dao/recordset_table.h"

#include "core/error.h"
#include "core/text.h"
#include "dao/row_list.h"

namespace qmtrain::dao {

class RecordsetTable : public sql::Table {
public:
    RecordsetTable(RowList& rows, std::int64_t first, bool backwards)
        : rows_(rows), first_(first), backwards_(backwards) {
        for (const sql::OutputColumn& output : rows.GetQuery().Columns()) {
            sql::Column column;
            column.name = output.name;
            column.type = output.type;
            column.size = output.size;
            columns_.push_back(std::move(column));
        }
    }

    const std::u16string& Name() const override { return name_; }
    const std::vector<sql::Column>& Columns() const override { return columns_; }
    const std::vector<sql::Index>& Indexes() const override { return indexes_; }
    std::int64_t RowCount() override { return rows_.Count(); }
    double EstimatedRows(std::size_t, const sql::KeyRange&) override { return 0; }
    bool CanSeek(std::size_t, std::span<const Value>) const override { return false; }
    bool InOrder(std::size_t, std::size_t) const override { return false; }
    bool HasPrefixes(std::size_t, std::size_t) const override { return false; }
    sql::RowId Insert(std::span<const Value>) override { Raise(ErrorNumber::ReadOnly, {name_}); }
    void Update(sql::RowId, std::span<const sql::Assignment>) override { Raise(ErrorNumber::ReadOnly, {name_}); }
    void Delete(sql::RowId) override { Raise(ErrorNumber::ReadOnly, {name_}); }
    std::int32_t LastAutonumber() const override { return 0; }
    std::unique_ptr<sql::Cursor> OpenCursor() override { return std::make_unique<Cursor>(*this); }

private:
    class Cursor : public sql::Cursor {
    public:
        explicit Cursor(RecordsetTable& table) : table_(table), next_(table.first_) {}

        void Scan() override { next_ = table_.first_; }
        void Range(std::size_t, const sql::KeyRange&, bool) override { Raise(ErrorNumber::NoCurrentIndex); }

        // Rows that were deleted meanwhile meet no condition.
        bool Next() override {
            while (next_ >= 0 && table_.rows_.Reach(next_)) {
                at_ = next_;
                next_ += table_.backwards_ ? -1 : 1;
                if (ReadRow()) return true;
            }
            return false;
        }

        bool MoveTo(sql::RowId row) override {
            at_ = static_cast<std::int64_t>(row.value) - 1;
            return table_.rows_.Reach(at_) && ReadRow();
        }
        sql::RowId Row() const override { return {static_cast<std::uint32_t>(at_ + 1)}; }
        void Read(std::size_t column, Value& value) override { value = row_[column]; }

    private:
        // False when the row has been deleted.
        bool ReadRow() {
            try {
                table_.rows_.LookAt(at_, row_);
                return true;
            } catch (const AutomationError& error) {
                if (!error.Is(ErrorNumber::RecordDeleted)) throw;
                return false;
            }
        }

        RecordsetTable& table_;
        std::int64_t next_;
        std::int64_t at_ = -1;
        std::vector<Value> row_;
    };

    RowList& rows_;
    std::int64_t first_;
    bool backwards_;
    std::u16string name_ = u"Rows";
    std::vector<sql::Column> columns_;
    std::vector<sql::Index> indexes_;
};

namespace {

class RowsCatalog : public sql::Catalog {
public:
    RowsCatalog(std::shared_ptr<sql::Table> rows, sql::Catalog& others) : rows_(std::move(rows)), others_(others) {}

    std::shared_ptr<sql::Table> FindTable(std::u16string_view name) override {
        return EqualNames(name, rows_->Name()) ? rows_ : others_.FindTable(name);
    }
    std::optional<std::u16string> FindQuery(std::u16string_view name) override { return others_.FindQuery(name); }
    void CreateTable(const sql::TableSchema&) override { Refuse(); }
    void DropTable(std::u16string_view) override { Refuse(); }
    void CreateIndex(std::u16string_view, const sql::Index&) override { Refuse(); }
    void DropIndex(std::u16string_view, std::u16string_view) override { Refuse(); }
    void AddColumn(std::u16string_view, const sql::Column&) override { Refuse(); }
    void DropColumn(std::u16string_view, std::u16string_view) override { Refuse(); }
    void AddReference(std::u16string_view, const sql::Reference&) override { Refuse(); }

private:
    [[noreturn]] void Refuse() { Raise(ErrorNumber::ReadOnly, {rows_->Name()}); }

    std::shared_ptr<sql::Table> rows_;
    sql::Catalog& others_;
};

}  // namespace

std::unique_ptr<sql::Catalog> CatalogOfRows(RowList& rows, std::int64_t first, bool backwards) {
    return std::make_unique<RowsCatalog>(std::make_shared<RecordsetTable>(rows, first, backwards),
                                         rows.Source().database->Tables());
}

}  // namespace qmtrain::dao
