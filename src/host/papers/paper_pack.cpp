#include <map>
#include <tuple>

#include "bank/create_bank.h"
#include "core/convert.h"
#include "core/error.h"
#include "core/files.h"
#include "core/statement_text.h"
#include "core/text.h"
#include "dao/dao.h"
#include "exchange/bank_file.h"
#include "exchange/bank_rows.h"
#include "host/papers/paper_rules.h"

namespace qmtrain::host {
namespace {

bool HasField(dao::Recordset& rows, std::u16string_view name) {
    for (const auto& field : rows.Fields()) {
        if (EqualNames(field->Name(), name)) return true;
    }
    return false;
}

// The questions of banks, copied row by row into a local paper database.
class Packer {
public:
    Packer(const DataFolder& folder, dao::Database& target) : folder_(folder), target_(target) {}

    void Pack(std::int32_t subject, const PaperQuestion& place) {
        Source& source = SourceOf(place.data_code, subject);
        const std::u16string of_question = OfQuestion(place, subject);
        const exchange::TableInfo* info = nullptr;
        for (const QuestionKindInfo& kind : QuestionKinds()) {
            const exchange::TableInfo& one = source.rows->Info(kind.kind);
            if (!one.table.empty() &&
                EqualNames(one.table_code, place.rec_no.substr(std::min<std::size_t>(2, place.rec_no.size()), 2))) {
                info = &one;
                table_ = kind.table;
            }
        }
        if (info == nullptr) Missing(place);
        RequireTableCode(info->table_code, place.data_code);
        if (Copy(*source.database.operator->(), info->table, table_, place, subject, of_question) == 0) Missing(place);
        Copy(*source.database.operator->(), u"Tbl_ChoiceVice", u"Tbl_ChoiceVice", place, subject, of_question);
    }

private:
    struct Source {
        dao::Connection database;
        std::unique_ptr<exchange::BankRows> rows;
    };

    [[noreturn]] static void Missing(const PaperQuestion& place) {
        RaiseComponentError(u"qmtrain", u"题库 " + place.data_code + u" 中没有试题 " + place.rec_no + u"。");
    }

    static std::u16string OfQuestion(const PaperQuestion& place, std::int32_t subject) {
        RequireNoQuote(place.rec_no);
        RequireNoQuote(place.data_code);
        return u" Where C_RecNo='" + place.rec_no + u"' And C_DataCode='" + place.data_code + u"' And SubjectCode=" +
               ToText(subject);
    }

    Source& SourceOf(const std::u16string& code, std::int32_t subject) {
        Source& source = sources_[code];
        if (source.rows) return source;
        const exchange::BankEntry entry = exchange::RequireBank(folder_.Banks(), code);
        source.database.Open(exchange::FileOf(folder_.Banks(), entry));
        source.rows = std::make_unique<exchange::BankRows>(*source.database.operator->(), code);
        const auto rows = target_.OpenRecordset(u"Select * From Tbl_Subject Where C_DataCode='" + code +
                                                u"' And SubjectCode=" + ToText(subject));
        if (!rows->Eof()) return source;
        rows->AddNew();
        rows->Fields(u"C_DataCode").Value(code);
        rows->Fields(u"SubjectCode").Value(subject);
        rows->Fields(u"C_DataName").Value(entry.file);
        rows->Fields(u"C_DataDescription").Value(entry.name);
        rows->Update();
        return source;
    }

    // The network edition looks a table up by its code alone, whatever the bank.
    void RequireTableCode(const std::u16string& table_code, const std::u16string& data_code) {
        RequireNoQuote(table_code);
        const auto rows = target_.OpenRecordset(u"Select * From Tbl_Information Where C_TblCode='" + table_code + u"'");
        bool own = false;
        for (; !rows->Eof(); rows->MoveNext()) {
            if (!EqualNames(TextOr(rows->Fields(u"C_Tblname").Value(), u""), table_)) {
                std::u16string text = u"题库 " + data_code;
                text.append(u" 的题型代码 ").append(table_code);
                RaiseComponentError(u"qmtrain", text + u" 在这个试卷库中已用于另一种题型，不能放在一起。");
            }
            own = own || TextOr(rows->Fields(u"C_DataCode").Value(), u"") == data_code;
        }
        if (own) return;
        rows->AddNew();
        rows->Fields(u"C_TblCode").Value(table_code);
        rows->Fields(u"C_DataCode").Value(data_code);
        rows->Fields(u"C_Tblname").Value(std::u16string(table_));
        rows->Update();
    }

    int Copy(dao::Database& from, const std::u16string& from_table, std::u16string_view to_table,
             const PaperQuestion& place, std::int32_t subject, const std::u16string& of_question) {
        target_.Execute(std::u16string(u"Delete From ").append(to_table).append(of_question));
        const auto source =
            from.OpenRecordset(u"Select * From " + from_table + u" Where C_RecNo='" + place.rec_no + u"'");
        const auto copy = target_.OpenRecordset(std::u16string(u"Select Top 1 * From ").append(to_table));
        int copied = 0;
        for (; !source->Eof(); source->MoveNext(), ++copied) {
            copy->AddNew();
            for (const auto& field : source->Fields()) {
                if (HasField(*copy, field->Name())) copy->Fields(field->Name()).Value(field->Value());
            }
            copy->Fields(u"C_DataCode").Value(place.data_code);
            copy->Fields(u"SubjectCode").Value(subject);
            copy->Update();
        }
        return copied;
    }

    const DataFolder& folder_;
    dao::Database& target_;
    std::map<std::u16string, Source> sources_;
    std::u16string_view table_;
};

}  // namespace

std::size_t PackPapers(const DataFolder& folder, const std::vector<std::int32_t>& papers, std::u16string_view file,
                       const exchange::Progress& progress) {
    // Each question once, on however many of the papers it stands.
    std::map<std::tuple<std::int32_t, std::u16string, std::u16string>, PaperQuestion> questions;
    for (const std::int32_t number : papers) {
        const std::optional<Paper> paper = FindPaper(folder, number);
        if (!paper) RaiseComponentError(u"qmtrain", u"没有试卷号为 " + ToText(number) + u" 的试卷。");
        for (const PaperQuestion& place : paper->questions) {
            questions.try_emplace({paper->subject, place.data_code, place.rec_no}, place);
        }
    }
    const auto fill = [&](dao::Database& target) {
        AddTeachingColumns(target);
        Packer packer(folder, target);
        std::size_t done = 0;
        for (const auto& [key, place] : questions) {
            exchange::Report(progress, done++, questions.size());
            packer.Pack(std::get<0>(key), place);
        }
    };
    if (!FileExists(file)) {
        CreateLocalPaperDatabase(file, fill);
    } else {
        const dao::Connection target(file);
        target->Atomically([&] { fill(*target.operator->()); });
    }
    return questions.size();
}

}  // namespace qmtrain::host
