// A current row among those that a table has now, in the order of one of its indexes.
#pragma once

#include <cstdint>
#include <span>
#include <string_view>

#include "dao/navigator.h"
#include "dao/row_source.h"
#include "sql/row_identity.h"

namespace qmtrain::dao {

class TableNavigator : public Navigator {
public:
    // The source selects all columns and rows of one table.
    explicit TableNavigator(RowSource source, bool on_first = true);

    ~TableNavigator() override;

    const sql::Query& GetQuery() const override { return *query_; }
    bool Updatable() const override { return true; }
    bool Eof() override;
    bool Bof() override;
    void MoveFirst() override { GoToEnd(false); }
    void MoveLast() override { GoToEnd(true); }
    void MoveNext() override { Step(false); }
    void MovePrevious() override { Step(true); }
    void Move(std::int64_t rows) override;
    Bytes Bookmark() override;
    void GoTo(const Bytes& bookmark) override;
    std::int64_t Seen() override { return All(); }
    std::int64_t All() override;
    float Percent() override;
    void Percent(float percent) override;
    const Value& Get(std::size_t column) override;
    void ReadAll(std::vector<Value>& values) override;
    sql::RowId Recognise() override;
    std::uint64_t IdentityOf(sql::RowId row) override;
    void Changed(std::uint64_t identity) override;
    Bytes Added(sql::RowId row, std::uint64_t identity) override;
    void Deleted() override;
    std::unique_ptr<Navigator> Clone() override;
    TableNavigator* Table() override { return this; }

    // The index whose order is followed, an own choice where none was made: "" then. Setting it goes to the first row.
    std::u16string Index() const;
    void Index(std::u16string_view name);

    // See Recordset::Seek. False when there is no such row; the current one stays then.
    bool Seek(std::u16string_view comparison, std::span<const Value> keys);

private:
    enum class Where : std::uint8_t { Before, On, After };

    sql::Table& GetTable() const { return *query_->Tables()[0]; }
    jet::Database& Storage() const { return source_.Storage(); }
    const sql::Index& CurrentIndex() const { return GetTable().Indexes()[order_]; }
    std::size_t OwnChoice() const;

    void GoToEnd(bool last);
    void Step(bool backwards);
    bool StepInIndex(bool backwards);
    bool StepInPlaces(bool backwards);
    bool FindPlace(bool backwards);
    void StandOn(sql::RowId row);
    void StandOnCursor();
    bool MatchesBySearch(std::span<const Value> keys);
    void RequireRow();
    bool IsSameRow();

    RowSource source_;
    QueryPtr query_;  // only says what the table is
    std::unique_ptr<sql::Cursor> cursor_;
    std::unique_ptr<sql::Cursor> reader_;
    sql::RowIdentity identities_;

    bool chosen_ = false;              // by the host
    std::size_t order_ = kNoPosition;  // the index; none: as the rows are stored
    bool positioned_ = false;
    bool backwards_ = false;  // which way the cursor goes when it is positioned

    Where where_ = Where::Before;
    sql::RowId row_;
    std::uint64_t identity_ = 0;
    bool deleted_ = false;    // here
    std::vector<Value> key_;  // of the row in the index

    bool loaded_ = false;
    std::vector<Value> values_;

    std::vector<sql::RowId> places_;  // of a table without a usable index
    std::uint64_t places_change_ = 0;
    bool has_places_ = false;
};

}  // namespace qmtrain::dao
