// Statements that change something, one overload for each kind. They return the number of records affected.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "sql/ast.h"
#include "sql/binding/binder.h"
#include "sql/running/explanation.h"
#include "sql/storage.h"

namespace qmtrain::sql {

std::int64_t Run(Catalog& catalog, Parameters& parameters, const ast::Select& select);  // SELECT … INTO
std::int64_t Run(Catalog& catalog, Parameters& parameters, const ast::Insert& insert);
std::int64_t Run(Catalog& catalog, Parameters& parameters, const ast::Update& update);
std::int64_t Run(Catalog& catalog, Parameters& parameters, const ast::Delete& statement);
std::int64_t Run(Catalog& catalog, const ast::CreateTable& create);
std::int64_t Run(Catalog& catalog, const ast::CreateIndex& create);
std::int64_t Run(Catalog& catalog, const ast::DropTable& drop);
std::int64_t Run(Catalog& catalog, const ast::DropIndex& drop);
std::int64_t Run(Catalog& catalog, const ast::AlterTable& alter);

// Raises NoSuchTable.
std::shared_ptr<Table> RequireTable(Catalog& catalog, const std::u16string& name);

// What they would do, for people.
void Explain(Catalog& catalog, Parameters& parameters, const ast::Select& select, Explanation& out);  // SELECT … INTO
void Explain(Catalog& catalog, Parameters& parameters, const ast::Insert& insert, Explanation& out);
void Explain(Catalog& catalog, Parameters& parameters, const ast::Update& update, Explanation& out);
void Explain(Catalog& catalog, Parameters& parameters, const ast::Delete& statement, Explanation& out);

// The steps of the plan, below a heading if there is one, followed by those of the sub-queries that were bound with
// it.
void ExplainPlan(std::u16string_view heading, const Plan& plan, const BindContext& context, Explanation& out);

}  // namespace qmtrain::sql
