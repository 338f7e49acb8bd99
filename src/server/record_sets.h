// The automation classes of record sets.
#pragma once

#include <memory>

#include "dao/dao.h"
#include "server/class.h"

namespace qmtrain::server {

// The fields of a record set, as an object of their own.
struct FieldCollection {
    std::shared_ptr<dao::Recordset> rows;
};

template <>
const Class& ClassOf<dao::Recordset>();
template <>
const Class& ClassOf<FieldCollection>();
template <>
const Class& ClassOf<dao::Field>();

}  // namespace qmtrain::server
