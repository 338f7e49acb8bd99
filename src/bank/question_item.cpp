#include "bank/question_item.h"

#include <algorithm>

#include "core/convert.h"
#include "core/error.h"
#include "core/files.h"
#include "core/log.h"
#include "core/message_text.h"
#include "core/statement_text.h"
#include "core/text.h"
#include "core/trap.h"

namespace qmtrain {
namespace {

const Bytes kNoDocument = {0};

Bytes DocumentOf(const Value& value) {
    if (value.IsNull()) return kNoDocument;
    if (value.GetType() != Value::Type::Binary) Raise(ErrorNumber::TypeMismatch);
    return value.Binary().empty() ? kNoDocument : value.Binary();
}

// " And COLUMN='text'", nothing for an empty text.
std::u16string TextCondition(std::u16string_view column, std::u16string_view text) {
    if (text.empty()) return {};
    RequireNoQuote(text);
    return std::u16string(u" And ").append(column).append(u"='").append(text).append(u"'");
}

// A bank lies in the folder of its catalogue: what the catalogue says cannot lead out of it.
void RequirePlainName(std::u16string_view name) {
    const bool plain = name != u"." && name != u".." && name.find_first_of(u"\\/:*?\"<>|") == std::u16string_view::npos;
    if (!plain || ForMessage(name) != name) Raise(ErrorNumber::InvalidPath, {name});
}

bool IsNamePart(char16_t unit) {
    const bool letter = (unit >= u'A' && unit <= u'Z') || (unit >= u'a' && unit <= u'z') || unit == u'_';
    const bool blank = unit == u'\u00A0' || unit == u'\u3000';
    return letter || (unit >= u'0' && unit <= u'9') || unit == u'$' || (unit >= 0x80 && !blank);
}

// The name goes into a FROM clause as it is; anything else than one name there could ask for anything.
void RequireTableName(std::u16string_view name) {
    const bool bracketed = name.size() > 2 && name.front() == u'[' && name.find(u']') == name.size() - 1;
    if (!bracketed && !std::all_of(name.begin(), name.end(), IsNamePart)) Raise(ErrorNumber::NoSuchTable, {name});
}

std::u16string_view WithoutBrackets(std::u16string_view name) {
    return name.starts_with(u'[') ? name.substr(1, name.size() - 2) : name;
}

}  // namespace

void QuestionItem::LocalPaperMdb(std::u16string_view value) {
    if (!FileExists(value)) {
        RaiseComponentError(u"QuestionItem", std::u16string(u"指定的文件[").append(value).append(u"]不存在!"));
    }
    local_paper_mdb_ = value;
}

bool QuestionItem::InitQuestionItem(std::u16string& strErr) {
    return Trapped(u"QuestionItem.InitQuestionItem", false, [&](bool& result) {
        if (!InitDbQuestion()) {
            strErr = u"无法完成对题库的初始化!所对应的题库可能不存或者题库已损坏!";
            return;
        }
        Reset();
        result = LoadQuesitonFromRecNo(rec_no_, is_net_ ? data_code_ : u"");
        if (!result) strErr = u"无法获得指定号试题的内容!可能题库中指定的题号不存在!";
    });
}

// The type and IsTheory are not reset.
void QuestionItem::Reset() {
    title_.clear();
    answer_.clear();
    init_document_ = kNoDocument;
    result_document_ = kNoDocument;
    choice_items_.reset();
}

// The network edition keeps its database open; the stand-alone edition opens the bank anew each time, and one that
// cannot be opened leaves the bank before in its place.
bool QuestionItem::InitDbQuestion() {
    return Trapped(u"QuesitonItem.InitDbQuestion", false, [&](bool& result) {
        if (is_net_) {
            if (!questions_->IsOpen()) questions_->Open(local_paper_mdb_);
            result = true;
            return;
        }
        const std::u16string file = BankFile();
        if (file.empty()) {
            WriteLog(kLogMissingBank, u"从Total.mdb中得到的科目代码为[" + ForMessage(data_code_) + u"]题库不存在!",
                     u"InitDbQuestion");
            return;
        }
        RequirePlainName(file);
        questions_ = std::make_unique<dao::Connection>(InFolder(data_mdb_path_, file));
        result = true;
    });
}

// The file that the catalogue names for the bank; empty when it names none.
std::u16string QuestionItem::BankFile() const {
    RequireNoQuote(data_code_);
    const dao::Connection catalogue(InFolder(data_mdb_path_, u"Total.mdb"));
    const auto rows = catalogue->OpenRecordset(u"Select * From Tbl_Subject Where C_DataCode='" + data_code_ + u"'");
    return HasRow(*rows) ? TextOr(rows->Fields(u"C_DataName").Value(), u"") : u"";
}

std::u16string QuestionItem::GetQuestionTypeTblName(std::u16string_view table_code,
                                                    std::u16string_view data_code) const {
    return Trapped(u"QuestionItem.GetQuestionTypeTblName", std::u16string(), [&](std::u16string& result) {
        RequireNoQuote(table_code);
        std::u16string query = u"Select * From Tbl_Information Where C_TblCode='";
        query.append(table_code).append(u"'").append(TextCondition(u"C_DataCode", data_code));
        const auto rows = (*questions_)->OpenRecordset(query);
        if (HasRow(*rows)) result = TextOr(rows->Fields(u"C_Tblname").Value(), u"");
    });
}

std::u16string QuestionItem::SubjectCondition() const {
    return is_net_ ? u" And SubjectCode=" + ToText(subject_code_) : std::u16string();
}

bool QuestionItem::LoadQuesitonFromRecNo(std::u16string_view rec_no, std::u16string_view data_code) {
    return Trapped(u"QuestionItem.LoadQuesitonFromRecNo", false, [&](bool& result) {
        const std::u16string_view table_code = rec_no.size() > 2 ? rec_no.substr(2, 2) : u"";
        const std::u16string table = GetQuestionTypeTblName(table_code, u"");
        if (table.empty()) return;
        RequireTableName(table);
        if (!(*questions_)->HasTable(WithoutBrackets(table))) Raise(ErrorNumber::NoSuchTable, {table});
        RequireNoQuote(rec_no);
        std::u16string query = u"Select * From " + table + u" Where C_RecNo='";
        query.append(rec_no).append(u"'").append(TextCondition(u"C_DataCode", data_code)).append(SubjectCondition());
        const auto rows = (*questions_)->OpenRecordset(query);

        const QuestionKind kind = KindOfTable(table);
        const bool is_operation = kind == QuestionKind::Operation;
        if (HasRow(*rows)) {
            title_ = TextOr(rows->Fields(u"M_Title").Value(), u"");
            if (!is_operation) is_theory_ = true;
            answer_ = TextOr(rows->Fields(is_operation ? u"M_Answer" : u"C_Answer").Value(), u"");
        }
        if (IsChoice(kind)) choice_items_ = GetChoiceVice(rec_no, data_code);
        if (kind != QuestionKind::Unknown) question_type_ = KindName(kind);
        if (is_operation) {  // the columns are crossed; without a row this ends in the trap
            result_document_ = DocumentOf(rows->Fields(u"O_RudeCont").Value());
            init_document_ = DocumentOf(rows->Fields(u"O_AimCont").Value());
        }
        result = true;
    });
}

// Without a bank code the quote after the record number stays open and the database refuses the query: the
// stand-alone edition gets no options, and one entry in the log.
std::shared_ptr<TextCollection> QuestionItem::GetChoiceVice(std::u16string_view rec_no,
                                                            std::u16string_view data_code) const {
    return Trapped(u"QuestionItem.GetChoiceVice", std::shared_ptr<TextCollection>(), [&](auto& result) {
        RequireNoQuote(rec_no);
        std::u16string query = u"Select * From Tbl_ChoiceVice Where C_RecNo='";
        query.append(rec_no);
        if (!data_code.empty()) query.append(u"'").append(TextCondition(u"C_DataCode", data_code));
        query.append(SubjectCondition()).append(u" Order by C_ChoiceAnswer");
        const auto rows = (*questions_)->OpenRecordset(query);
        auto items = std::make_shared<TextCollection>();
        for (; !rows->Eof(); rows->MoveNext()) {
            const std::u16string letter = TextOr(rows->Fields(u"C_choiceanswer").Value(), u"");
            items->Add(TextOr(rows->Fields(u"M_answercont").Value(), u""), letter);
        }
        result = std::move(items);
    });
}

}  // namespace qmtrain
