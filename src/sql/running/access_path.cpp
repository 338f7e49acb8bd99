#include "sql/running/access_path.h"

namespace qmtrain::sql {

std::size_t IndexOrderedBy(const Table& table, std::size_t column) {
    for (std::size_t i = 0; i < table.Indexes().size(); ++i) {
        if (table.Indexes()[i].columns[0].column == column && table.InOrder(i, 1)) return i;
    }
    return kNoPosition;
}

}  // namespace qmtrain::sql
