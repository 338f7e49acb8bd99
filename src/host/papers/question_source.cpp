#include "host/papers/question_source.h"

#include "bank/client_folder.h"
#include "bank/data_info.h"
#include "core/convert.h"
#include "core/error.h"
#include "core/files.h"
#include "core/text.h"
#include "review/answer_text.h"
#include "ui/list_model.h"
#include "ui/question_text.h"

namespace qmtrain::host {
namespace {

constexpr std::size_t kLongestTitle = 120;

bool HasQuote(std::u16string_view text) {
    return text.find(u'\'') != std::u16string_view::npos;
}

// A name may not lead out of the statement that it is put into.
bool IsPlainName(std::u16string_view name) {
    for (const char16_t unit : name) {
        if (unit < 0x80 && unit != u'_' && (unit < u'0' || unit > u'9') &&
            (ToUpper(unit) < u'A' || ToUpper(unit) > u'Z'))
            return false;
    }
    return !name.empty();
}

}  // namespace

QuestionSource::QuestionSource(DataFolder folder, Edition edition) : folder_(std::move(folder)), edition_(edition) {}

QuestionSource::Bank& QuestionSource::BankOf(std::int32_t subject, std::u16string_view data_code) {
    const std::pair key{subject, ToUpper(data_code)};
    const auto found = banks_.find(key);
    if (found != banks_.end()) return found->second;
    Bank& bank = banks_[key];
    bank.name = data_code;
    try {
        DataInfo catalogue;
        const bool net = edition_ == Edition::Network;
        catalogue.IsNet(net);
        if (net) {
            catalogue.LocalMdbPath(folder_.LocalPaper());
        } else {
            catalogue.TotalPath(folder_.Banks());
        }
        if (!catalogue.InitDb() || !catalogue.LoadFromDataCode(data_code, subject)) return bank;
        if (!catalogue.Description().empty()) bank.name = catalogue.Description();
        const std::u16string file = net ? folder_.LocalPaper() : folder_.Bank(catalogue.MdbName());
        if (!FileExists(file)) return bank;
        auto database = std::make_unique<dao::Connection>(file);
        const auto rows = (*database)->OpenRecordset(u"Select C_TblCode,C_Tblname From Tbl_Information");
        for (; !rows->Eof(); rows->MoveNext()) {
            const std::u16string table = TextOr(rows->Fields(1).Value(), u"");
            if (IsPlainName(table)) bank.tables.emplace(ToUpper(TextOr(rows->Fields(0).Value(), u"")), table);
        }
        bank.database = std::move(database);
    } catch (const AutomationError&) {
        bank.database.reset();
    }
    return bank;
}

std::u16string QuestionSource::Title(std::int32_t subject, std::u16string_view data_code, std::u16string_view rec_no) {
    Bank& bank = BankOf(subject, data_code);
    if (!bank.database || rec_no.size() < 4 || HasQuote(rec_no) || HasQuote(data_code)) return {};
    const auto table = bank.tables.find(ToUpper(rec_no.substr(2, 2)));
    if (table == bank.tables.end()) return {};
    try {
        std::u16string statement = u"Select M_Title From " + table->second + u" Where C_RecNo='";
        statement.append(rec_no).append(u"'");
        if (edition_ == Edition::Network) {
            statement.append(u" And C_DataCode='").append(data_code).append(u"' And SubjectCode=" + ToText(subject));
        }
        const auto rows = (*bank.database)->OpenRecordset(statement);
        if (!HasRow(*rows)) return {};
        const std::u16string text = ui::StoredText(TextOr(rows->Fields(0).Value(), u"")).PlainText();
        return ui::CellText(text.substr(0, kLongestTitle));
    } catch (const AutomationError&) {
        return {};
    }
}

std::u16string QuestionSource::BankName(std::int32_t subject, std::u16string_view data_code) {
    return BankOf(subject, data_code).name;
}

std::u16string QuestionSource::TypeName(std::int32_t subject, std::int32_t type, std::int32_t distin) {
    if (!types_read_) {
        types_read_ = true;
        const dao::Connection client(ClientDatabase(folder_.path));
        const auto rows = client->OpenRecordset(u"Select SubjectCode,I_TypeID,C_TestStyle From Tbl_QuestionType");
        for (; !rows->Eof(); rows->MoveNext()) {
            if (!IsNumeric(rows->Fields(0).Value())) continue;
            type_styles_[{ToLong(rows->Fields(0).Value()), LongOr(rows->Fields(1).Value(), 0)}] =
                TextOr(rows->Fields(2).Value(), u"");
        }
    }
    const auto style = type_styles_.find({subject, type});
    const std::u16string name = review::QuestionTypeName(
        type, style == type_styles_.end() ? std::u16string() : style->second, ToText(subject), distin);
    return name.empty() ? u"题型 " + ToText(type) : name;
}

QuestionContent QuestionSource::Load(std::int32_t subject, std::u16string_view data_code,
                                     std::u16string_view rec_no) const {
    PaperQuestion place;
    place.data_code = data_code;
    place.rec_no = rec_no;
    return LoadQuestion(folder_, edition_, subject, place);
}

}  // namespace qmtrain::host
