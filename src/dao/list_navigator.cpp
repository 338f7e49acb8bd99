#include "dao/list_navigator.h"

#include <cstring>

#include "core/error.h"

namespace qmtrain::dao {
namespace {

// A place in a list, and which list it is.
struct ListBookmark {
    std::int64_t position;
    std::uint32_t list;
};
constexpr std::size_t kBookmarkSize = sizeof(std::int64_t) + sizeof(std::uint32_t);

}  // namespace

ListNavigator::ListNavigator(std::shared_ptr<RowList> list, bool on_first)
    : list_(std::move(list)), position_(on_first ? 0 : kBefore) {
    if (IsEmpty()) position_ = kAfter;
}

std::int64_t ListNavigator::Current() {
    if (!IsOnRow()) Raise(ErrorNumber::NoCurrentRecord);
    return position_;
}

void ListNavigator::GoTo(std::int64_t index) {
    list_->Unload();
    position_ = index < 0 ? kBefore : list_->Reach(index) ? index : kAfter;
}

void ListNavigator::MoveFirst() {
    if (IsEmpty()) Raise(ErrorNumber::NoCurrentRecord);
    GoTo(0);
}

void ListNavigator::MoveLast() {
    list_->ReachAll();
    if (list_->Count() == 0) Raise(ErrorNumber::NoCurrentRecord);
    GoTo(list_->Count() - 1);
}

void ListNavigator::MoveNext() {
    if (Eof()) Raise(ErrorNumber::NoCurrentRecord);
    GoTo(position_ + 1);
}

void ListNavigator::MovePrevious() {
    if (Bof()) Raise(ErrorNumber::NoCurrentRecord);
    GoTo(Preceding());
}

void ListNavigator::Move(std::int64_t rows) {
    if ((rows > 0 && Eof()) || (rows < 0 && Bof())) Raise(ErrorNumber::NoCurrentRecord);
    if (rows == 0) return;
    const std::int64_t from = position_ == kAfter ? list_->Count() : position_;
    GoTo(std::max<std::int64_t>(from + rows, kBefore));
}

Bytes ListNavigator::BookmarkOf(std::int64_t index) const {
    const ListBookmark bookmark{index, list_->Number()};
    Bytes bytes(kBookmarkSize);
    std::memcpy(bytes.data(), &bookmark, kBookmarkSize);
    return bytes;
}

Bytes ListNavigator::Bookmark() {
    return BookmarkOf(Current());
}

void ListNavigator::GoTo(const Bytes& bytes) {
    ListBookmark bookmark{-1, 0};
    if (bytes.size() == kBookmarkSize) std::memcpy(&bookmark, bytes.data(), kBookmarkSize);
    const bool known = bookmark.position >= 0 && bookmark.position < list_->Count();
    if (!known || bookmark.list != list_->Number()) Raise(ErrorNumber::InvalidBookmark);
    GoTo(bookmark.position);
}

std::int64_t ListNavigator::All() {
    list_->ReachAll();
    return list_->Count();
}

std::int64_t ListNavigator::Position() {
    return Eof() || Bof() ? -1 : position_;
}

float ListNavigator::Percent() {
    return static_cast<float>(Current()) * 100.0F / static_cast<float>(list_->Count());
}

void ListNavigator::Percent(float percent) {
    const std::int64_t count = All();
    if (count == 0) Raise(ErrorNumber::NoCurrentRecord);
    const auto index = static_cast<std::int64_t>(static_cast<double>(percent) / 100.0 * static_cast<double>(count));
    GoTo(std::min(index, count - 1));
}

const Value& ListNavigator::Get(std::size_t column) {
    return list_->Get(Current(), column);
}

void ListNavigator::ReadAll(std::vector<Value>& values) {
    list_->ReadRow(Current(), values);
    list_->Unload();
}

Bytes ListNavigator::Added(sql::RowId row, std::uint64_t identity) {
    return BookmarkOf(list_->Places()->Added(row, identity));
}

}  // namespace qmtrain::dao
