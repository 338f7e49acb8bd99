#include "bank/question_type.h"

#include "bank/client_folder.h"
#include "core/convert.h"
#include "core/text.h"
#include "core/trap.h"
#include "dao/dao.h"

namespace qmtrain {

void QuestionType::ClientPath(std::u16string_view value) {
    RequireClientDatabase(value);
    client_path_ = value;
}

void QuestionType::Init(std::int32_t nTypeID) {
    type_code_ = -1;
    description_.clear();
    app_exe_name_.clear();
    LoadFromID(nTypeID);
}

void QuestionType::LoadFromID(std::int32_t type_id) {
    Trapped(u"QuestionType.LoadFromID", [&] {
        const dao::Connection database(ClientDatabase(client_path_));
        const auto rows = database->OpenRecordset(u"Select * From Tbl_QuestionType Where I_TypeID=" + ToText(type_id));
        if (!HasRow(*rows)) return;
        type_code_ = type_id;
        description_ = TextOr(rows->Fields(u"C_TestStyle").Value(), u"");
        app_exe_name_ = TextOr(rows->Fields(u"C_Startexe").Value(), u"");
    });
}

}  // namespace qmtrain
