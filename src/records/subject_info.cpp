#include "records/subject_info.h"

#include "bank/client_folder.h"
#include "core/convert.h"
#include "core/text.h"
#include "core/trap.h"
#include "dao/dao.h"

namespace qmtrain {

std::u16string SubjectInfo::SubjectCode() const {
    return ToText(subject_code_);
}

void SubjectInfo::SubjectCode(std::u16string_view value) {
    subject_code_ = ToLong(value);
}

void SubjectInfo::ClientPath(std::u16string_view value) {
    RequireClientDatabase(value);
    client_path_ = value;
}

void SubjectInfo::Load(std::int32_t subject_code) {
    Trapped(u"SubjectInfo.LoadFromID", [&] {
        const dao::Connection database(ClientDatabase(client_path_));
        const auto rows =
            database->OpenRecordset(u"Select * From Tbl_SubjectBrief Where SubjectCode=" + ToText(subject_code));
        if (!HasRow(*rows)) return;
        subject_code_ = subject_code;
        brief_ = TextOr(rows->Fields(u"ExameBrief").Value(), u"");
        student_know_ = TextOr(rows->Fields(u"StudentKnow").Value(), u"");
        description_ = TextOr(rows->Fields(u"Description").Value(), u"");
    });
}

}  // namespace qmtrain
