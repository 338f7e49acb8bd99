// The automation classes of the database engine, its databases and what they are made of.
#pragma once

#include "dao/database_object.h"
#include "dao/engine_object.h"
#include "dao/query_def.h"
#include "dao/table_object.h"
#include "server/class.h"
#include "server/record_sets.h"

namespace qmtrain::server {

template <>
const Class& ClassOf<dao::Collection>();
template <>
const Class& ClassOf<dao::FieldObject>();
template <>
const Class& ClassOf<dao::IndexObject>();
template <>
const Class& ClassOf<dao::TableObject>();
template <>
const Class& ClassOf<dao::RelationObject>();
template <>
const Class& ClassOf<dao::ParameterObject>();
template <>
const Class& ClassOf<dao::PropertyObject>();
template <>
const Class& ClassOf<dao::QueryDef>();
template <>
const Class& ClassOf<dao::DatabaseObject>();
template <>
const Class& ClassOf<dao::Workspace>();
template <>
const Class& ClassOf<dao::ErrorObject>();
template <>
const Class& ClassOf<dao::EngineObject>();

}  // namespace qmtrain::server
