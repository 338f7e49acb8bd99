#include "sql/running/access_path.h"

namespace qmtrain::sql {

int IndexOrderedBy(const Table& table, int column) {
    for (std::size_t i = 0; i < table.Indexes().size(); ++i) {
        if (table.Indexes()[i].columns[0].column == column && table.InOrder(static_cast<int>(i), 1))
            return static_cast<int>(i);
    }
    return -1;
}

}  // namespace qmtrain::sql
