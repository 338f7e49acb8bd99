// The rows of a dynaset: where they are, their identities, and the values of a block of them.
#pragma once

#include <algorithm>
#include <chrono>
#include <unordered_map>

#include "dao/packed_rows.h"
#include "dao/row_list.h"

namespace qmtrain::dao {

class PlaceList : public RowList {
public:
    explicit PlaceList(Search search);

    PlaceList* Places() override { return this; }

    // Whether they are on a server.
    bool IsRemote() const { return is_remote_; }

    const Value& Get(std::int64_t index, std::size_t column) override;
    void ReadRow(std::int64_t index, std::vector<Value>& values) override;
    void LookAt(std::int64_t index, std::vector<Value>& values) override;

    // ---- changes; they need a scope ----

    // The row, if it is still the one that was fetched; one of a server without asking that. Raises RecordDeleted;
    // RecordChanged when nothing but its content identifies it, and that has changed.
    sql::RowId Recognise(std::int64_t index);

    // Identifies a row, see sql::RowIdentity.
    std::uint64_t IdentityOf(sql::RowId row);

    // After the row was changed.
    void Changed(std::int64_t index, std::uint64_t identity);

    // A new row belongs to the record set at once, at its end as far as that has been seen. Returns its index.
    std::int64_t Added(sql::RowId row, std::uint64_t identity);

    void Deleted(std::int64_t index);

private:
    struct Place {
        sql::RowId row;  // none when it was deleted
        std::uint64_t identity = 0;
    };

    std::uint64_t ChangeStamp() const { return source_.ChangeStamp(); }
    std::int64_t Fetched() const override { return static_cast<std::int64_t>(places_.size()); }
    bool FindRow() override;
    void DropDeletedAhead() override;

    // ---- the block: consecutive rows whose values are at hand ----

    std::int64_t BlockRows() const { return static_cast<std::int64_t>(block_.Size()); }
    bool InBlock(std::int64_t index) const override;
    void FillBlock(std::int64_t index) override;
    bool FillRow(std::int64_t index);
    void Pack(sql::Query& query);
    Place& At(std::int64_t index) { return places_[static_cast<std::size_t>(index)]; }
    std::vector<Place>::iterator Begin(std::int64_t index) {
        return places_.begin() + static_cast<std::ptrdiff_t>(index);
    }
    void Cover() { held_.Cover(block_.Bytes() + places_.capacity() * sizeof(Place)); }
    bool HasLong() const { return std::ranges::any_of(columns_, &ColumnState::is_long); }

    // ---- going back to rows ----

    sql::Query& Reader();

    // Goes to the place of a row with the reader; false when the row is gone.
    bool MoveTo(const Place& place);

    // Asks a server for some of the rows from this one on, which MoveTo() is asked for next.
    void Prefetch(std::int64_t from, std::int64_t rows);

    bool TakeFresh(std::int64_t index, std::vector<Value>& values);
    void Load(std::int64_t index);
    void LoadLong(std::int64_t index, std::size_t column, Value& value);

    bool is_remote_;
    QueryPtr reader_;  // made when it is needed
    std::vector<Place> places_;
    std::unordered_map<std::uint32_t, std::uint64_t> added_;  // with their identities: they are in places_ already
    std::int64_t found_ = -1;                                 // the row that the query stands on
    std::uint64_t found_change_ = 0;                          // when that was so

    struct ColumnState {
        bool is_long = false;
        // Long values that were not asked for are left out from the second block on: they are Empty there.
        bool asked_for = false;
        bool left_out = false;
        std::uint64_t read_from = 0;  // the image that the value in current_ was read from
    };
    std::vector<ColumnState> columns_;
    std::vector<std::size_t> packed_;  // the columns whose values a row in the block has; an image has the others
    bool has_images_;
    PackedRows block_;
    std::int64_t block_first_ = 0;
    std::uint64_t block_change_ = 0;                     // what has been changed here since makes it old
    std::chrono::steady_clock::time_point fresh_until_;  // of a server
    std::exception_ptr failure_;                         // why the block's first row could not be read

    std::uint64_t image_number_ = 0;  // of the row that is loaded: the query shows its image
};

}  // namespace qmtrain::dao
