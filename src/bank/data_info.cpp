#include "bank/data_info.h"

#include "core/convert.h"
#include "core/error.h"
#include "core/files.h"
#include "core/statement_text.h"
#include "core/text.h"
#include "core/trap.h"

namespace qmtrain {

// The error's source is the name of the other property: hosts rely on it.
void DataInfo::TotalPath(std::u16string_view value) {
    if (is_net_) return;
    if (!FileExists(InFolder(value, u"Total.mdb"))) {
        RaiseComponentError(u"DataInfo.LocalMdbPath", u"目录[" + InFolder(value, u"") + u"]中不存在Total.mdb!");
    }
    total_path_ = value;
}

void DataInfo::LocalMdbPath(std::u16string_view value) {
    if (!is_net_) return;
    if (!FileExists(value)) {
        RaiseComponentError(u"DataInfo.LocalMdbPath", std::u16string(u"文件[").append(value).append(u"]不存在!"));
    }
    local_mdb_path_ = value;
}

// The folder of the banks is handed to the engine as it stands, which opens the Total.mdb in it.
bool DataInfo::InitDb() {
    return Trapped(u"DataInfo.InitDb", false, [&](bool& result) {
        if (!catalogue_.IsOpen()) catalogue_.Open(is_net_ ? local_mdb_path_ : total_path_);
        result = true;
    });
}

bool DataInfo::LoadFromDataCode(std::u16string_view strDataCode, std::int32_t nSubjectCode) {
    return Trapped(u"DataInfo.LoadFromDataCode", false, [&](bool& result) {
        RequireNoQuote(strDataCode);
        std::u16string query = u"Select * From Tbl_Subject Where C_DataCode='";
        query.append(strDataCode).append(u"'");
        if (is_net_) query += u" And SubjectCode=" + ToText(nSubjectCode);
        const auto rows = catalogue_->OpenRecordset(query);
        if (!HasRow(*rows)) return;
        data_code_ = strDataCode;
        subject_code_ = nSubjectCode;
        description_ = TextOr(rows->Fields(u"C_DataDescription").Value(), u"");
        mdb_name_ = TextOr(rows->Fields(u"C_DataName").Value(), u"");
        result = true;
    });
}

}  // namespace qmtrain
