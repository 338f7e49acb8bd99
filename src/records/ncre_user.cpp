#include "records/ncre_user.h"

#include "bank/client_folder.h"
#include "core/convert.h"
#include "core/text.h"
#include "dao/dao.h"

namespace qmtrain {

void NCREUser::ClientPath(std::u16string_view value) {
    RequireClientDatabase(value);
    client_path_ = value;
}

void NCREUser::Load(std::int32_t user_id) {
    const dao::Connection database(ClientDatabase(client_path_));
    const auto rows = database->OpenRecordset(u"Select * From Tbl_SetUser Where UserID=" + ToText(user_id));
    if (!HasRow(*rows)) return;
    user_id_ = user_id;
    name_ = TextOr(rows->Fields(u"姓名").Value(), u"");
    exam_id_ = TextOr(rows->Fields(u"考号").Value(), u"");
}

}  // namespace qmtrain
