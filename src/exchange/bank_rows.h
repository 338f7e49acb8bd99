// The questions in the tables of an open bank.
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "core/enum_table.h"
#include "dao/dao.h"
#include "exchange/question.h"

namespace qmtrain::exchange {

// What the tables of a kind have a place for. Banks of others may lack what ours have.
struct TableInfo {
    std::u16string table;  // empty: the bank has none for the kind
    std::u16string table_code;
    bool analysis = false;
    bool documents = false;  // an explanation can be a document of the question
    bool category = false;
    bool difficulty = false;
    bool keywords = false;
};

// A row as it stands in a table, whatever its columns.
struct StoredRow {
    std::u16string table;
    std::vector<std::pair<std::u16string, Value>> fields;
    bool operator==(const StoredRow&) const = default;
};

// A text as banks store it: plain where it has no format, else RTF.
std::u16string StoredText(const document::RichText& text);

class BankRows {
public:
    // The questions of that code and subject alone, when they are given: a local paper database has several banks in
    // its tables. The database must outlive the object.
    BankRows(dao::Database& database, std::u16string code, std::optional<std::int32_t> subject = {});

    dao::Database& File() { return database_; }
    const TableInfo& Info(QuestionKind kind) const { return tables_[kind]; }

    // In the order of record numbers.
    std::vector<Question> Read(const Progress& progress = {});
    std::optional<Question> Find(std::u16string_view rec_no);

    // Record numbers of questions that follow each other, none of them in the bank or in `taken`.
    std::u16string NewNumber(QuestionKind kind, const std::set<std::u16string>& taken);

    // Under question.rec_no. `subject` is what goes into the rows.
    void Add(const Question& question, std::int32_t subject);
    // Writes what differs between `before`, which the bank has, and `after`: unchanged parts stay as they were stored.
    void Change(const Question& before, const Question& after);
    void Remove(std::u16string_view rec_no);

    // A question with all that the tables have of it, its documents as well; and back into the tables.
    std::vector<StoredRow> Rows(std::u16string_view rec_no);
    void PutBack(const std::vector<StoredRow>& rows);

private:
    struct Columns;

    std::u16string OfBank(std::u16string_view more = {}) const;
    std::u16string OfQuestion(std::u16string_view rec_no) const;
    const TableInfo* TableOf(std::u16string_view rec_no) const;
    using EachRow = std::function<void()>;
    void ReadTable(QuestionKind kind, std::u16string_view condition, std::vector<Question>& out,
                   const EachRow& each = {});
    void ReadOptions(std::u16string_view condition, std::vector<Question>& questions, const EachRow& each = {});
    std::size_t CountRows(std::u16string_view table) const;
    void Fill(dao::Recordset& row, const Question* before, const Question& question);
    void AddOptions(const Question& question, std::int32_t subject);
    std::int32_t LastNumber(QuestionKind kind, const std::set<std::u16string>& taken);

    dao::Database& database_;
    std::u16string code_;
    std::optional<std::int32_t> subject_;
    std::u16string prefix_;  // the first two characters of record numbers
    EnumTable<QuestionKind, TableInfo, 5> tables_;
    EnumTable<QuestionKind, std::int32_t, 5> last_numbers_{-1, -1, -1, -1, -1};
    std::map<QuestionKind, std::shared_ptr<dao::Recordset>> adding_;
    std::shared_ptr<dao::Recordset> adding_options_;
};

}  // namespace qmtrain::exchange
