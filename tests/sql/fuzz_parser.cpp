// Any bytes as a statement: parsed, printed, and run over a small database. Nothing but an AutomationError may come
// of it.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>

#include "core/error.h"
#include "core/text.h"
#include "sql/memory_catalog.h"
#include "sql/sql.h"

namespace {

using namespace qmtrain;
using namespace qmtrain::sql;

void Execute(MemoryCatalog& catalog, std::u16string_view text) {
    for (const Statement& statement : ParseScript(text)) {
        if (!statement.YieldsRows()) {
            sql::Execute(catalog, statement);
            continue;
        }
        const auto query = Open(catalog, statement);
        Value value;
        for (int rows = 0; rows < 50 && query->Next(); ++rows) {
            for (std::size_t i = 0; i < query->Columns().size(); ++i) query->Read(i, value);
        }
    }
}

void CheckPrinting(std::u16string_view text) {
    std::u16string printed;
    try {
        printed = Parse(text).ToSql();
    } catch (const AutomationError&) {
        return;
    }
    // Only nesting may be refused the second time: printing adds parentheses.
    try {
        if (Parse(printed).ToSql() != printed) std::abort();
    } catch (const AutomationError& error) {
        if (!error.Is(ErrorNumber::QueryTooComplex)) std::abort();
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::u16string text = FromUtf8(std::string_view(reinterpret_cast<const char*>(data), size));
    CheckPrinting(text);
    try {
        MemoryCatalog catalog;
        catalog.SaveQuery(u"Q", u"SELECT A, B FROM T UNION SELECT C, D FROM U");
        Execute(catalog,
                u"CREATE TABLE T (A LONG PRIMARY KEY, B TEXT(10), C DATETIME, D MEMO);"
                u"CREATE TABLE U (A LONG, C DOUBLE, D TEXT(5)); CREATE INDEX I ON T (B, C DESC);"
                u"INSERT INTO T VALUES (1, 'x', #2005-4-12#, 'y'); INSERT INTO T VALUES (2, Null, Null, Null);"
                u"INSERT INTO U VALUES (1, 1.5, 'a'); INSERT INTO U VALUES (1, 2.5, Null)");
        Execute(catalog, text);
    } catch (const AutomationError&) {
    }
    return 0;
}
