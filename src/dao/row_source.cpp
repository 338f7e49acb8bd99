#include "dao/row_source.h"

#include <algorithm>

#include "core/error.h"
#include "jet/database.h"

namespace qmtrain::dao {

void EndQuery::operator()(sql::Query* query) const {
    const auto lock = session->Lock();
    delete query;
}

void RequireSameColumns(const sql::Query& first, const sql::Query& second) {
    const bool same =
        std::ranges::equal(first.Columns(), second.Columns(), {}, &sql::OutputColumn::name, &sql::OutputColumn::name);
    if (!same) Raise(ErrorNumber::ObjectInvalid);
}

std::uint64_t RowSource::ChangeStamp() const {
    return database->KnownChanges();
}

QueryPtr RowSource::Open() const {
    static const sql::ParameterValues kNone;
    auto query = sql::Open(database->Tables(), *statement, parameters ? *parameters : kNone);
    return {query.release(), EndQuery{Storage().SharedSession()}};
}

}  // namespace qmtrain::dao
