// The rows of the system tables: objects, access rights, relationships.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "jet/table.h"
#include "jet/table_spec.h"

namespace qmtrain::jet {

// Ids of the objects that every database has.
inline constexpr std::int32_t kRootContainer = 0x0F000000;
inline constexpr std::int32_t kTablesContainer = 0x0F000001;
inline constexpr std::int32_t kDatabasesContainer = 0x0F000002;
inline constexpr std::int32_t kRelationshipsContainer = 0x0F000003;
inline constexpr std::int32_t kDatabaseObject = 0x10000000;

// Who owns objects and holds rights; Creator stands for the user who makes an object in a container.
enum class User : std::uint8_t { Engine, Admin, Users, Creator };

class SystemCatalog {
public:
    explicit SystemCatalog(Tables& tables) : tables_(tables) {}

    // The id as this file stores it.
    Bytes UserId(User user) const;

    std::vector<CatalogObject> Objects();

    // The id for a new object that has no page.
    std::int32_t NewId();

    RowPointer AddObject(const CatalogObject& object, const Bytes& owner, const Bytes& properties);
    void AddAce(std::int32_t object, const Bytes& user, std::int32_t rights, bool inheritable);

    // Gives an object the inheritable rights of its container.
    void InheritAces(std::int32_t object, std::int32_t container);

    void RemoveObject(const CatalogObject& object);
    Bytes ReadProperties(const CatalogObject& object);
    void WriteProperties(const CatalogObject& object, const Bytes& properties);

    void AddQueryParts(std::int32_t query, const std::vector<QueryPart>& parts);
    void RemoveQueryParts(std::int32_t query);

    std::vector<Relationship> Relationships();
    void AddRelationship(const Relationship& relationship);
    void RemoveRelationship(std::u16string_view name);

private:
    void RemoveRows(PageNumber table, std::u16string_view column, const Value& value);

    Tables& tables_;
};

}  // namespace qmtrain::jet
