// Does everything that can be done with a database of which nothing is known.
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "jet/database.h"
#include "jet/row_cursor.h"

namespace qmtrain::test {

// Runs a part of it, and says whether that went well; an error must not end the rest.
using Attempt = std::function<bool(const std::function<void()>&)>;

inline void ReadTable(const std::shared_ptr<jet::Table>& table, const Attempt& attempt) {
    jet::RowCursor cursor(*table);
    Value value;
    attempt([&] {
        for (cursor.Scan(); cursor.Next();) {
            for (std::size_t i = 0; i < table->Definition().columns.size(); ++i) cursor.Read(i, value);
        }
    });
    for (std::size_t index = 0; index < table->Definition().real_indexes.size(); ++index) {
        for (const bool backwards : {false, true}) {
            attempt([&] {
                for (cursor.Range(index, {}, std::nullopt, backwards); cursor.Next();) cursor.View();
            });
        }
    }
}

// Reads everything there is.
inline void ReadEverything(jet::Database& database, const Attempt& attempt) {
    attempt([&] {
        const jet::Database::Reading reading(database);
        attempt([&] { database.Relationships(); });
        std::vector<jet::CatalogObject> objects;
        attempt([&] { objects = database.Objects(); });
        for (const jet::CatalogObject& object : objects) {
            attempt([&] { database.ReadProperties(object.name); });
            attempt([&] {
                if (const auto table = database.FindTable(object.name)) ReadTable(table, attempt);
            });
        }
    });
}

// A first row that can be changed or deleted.
enum class RowChange : std::uint8_t { Insert, Update, Delete };

inline void ChangeRow(jet::Database& database, const std::u16string& name, RowChange change) {
    jet::Database::Writing writing(database);
    const auto table = database.FindTable(name);
    if (!table) return;
    std::vector<Value> row;
    std::vector<jet::ColumnChange> changes;
    for (const jet::StoredColumn& column : table->Definition().columns) {
        const bool memo = column.type == ColumnType::Memo;
        const bool text = memo || column.type == ColumnType::Text;
        if (text) changes.push_back({row.size(), std::u16string(memo ? 50 : 1, u'm')});
        row.push_back(text ? Value(std::u16string(memo ? 3000 : 1, u'字')) : Value());
    }
    jet::RowPointer first;
    {
        jet::RowCursor cursor(*table);
        cursor.Scan();
        if (change != RowChange::Insert && cursor.Next()) first = cursor.Row();
    }
    if (change == RowChange::Insert) table->Insert(row);
    if (change == RowChange::Update && first) table->Update(first, changes);
    if (change == RowChange::Delete && first) table->Delete(first);
    writing.Commit();
}

// Tries to change each table.
inline void ChangeEverything(jet::Database& database, const Attempt& attempt) {
    std::vector<jet::CatalogObject> objects;
    attempt([&] {
        const jet::Database::Reading reading(database);
        objects = database.Objects();
    });
    for (const jet::CatalogObject& object : objects) {
        if (!object.IsUserTable()) continue;
        for (int i = 0; i < 5; ++i) attempt([&] { ChangeRow(database, object.name, RowChange::Insert); });
        attempt([&] { ChangeRow(database, object.name, RowChange::Update); });
        attempt([&] { ChangeRow(database, object.name, RowChange::Delete); });
    }
}

}  // namespace qmtrain::test
