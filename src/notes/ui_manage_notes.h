// What a host creates to let a candidate manage notes.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <utility>

#include "records/practice_source.h"

namespace qmtrain {

class UIManageNotes {
public:
    // The folder of the question banks.
    const std::u16string& DataMdbPath() const { return source_.data_mdb_path; }
    void DataMdbPath(std::u16string_view value) { source_.data_mdb_path = value; }
    // The folder of Client.mdb.
    const std::u16string& ClientPath() const { return source_.client_path; }
    void ClientPath(std::u16string_view value) { source_.client_path = value; }
    // The folder of Total.mdb.
    const std::u16string& TotalPath() const { return total_path_; }
    void TotalPath(std::u16string_view value) { total_path_ = value; }
    // The file of the local paper database (network edition).
    const std::u16string& LocalPaperPath() const { return source_.local_paper_mdb; }
    void LocalPaperPath(std::u16string_view value) { source_.local_paper_mdb = value; }
    bool IsNet() const { return source_.is_net; }
    void IsNet(bool value) { source_.is_net = value; }
    // Whose notes, in which subject; -1 means all.
    std::int32_t SubjectCode() const { return source_.subject_code; }
    void SubjectCode(std::int32_t value) { source_.subject_code = value; }
    std::int32_t UserId() const { return source_.user_id; }
    void UserId(std::int32_t value) { source_.user_id = value; }

    // All of these but TotalPath at once.
    void Source(PracticeSource value) { source_ = std::move(value); }

    // Shows the notes manager and returns when it is closed. Without a display nothing is shown, which is logged.
    void ShowDlg();

private:
    PracticeSource source_;
    std::u16string total_path_;
};

}  // namespace qmtrain
