#include "jet/system_tables.h"

#include <algorithm>
#include <array>
#include <limits>

#include "core/date.h"
#include "core/enum_table.h"
#include "jet/row_cursor.h"

namespace qmtrain::jet {
namespace {

std::size_t RequireColumn(const Table& table, std::u16string_view column) {
    const std::size_t position = table.Definition().FindColumn(column);
    if (position != kNoPosition) return position;
    table.GetPager().Damaged(table.Definition().page, u"系统表缺少列“" + std::u16string(column) + u"”");
}

// Names a system table's columns; other programs may have them in another order.
class SystemRows {
public:
    explicit SystemRows(std::shared_ptr<Table> table) : table_(std::move(table)), cursor_(*table_) { cursor_.Scan(); }

    bool Next() { return cursor_.Next(); }
    RowPointer Row() const { return cursor_.Row(); }
    bool MoveTo(RowPointer row) { return cursor_.MoveTo(row); }

    std::int32_t Number(std::u16string_view column) {
        const Value& value = Read(column);
        if (value.GetType() == Value::Type::Long) return value.As<std::int32_t>();
        if (value.GetType() == Value::Type::Integer) return value.As<std::int16_t>();
        return 0;
    }
    std::u16string Text(std::u16string_view column) {
        const Value& value = Read(column);
        return value.IsText() ? value.Text() : std::u16string();
    }
    Bytes Binary(std::u16string_view column) {
        const Value& value = Read(column);
        return value.GetType() == Value::Type::Binary ? value.Binary() : Bytes();
    }
    bool Boolean(std::u16string_view column) {
        const Value& value = Read(column);
        return value.GetType() == Value::Type::Boolean && value.As<bool>();
    }

private:
    const Value& Read(std::u16string_view column) {
        cursor_.Read(RequireColumn(*table_, column), value_);
        return value_;
    }

    std::shared_ptr<Table> table_;
    RowCursor cursor_;
    Value value_;
};

// A row to be inserted, by column name.
class NewRow {
public:
    explicit NewRow(std::shared_ptr<Table> table)
        : table_(std::move(table)), values_(table_->Definition().columns.size()) {}

    NewRow& Set(std::u16string_view column, Value value) {
        values_[RequireColumn(*table_, column)] = std::move(value);
        return *this;
    }
    RowPointer Insert() { return table_->Insert(values_); }

private:
    std::shared_ptr<Table> table_;
    std::vector<Value> values_;
};

// Bits of a relationship's grbit.
constexpr std::int32_t kNotEnforced = 0x2;
constexpr std::int32_t kCascadeUpdate = 0x100;
constexpr std::int32_t kCascadeDelete = 0x1000;

}  // namespace

Bytes SystemCatalog::UserId(User user) const {
    constexpr EnumTable<User, std::array<std::uint8_t, 2>, 4> kIds = {{{2, 3}, {3, 1}, {2, 1}, {2, 4}}};
    const auto& id = kIds[user];
    Bytes stored(id.begin(), id.end());
    const Pager& pager = tables_.TableAt(kObjectsPage)->GetPager();
    if (pager.GetFormat().version == Version::Jet4) {
        ApplyCipher(pager.GetHeader().user_key, stored);
    }
    return stored;
}

std::vector<CatalogObject> SystemCatalog::Objects() {
    std::vector<CatalogObject> objects;
    SystemRows rows(tables_.TableAt(kObjectsPage));
    while (rows.Next()) {
        CatalogObject object;
        object.row = rows.Row();
        object.id = rows.Number(u"Id");
        object.parent = rows.Number(u"ParentId");
        object.name = rows.Text(u"Name");
        object.type = static_cast<std::int16_t>(rows.Number(u"Type"));
        object.flags = rows.Number(u"Flags");
        if (object.IsLink()) {
            object.database = rows.Text(u"Database");
            object.connect = rows.Text(u"Connect");
            object.foreign_name = rows.Text(u"ForeignName");
            if (object.type == CatalogObject::kLinkedOdbc) object.remote_columns = rows.Binary(u"RmtInfoLong");
        }
        objects.push_back(std::move(object));
    }
    return objects;
}

std::int32_t SystemCatalog::NewId() {
    std::int32_t last = 0;
    bool any = false;
    for (const CatalogObject& object : Objects()) {
        if (object.id >= 0) continue;
        last = any ? std::max(last, object.id) : object.id;
        any = true;
    }
    return any ? last + 1 : std::numeric_limits<std::int32_t>::min();
}

RowPointer SystemCatalog::AddObject(const CatalogObject& object, const Bytes& owner, const Bytes& properties) {
    const Date now = Now();
    NewRow row(tables_.TableAt(kObjectsPage));
    row.Set(u"Id", object.id)
        .Set(u"ParentId", object.parent)
        .Set(u"Name", object.name)
        .Set(u"Type", object.type)
        .Set(u"DateCreate", now)
        .Set(u"DateUpdate", now)
        .Set(u"Owner", owner)
        .Set(u"Flags", object.flags);
    if (!properties.empty()) row.Set(u"LvProp", properties);
    if (!object.database.empty()) row.Set(u"Database", object.database);
    if (!object.connect.empty()) row.Set(u"Connect", object.connect);
    if (!object.foreign_name.empty()) row.Set(u"ForeignName", object.foreign_name);
    if (!object.remote_columns.empty()) row.Set(u"RmtInfoLong", object.remote_columns);
    return row.Insert();
}

void SystemCatalog::AddAce(std::int32_t object, const Bytes& user, std::int32_t rights, bool inheritable) {
    NewRow(tables_.TableAt(kAcesPage))
        .Set(u"ObjectId", object)
        .Set(u"SID", user)
        .Set(u"ACM", rights)
        .Set(u"FInheritable", inheritable)
        .Insert();
}

void SystemCatalog::InheritAces(std::int32_t object, std::int32_t container) {
    struct Ace {
        Bytes user;
        std::int32_t rights;
    };
    std::vector<Ace> aces;
    SystemRows rows(tables_.TableAt(kAcesPage));
    while (rows.Next()) {
        if (rows.Number(u"ObjectId") != container || !rows.Boolean(u"FInheritable")) continue;
        aces.push_back({rows.Binary(u"SID"), rows.Number(u"ACM")});
    }
    const Bytes creator = UserId(User::Creator);
    for (const Ace& ace : aces) AddAce(object, ace.user == creator ? UserId(User::Admin) : ace.user, ace.rights, false);
}

void SystemCatalog::RemoveRows(PageNumber page, std::u16string_view column, const Value& value) {
    const std::shared_ptr<Table> table = tables_.TableAt(page);
    std::vector<RowPointer> found;
    SystemRows rows(table);
    while (rows.Next()) {
        const bool matches = value.IsText() ? EqualNames(rows.Text(column), value.Text())
                                            : rows.Number(column) == value.As<std::int32_t>();
        if (matches) found.push_back(rows.Row());
    }
    for (const RowPointer row : found) table->Delete(row);
}

void SystemCatalog::RemoveObject(const CatalogObject& object) {
    tables_.TableAt(kObjectsPage)->Delete(object.row);
    RemoveRows(kAcesPage, u"ObjectId", object.id);
}

Bytes SystemCatalog::ReadProperties(const CatalogObject& object) {
    SystemRows rows(tables_.TableAt(kObjectsPage));
    if (!rows.MoveTo(object.row)) return {};
    return rows.Binary(u"LvProp");
}

void SystemCatalog::WriteProperties(const CatalogObject& object, const Bytes& properties) {
    const std::shared_ptr<Table> objects = tables_.TableAt(kObjectsPage);
    const ColumnChange change{RequireColumn(*objects, u"LvProp"),
                              properties.empty() ? Value(Null{}) : Value(properties)};
    objects->Update(object.row, std::span(&change, 1));
}

// Those of a clause are numbered from 1 on, the highest byte first.
void SystemCatalog::AddQueryParts(std::int32_t query, const std::vector<QueryPart>& parts) {
    std::array<std::uint32_t, 256> numbers{};
    for (const QueryPart& part : parts) {
        const std::uint32_t number = ++numbers[part.attribute];
        const Bytes order = {static_cast<std::uint8_t>(number >> 24U), static_cast<std::uint8_t>(number >> 16U),
                             static_cast<std::uint8_t>(number >> 8U), static_cast<std::uint8_t>(number)};
        NewRow row(tables_.TableAt(kQueriesPage));
        row.Set(u"ObjectId", query).Set(u"Attribute", part.attribute).Set(u"Order", order);
        if (!part.name1.empty()) row.Set(u"Name1", part.name1);
        if (!part.name2.empty()) row.Set(u"Name2", part.name2);
        if (!part.expression.empty()) row.Set(u"Expression", part.expression);
        if (part.flag) row.Set(u"Flag", *part.flag);
        row.Insert();
    }
}

void SystemCatalog::RemoveQueryParts(std::int32_t query) {
    RemoveRows(kQueriesPage, u"ObjectId", query);
}

std::vector<Relationship> SystemCatalog::Relationships() {
    struct Part {
        std::int32_t place;
        std::u16string column;
        std::u16string referenced;
    };
    std::vector<Relationship> relationships;
    std::vector<std::vector<Part>> parts;
    SystemRows rows(tables_.TableAt(kRelationshipsPage));
    while (rows.Next()) {
        const std::u16string name = rows.Text(u"szRelationship");
        std::size_t at = 0;
        while (at < relationships.size() && !EqualNames(relationships[at].name, name)) ++at;
        if (at == relationships.size()) {
            const std::int32_t bits = rows.Number(u"grbit");
            Relationship relationship;
            relationship.name = name;
            relationship.table = rows.Text(u"szObject");
            relationship.referenced_table = rows.Text(u"szReferencedObject");
            relationship.enforced = (bits & kNotEnforced) == 0;
            relationship.cascade_update = (bits & kCascadeUpdate) != 0;
            relationship.cascade_delete = (bits & kCascadeDelete) != 0;
            relationships.push_back(std::move(relationship));
            parts.emplace_back();
        }
        parts[at].push_back({rows.Number(u"icolumn"), rows.Text(u"szColumn"), rows.Text(u"szReferencedColumn")});
    }
    for (std::size_t i = 0; i < relationships.size(); ++i) {
        std::sort(parts[i].begin(), parts[i].end(), [](const Part& a, const Part& b) { return a.place < b.place; });
        for (const Part& part : parts[i]) {
            relationships[i].columns.push_back(part.column);
            relationships[i].referenced_columns.push_back(part.referenced);
        }
    }
    return relationships;
}

void SystemCatalog::AddRelationship(const Relationship& relationship) {
    const std::int32_t bits = (relationship.enforced ? 0 : kNotEnforced) |
                              (relationship.cascade_update ? kCascadeUpdate : 0) |
                              (relationship.cascade_delete ? kCascadeDelete : 0);
    const auto count = static_cast<std::int32_t>(relationship.columns.size());
    for (std::int32_t i = 0; i < count; ++i) {
        NewRow(tables_.TableAt(kRelationshipsPage))
            .Set(u"szRelationship", relationship.name)
            .Set(u"grbit", bits)
            .Set(u"ccolumn", count)
            .Set(u"icolumn", i)
            .Set(u"szObject", relationship.table)
            .Set(u"szColumn", relationship.columns[i])
            .Set(u"szReferencedObject", relationship.referenced_table)
            .Set(u"szReferencedColumn", relationship.referenced_columns[i])
            .Insert();
    }
    CatalogObject object;
    object.id = NewId();
    object.parent = kRelationshipsContainer;
    object.name = relationship.name;
    object.type = CatalogObject::kRelationship;
    AddObject(object, UserId(User::Admin), {});
    InheritAces(object.id, kRelationshipsContainer);
}

void SystemCatalog::RemoveRelationship(std::u16string_view name) {
    RemoveRows(kRelationshipsPage, u"szRelationship", Value(name));
    for (const CatalogObject& object : Objects()) {
        if (object.type == CatalogObject::kRelationship && EqualNames(object.name, name)) {
            RemoveObject(object);
            return;
        }
    }
}

}  // namespace qmtrain::jet
