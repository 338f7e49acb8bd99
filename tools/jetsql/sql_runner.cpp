#include "sql_runner.h"

#include "core/error.h"
#include "core/text.h"
#include "jet/database.h"

namespace qmtrain::jetsql {

void SqlRunner::Run(std::u16string_view text, bool together) {
    const std::vector<sql::Statement> statements = sql::ParseScript(text);
    if (!together) {
        RunAll(statements);
        return;
    }
    jet::Database& storage = database_.Storage();
    storage.BeginTransaction();
    try {
        RunAll(statements);
    } catch (...) {
        storage.RollbackTransaction();
        throw;
    }
    storage.CommitTransaction();
}

void SqlRunner::Explain(std::u16string_view statements) {
    for (const sql::Statement& statement : sql::ParseScript(statements)) {
        const jet::Database::Reading reading(database_.Storage());
        for (const std::u16string& line : sql::Explain(database_.Tables(), statement)) output_.AppendLine(line);
    }
    output_.Flush();
}

void SqlRunner::RunAll(const std::vector<sql::Statement>& statements) {
    for (std::size_t i = 0; i < statements.size(); ++i) {
        try {
            RunOne(statements[i]);
        } catch (const AutomationError& error) {
            if (statements.size() == 1) throw;
            throw AutomationError(error.Number(), error.Source(),
                                  u"第 " + ToText(static_cast<std::int64_t>(i + 1)) + u" 条语句（" +
                                      statements[i].ToSql() + u"）：" + error.Description());
        }
    }
}

void SqlRunner::RunOne(const sql::Statement& statement) {
    if (statement.YieldsRows()) {
        PrintRows(statement);
        return;
    }
    jet::Database::Writing writing(database_.Storage());
    sql::Execute(database_.Tables(), statement);
    writing.Commit();
}

void SqlRunner::PrintRows(const sql::Statement& statement) {
    const jet::Database::Reading reading(database_.Storage());
    const auto query = sql::Open(database_.Tables(), statement);
    std::vector<std::u16string> names;
    for (const sql::OutputColumn& column : query->Columns()) names.push_back(column.name);
    writer_.Begin(names);
    std::vector<Value> row(names.size());
    while (query->Next()) {
        for (std::size_t i = 0; i < row.size(); ++i) query->Read(i, row[i]);
        writer_.Row(row);
        output_.Breathe();
    }
    writer_.End();
}

}  // namespace qmtrain::jetsql
