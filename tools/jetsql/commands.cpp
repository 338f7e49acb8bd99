#include "commands.h"

#include <algorithm>
#include <cstdio>
#include <fstream>
#include <iostream>
#include <iterator>

#include "core/csv.h"
#include "core/files.h"
#include "core/text.h"
#include "dao/jet_columns.h"
#include "jet/check.h"
#include "jet/row_cursor.h"
#include "odbc/connect_string.h"
#include "schema_text.h"
#include "sql_runner.h"

namespace qmtrain::jetsql {
namespace {

void Note(std::u16string_view text) {
    std::fprintf(stderr, "%s\n", ToUtf8(text).c_str());
}

std::u16string KindOf(const jet::CatalogObject& object) {
    if (object.IsSystem()) return u"system";
    return object.type == jet::CatalogObject::kTable ? u"table" : u"link";
}

// Where a link leads, without a password in it.
std::u16string PlaceOf(const jet::CatalogObject& object) {
    const bool server = object.type == jet::CatalogObject::kLinkedOdbc;
    return server ? odbc::ConnectString(object.connect).Place() : object.database;
}

std::u16string ReadScript(const std::string& name) {
    std::ifstream file;
    if (name != "-") {
        file.open(ToNativePath(FromUtf8(name)), std::ios::binary);
        if (!file) Raise(ErrorNumber::FileNotFound, {FromUtf8(name)});
    }
    std::istream& in = name == "-" ? std::cin : file;
    std::string text((std::istreambuf_iterator<char>(in)), {});
    if (text.starts_with(kUtf8Mark)) text.erase(0, kUtf8Mark.size());
    return FromUtf8(text);
}

std::u16string Counted(std::int64_t count, std::u16string_view what) {
    return ToText(count) + u" " + std::u16string(what);
}

}  // namespace

int Commands::Run() {
    bool healthy = true;
    if (!options_.link.empty()) {
        dao_.CreateTableDef(FromUtf8(options_.link), FromUtf8(options_.connect), FromUtf8(options_.source),
                            options_.save_password);
    }
    RunSql();
    if (options_.tables) ListTables();
    if (options_.schema) PrintSchema();
    for (const std::string& table : options_.dumps) Dump(table);
    if (options_.check) healthy = Check();
    return healthy ? 0 : 1;
}

void Commands::RunSql() {
    SqlRunner runner(dao_, output_, writer_);
    if (options_.explain) {
        for (const std::string& script : options_.scripts) runner.Explain(ReadScript(script));
        for (const std::string& statement : options_.statements) runner.Explain(FromUtf8(statement));
        return;
    }
    for (const std::string& script : options_.scripts) runner.Run(ReadScript(script), !options_.each);
    for (const std::string& statement : options_.statements) runner.Run(FromUtf8(statement), false);
}

// In the order of their names.
std::vector<jet::CatalogObject> Commands::Tables() {
    std::vector<jet::CatalogObject> tables;
    for (jet::CatalogObject& object : database_.Objects()) {
        const bool is_table = object.type == jet::CatalogObject::kTable || object.IsUserTable();
        if (is_table && (options_.system || object.IsUserTable())) tables.push_back(std::move(object));
    }
    std::sort(tables.begin(), tables.end(),
              [](const auto& a, const auto& b) { return FoldName(a.name) < FoldName(b.name); });
    return tables;
}

void Commands::ListTables() {
    const jet::Database::Reading reading(database_);
    const std::u16string names[] = {u"table", u"kind", u"rows", u"columns", u"linked to"};
    writer_.Begin(names);
    for (const jet::CatalogObject& object : Tables()) {
        Value row[5] = {object.name, KindOf(object), Null{}, Null{}, Null{}};
        if (!object.foreign_name.empty()) row[4] = PlaceOf(object) + u" : " + object.foreign_name;
        try {
            const bool linked = object.type != jet::CatalogObject::kTable;  // to list a link opens no other file
            if (const auto table = linked ? nullptr : database_.FindTable(object.name)) {
                row[2] = static_cast<std::int32_t>(table->RowCount());
                row[3] = static_cast<std::int32_t>(table->Definition().columns.size());
            }
        } catch (const AutomationError& error) {
            Note(object.name + u": " + error.Description());
        }
        writer_.Row(row);
    }
    writer_.End();
}

void Commands::PrintSchema() {
    const jet::Database::Reading reading(database_);
    std::vector<std::u16string> names;
    for (const jet::CatalogObject& object : Tables()) names.push_back(object.name);
    const SchemaText schema = DescribeSchema(database_, names);
    for (const std::u16string& statement : schema.statements) output_.AppendLine(statement);
    output_.Flush();
    for (const std::u16string& what : schema.left_out) Note(u"left out: " + what);
}

void Commands::Dump(const std::string& name) {
    const jet::Database::Reading reading(database_);
    const auto table = database_.FindTable(FromUtf8(name));
    if (!table) Raise(ErrorNumber::NoSuchTable, {FromUtf8(name)});
    const std::vector<std::size_t> positions = dao::Layout(*table).positions;
    std::vector<std::u16string> columns;
    columns.reserve(positions.size());
    for (const std::size_t position : positions) columns.push_back(table->Definition().columns[position].name);
    writer_.Begin(columns);
    jet::RowCursor cursor(*table);
    for (cursor.Scan(); cursor.Next();) writer_.Row(cursor, positions);
    writer_.End();
}

// False when there are defects.
bool Commands::Check() {
    const jet::CheckReport report = jet::CheckDatabase(database_);
    for (const std::u16string& note : report.notes) Note(note);
    for (const std::u16string& defect : report.defects) output_.AppendLine(defect);
    std::u16string summary = Counted(report.tables, u"tables, ") + Counted(report.rows, u"rows, ") +
                             Counted(report.long_values, u"long values, ") +
                             Counted(report.index_entries, u"index entries");
    if (report.entries_not_compared > 0) {
        summary += u" (" + Counted(report.entries_not_compared, u"of unknown text order)");
    }
    output_.AppendLine(summary + u": " + Counted(static_cast<std::int64_t>(report.defects.size()), u"defects"));
    output_.Flush();
    return report.defects.empty();
}

}  // namespace qmtrain::jetsql
