// A current row among those of a list: dynasets, snapshots and forward-only record sets.
#pragma once

#include "dao/navigator.h"
#include "dao/place_list.h"

namespace qmtrain::dao {

class ListNavigator : public Navigator {
public:
    explicit ListNavigator(std::shared_ptr<RowList> list, bool on_first = true);

    const sql::Query& GetQuery() const override { return list_->GetQuery(); }
    bool Updatable() const override { return list_->Places() != nullptr; }
    bool Eof() override { return !IsOnRow() && (position_ == kAfter || IsEmpty()); }
    bool Bof() override { return !IsOnRow() && (position_ == kBefore || IsEmpty()); }
    void MoveFirst() override;
    void MoveLast() override;
    void MoveNext() override;
    void MovePrevious() override;
    void Move(std::int64_t rows) override;
    Bytes Bookmark() override;
    void GoTo(const Bytes& bookmark) override;
    std::int64_t Seen() override { return list_->Count(); }
    std::int64_t All() override;
    float Percent() override;
    void Percent(float percent) override;
    const Value& Get(std::size_t column) override;
    void ReadAll(std::vector<Value>& values) override;
    sql::RowId Recognise() override { return list_->Places()->Recognise(Current()); }
    std::uint64_t IdentityOf(sql::RowId row) override { return list_->Places()->IdentityOf(row); }
    void Changed(std::uint64_t identity) override { list_->Places()->Changed(position_, identity); }
    Bytes Added(sql::RowId row, std::uint64_t identity) override;
    void Deleted() override { list_->Places()->Deleted(position_); }
    std::unique_ptr<Navigator> Clone() override { return std::make_unique<ListNavigator>(list_, false); }
    RowList* List() override { return list_.get(); }

    // Counted from 0; -1 when no row is current.
    std::int64_t Position();

    // After the last row where there are fewer.
    void GoTo(std::int64_t index);

    // Where a search for the next row begins, and one for the previous row.
    std::int64_t Following() const { return position_ == kAfter ? kAfter : position_ + 1; }
    std::int64_t Preceding() const { return position_ == kAfter ? list_->Count() - 1 : position_ - 1; }

private:
    static constexpr std::int64_t kBefore = -1;
    static constexpr std::int64_t kAfter = INT64_MAX;

    // Rows once reached are never removed from the list.
    bool IsOnRow() const { return position_ != kBefore && position_ != kAfter; }
    bool IsEmpty() { return !list_->Reach(0); }
    std::int64_t Current();
    Bytes BookmarkOf(std::int64_t index) const;

    std::shared_ptr<RowList> list_;
    std::int64_t position_;
};

}  // namespace qmtrain::dao
