#include "sql/binding/bind_context.h"

#include <algorithm>

#include "core/error.h"
#include "core/text.h"

namespace qmtrain::sql {

void BindContext::Reach(int more) {
    constexpr int kMaxDepth = 1000;
    deepest = std::max(deepest, depth + more);
    if (deepest > kMaxDepth) Raise(ErrorNumber::QueryTooComplex);
}

bool BindContext::UsesTable(std::u16string_view name) const {
    return std::ranges::find(used_tables, FoldName(name)) != used_tables.end();
}

}  // namespace qmtrain::sql
