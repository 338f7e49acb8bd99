// What a host creates to let a candidate manage notes.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace qmtrain {

class UIManageNotes {
public:
    // The folder of the question banks.
    const std::u16string& DataMdbPath() const { return data_mdb_path_; }
    void DataMdbPath(std::u16string_view value) { data_mdb_path_ = value; }
    // The folder of Client.mdb.
    const std::u16string& ClientPath() const { return client_path_; }
    void ClientPath(std::u16string_view value) { client_path_ = value; }
    // The folder of Total.mdb.
    const std::u16string& TotalPath() const { return total_path_; }
    void TotalPath(std::u16string_view value) { total_path_ = value; }
    // The file of the local paper database (network edition).
    const std::u16string& LocalPaperPath() const { return local_paper_path_; }
    void LocalPaperPath(std::u16string_view value) { local_paper_path_ = value; }
    bool IsNet() const { return is_net_; }
    void IsNet(bool value) { is_net_ = value; }
    // Whose notes, in which subject; -1 means all.
    std::int32_t SubjectCode() const { return subject_code_; }
    void SubjectCode(std::int32_t value) { subject_code_ = value; }
    std::int32_t UserId() const { return user_id_; }
    void UserId(std::int32_t value) { user_id_ = value; }

    // Shows the notes manager and returns when it is closed. Without a display nothing is shown, which is logged.
    void ShowDlg();

private:
    std::u16string data_mdb_path_;
    std::u16string client_path_;
    std::u16string total_path_;
    std::u16string local_paper_path_;
    bool is_net_ = false;
    std::int32_t subject_code_ = -1;
    std::int32_t user_id_ = -1;
};

}  // namespace qmtrain
