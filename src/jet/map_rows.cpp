#include "jet/map_rows.h"

#include <utility>

#include "jet/data_page.h"
#include "jet/database.h"

namespace qmtrain::jet {

MapRows::MapRows(Database& database) : pager_(database.GetPager()), allocator_(database.Allocator()) {}

RowPointer MapRows::Add(PageNumber page) {
    const Bytes empty(pager_.GetFormat().map_row);
    if (last_ != 0) page = last_;
    if (page > kRelationshipsPage && HasRoom(page, empty.size())) return AddTo(pager_.Write(page), empty);
    MutablePage fresh = allocator_.Allocate();
    DataPageEditor::Initialize(fresh, 0);
    return AddTo(std::move(fresh), empty);
}

void MapRows::Remove(RowPointer map) {
    if (!map) return;
    MutablePage page = pager_.Write(map.page);
    DataPageEditor editor(page);
    editor.Delete(map.slot);
    if (!editor.View().HasLiveRows() && map.page > kRelationshipsPage + 1)
        allocator_.Free(map.page, PageType::FreedData);
}

bool MapRows::HasRoom(PageNumber number, std::size_t length) {
    const Page page = pager_.Read(number);
    return DataPage(page.View(), pager_.GetFormat()).HasRoomFor(length);
}

RowPointer MapRows::AddTo(MutablePage page, const Bytes& row) {
    last_ = page.Number();
    return {last_, DataPageEditor(page).Add(row)};
}

void AddTreeFor(const TableDefinition& table, RealIndex& index, MapRows& maps, Database& database) {
    MutablePage root = database.Allocator().Allocate();
    IndexTree::FormatRoot(root, table.page);
    index.root = root.Number();
    index.map = maps.Add(table.owned_map.page);
    UsageMap(database.GetPager(), database.Allocator(), index.map).Add(index.root);
}

}  // namespace qmtrain::jet
