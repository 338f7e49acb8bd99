#include "records/server_tables.h"

#include <algorithm>
#include <span>
#include <vector>

#include "core/error.h"
#include "core/text.h"
#include "dao/odbc_link.h"
#include "dao/recordset.h"

namespace qmtrain {
namespace {

struct ServerTable {
    std::u16string_view name;  // as hosts know it; on the server in small letters
    std::u16string_view columns;
    std::u16string_view index;   // empty: none besides the key
    std::u16string_view number;  // the column that the server numbers; empty: none
    bool only_there = false;     // the file has no such column
};

// A table needs a key so that its rows can be changed through a link: results have one on the server alone.
constexpr ServerTable kTables[] = {
    {u"TrainInfo",
     u"\"TrainID\" serial PRIMARY KEY, \"UserId\" integer, \"SubjectCode\" integer, \"StartDate\" timestamp(0),"
     u" \"EndDate\" timestamp(0), \"UseTime\" integer, \"TheoryNo\" integer, \"OperationNo\" integer,"
     u" \"AnswerScore\" real, \"Score\" real",
     u"\"UserId\", \"SubjectCode\"", u"TrainID"},
    {u"TrainResult",
     u"\"TrainID\" integer, \"QuestionType\" integer, \"DataCode\" varchar(50) COLLATE qmtrain_text,"
     u" \"QuestionRecNo\" varchar(50) COLLATE qmtrain_text, \"QuestionScore\" real, \"AnswerScore\" real,"
     u" \"Answer\" text, \"StudentAnswer\" text, \"ErrInfo\" text, \"ErrInfoXml\" text, \"Distin\" integer,"
     u" \"Difficult\" integer, \"QuestionNo\" integer, \"ResultID\" serial PRIMARY KEY",
     u"\"TrainID\", \"DataCode\", \"QuestionRecNo\"", u"ResultID", true},
    {u"Notes",
     u"\"NoteID\" serial PRIMARY KEY, \"Name\" varchar(255) COLLATE qmtrain_text, \"Content\" text,"
     u" \"CreateUserID\" integer, \"CreateDate\" timestamp(0), \"ViewTimes\" integer,"
     u" \"IsShared\" boolean NOT NULL DEFAULT false, \"DataCode\" varchar(50) COLLATE qmtrain_text,"
     u" \"QuestionRecNo\" varchar(50) COLLATE qmtrain_text, \"SubjectCode\" integer",
     u"\"DataCode\", \"QuestionRecNo\", \"SubjectCode\", \"CreateUserID\"", u"NoteID"},
    {u"Tbl_SetUser",
     u"\"UserID\" integer PRIMARY KEY, \"姓名\" varchar(50) COLLATE qmtrain_text,"
     u" \"考号\" varchar(50) COLLATE qmtrain_text",
     u"", u""},
    {u"Tbl_SubjectBrief",
     u"\"SubjectCode\" integer PRIMARY KEY, \"ExameBrief\" varchar(255) COLLATE qmtrain_text, \"StudentKnow\" text,"
     u" \"Description\" text",
     u"", u""},
    {u"Tbl_QuestionType",
     u"\"I_TypeID\" integer, \"C_TestStyle\" varchar(50) COLLATE qmtrain_text, \"C_Startexe\" varchar(255),"
     u" \"SubjectCode\" varchar(10) COLLATE qmtrain_text, PRIMARY KEY (\"I_TypeID\", \"SubjectCode\")",
     u"", u""},
    {u"WrongQuestionRemoved",
     u"\"UserID\" integer, \"SubjectCode\" integer, \"DataCode\" varchar(50) COLLATE qmtrain_text,"
     u" \"QuestionRecNo\" varchar(50) COLLATE qmtrain_text, \"WrongTimes\" integer,"
     u" PRIMARY KEY (\"UserID\", \"SubjectCode\", \"DataCode\", \"QuestionRecNo\")",
     u"", u""},
};

std::u16string Remote(const ServerTable& table) {
    return u"public." + dao::QuotedName(ToLower(table.name));
}

std::u16string Sequence(const ServerTable& table) {
    return u"pg_get_serial_sequence('" + Remote(table) + u"', '" + std::u16string(table.number) + u"')";
}

bool HasRole(odbc::Connection& server, std::u16string_view role) {
    return server.Query(u"SELECT 1 FROM pg_roles WHERE rolname = " + dao::QuotedValue(Value(role)))->Next();
}

// A sum over rows does not depend on their order.
struct Content {
    std::int64_t rows = 0;
    std::uint64_t sum = 0;
    bool operator==(const Content&) const = default;

    void Add(std::u16string_view row) {
        ++rows;
        sum += std::hash<std::u16string_view>()(row);
    }
};

// The values of a row as the server is given them.
std::u16string RowText(std::span<const Value> values) {
    std::u16string text;
    for (const Value& value : values) text += (text.empty() ? u"" : u", ") + dao::QuotedValue(value);
    return text;
}

class TableCopy {
public:
    TableCopy(dao::JetDatabase& client, odbc::Connection& server, const ServerTable& table)
        : server_(server),
          table_(table),
          rows_(client.OpenRecordset(u"SELECT * FROM [" + std::u16string(table.name) + u"]")) {
        const odbc::TableDescription there = server.Describe(u"public." + ToLower(table.name));
        for (const auto& field : rows_->Fields()) {
            const auto column = std::ranges::find_if(
                there.columns, [&](const odbc::ServerColumn& known) { return EqualNames(known.name, field->Name()); });
            if (column == there.columns.end()) {
                RaiseComponentError(
                    u"qmtrain", u"服务器上的表“" + std::u16string(table.name) + u"”没有字段“" + field->Name() + u"”。");
            }
            columns_ += (columns_.empty() ? u"" : u", ") + dao::QuotedName(column->name);
            types_.push_back(column->type);
        }
    }

    // An attempt that was broken off has left the first rows of the file there, and nothing else may be there: so much
    // is known before anything is written.
    void Run(const CopyProgress& progress) {
        constexpr std::int64_t kRowsTogether = 500;
        const Content there = ReadServer();
        Content here;
        std::u16string together;
        std::vector<Value> values(types_.size());
        for (; !rows_->Eof(); rows_->MoveNext()) {
            for (std::size_t i = 0; i < values.size(); ++i) values[i] = rows_->Fields(static_cast<int>(i)).Value();
            std::u16string row = RowText(values);
            here.Add(row);
            if (here.rows == there.rows && here != there) RaiseDiffers(there);
            if (here.rows <= there.rows) continue;
            if (table_.only_there) row += u", " + ToText(here.rows);
            together += (together.empty() ? u"(" : u", (") + row + u")";
            if (here.rows % kRowsTogether != 0) continue;
            Send(together);
            progress(table_.name, here.rows);
        }
        if (here.rows < there.rows) RaiseDiffers(there);
        Send(together);
        SetNextNumber();
        if (here.rows > there.rows) {
            const Content after = ReadServer();
            if (after != here) RaiseDiffers(after);
        }
        progress(table_.name, here.rows);
    }

private:
    void Send(std::u16string& rows) {
        if (rows.empty()) return;
        const std::u16string more = table_.only_there ? u", " + dao::QuotedName(table_.number) : std::u16string();
        server_.Execute(u"INSERT INTO " + Remote(table_) + u" (" + columns_ + more + u") VALUES " + rows,
                        {ErrorNumber::OdbcInsertFailed, table_.name});
        rows.clear();
    }

    // An earlier attempt may have ended just before it.
    void SetNextNumber() {
        if (table_.number.empty()) return;
        const std::u16string highest =
            u"(SELECT max(" + dao::QuotedName(table_.number) + u") AS number FROM " + Remote(table_) + u") AS highest";
        server_.Query(u"SELECT setval(" + Sequence(table_) + u", number) FROM " + highest +
                      u" WHERE number > coalesce(pg_sequence_last_value(" + Sequence(table_) + u"), 0)");
    }

    Content ReadServer() {
        Content content;
        std::vector<Value> values(types_.size());
        const auto take = [&](odbc::Rows& rows) {
            while (rows.Next()) {
                for (std::size_t i = 0; i < values.size(); ++i) rows.Read(static_cast<int>(i), types_[i], values[i]);
                content.Add(RowText(values));
            }
        };
        server_.QueryInParts({u"SELECT " + columns_ + u" FROM " + Remote(table_), {}}, take);
        return content;
    }

    [[noreturn]] void RaiseDiffers(const Content& there) {
        RaiseComponentError(u"qmtrain", u"表“" + std::u16string(table_.name) + u"”在服务器上有 " + ToText(there.rows) +
                                            u" 行，它们不是这个文件中的记录。");
    }

    odbc::Connection& server_;
    const ServerTable& table_;
    std::shared_ptr<dao::Recordset> rows_;
    std::u16string columns_;
    std::vector<ColumnType> types_;
};

}  // namespace

void MakeServerTables(odbc::Connection& server, std::u16string_view role) {
    server.Begin();
    const std::u16string quoted = dao::QuotedName(role);
    if (!HasRole(server, role)) server.Execute(u"CREATE ROLE " + quoted + u" NOLOGIN");
    server.Execute(
        u"CREATE COLLATION IF NOT EXISTS qmtrain_text (provider = icu, locale = 'und-u-ks-level2', deterministic = "
        u"false)");
    server.Execute(u"GRANT USAGE ON SCHEMA public TO " + quoted);
    for (const ServerTable& table : kTables) {
        const std::u16string name = Remote(table);
        server.Execute(u"CREATE TABLE IF NOT EXISTS " + name + u" (" + std::u16string(table.columns) + u")");
        if (!table.index.empty()) {
            server.Execute(u"CREATE INDEX IF NOT EXISTS " + dao::QuotedName(ToLower(table.name) + u"_by") + u" ON " +
                           name + u" (" + std::u16string(table.index) + u")");
        }
        std::u16string grant = u"GRANT SELECT, INSERT, UPDATE, DELETE ON ";
        server.Execute(grant.append(name).append(u" TO ").append(quoted));
        if (table.number.empty()) continue;
        Value sequence;
        const auto named = server.Query(u"SELECT " + Sequence(table));
        if (named->Next()) named->Read(0, ColumnType::Text, sequence);
        if (sequence.IsText()) server.Execute(u"GRANT USAGE ON SEQUENCE " + sequence.Text() + u" TO " + quoted);
    }
    server.Commit();
}

void LinkServerTables(dao::JetDatabase& client, std::u16string_view connect) {
    for (const ServerTable& table : kTables) {
        if (client.HasTable(table.name)) {
            client.RefreshLink(table.name, connect);
        } else {
            client.CreateTableDef(table.name, connect, u"public." + ToLower(table.name));
        }
    }
}

void CopyToServer(dao::JetDatabase& client, odbc::Connection& server, const CopyProgress& progress) {
    for (const ServerTable& table : kTables) {
        if (client.HasTable(table.name)) TableCopy(client, server, table).Run(progress);
    }
}

}  // namespace qmtrain
