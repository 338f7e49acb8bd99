// What a host creates to show a candidate's practice history.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

namespace qmtrain {

class UITrain {
public:
    // The file of the local paper database (network edition).
    const std::u16string& LocalPaperMdbPath() const { return local_paper_mdb_path_; }
    void LocalPaperMdbPath(std::u16string_view value) { local_paper_mdb_path_ = value; }
    // The folder of Client.mdb.
    const std::u16string& ClientPath() const { return client_path_; }
    void ClientPath(std::u16string_view value) { client_path_ = value; }
    // The folder of the question banks (stand-alone edition).
    const std::u16string& DataMdbPath() const { return data_mdb_path_; }
    void DataMdbPath(std::u16string_view value) { data_mdb_path_ = value; }
    bool IsNet() const { return is_net_; }
    void IsNet(bool value) { is_net_ = value; }
    // Whose trainings, in which subject; -1 means all.
    std::int32_t UserId() const { return user_id_; }
    void UserId(std::int32_t value) { user_id_ = value; }
    std::int32_t SubjectCode() const { return subject_code_; }
    void SubjectCode(std::int32_t value) { subject_code_ = value; }

    // Shows the training history and returns when it is closed. Without a display nothing is shown, which is logged.
    void ShowUI();

    // The candidate wants the paper of a training again; `lblnBS` says that it was a written one. Comes while ShowUI is
    // about to return, with no window open.
    std::function<void(std::int32_t TrainID, bool lblnBS)> ReDoQuestionPaper;

private:
    std::u16string local_paper_mdb_path_;
    std::u16string client_path_;
    std::u16string data_mdb_path_;
    bool is_net_ = false;
    std::int32_t user_id_ = -1;
    std::int32_t subject_code_ = -1;
};

// Lets TrainInfo::ShowDlg show the history window. A program that links all windows need not call it.
void InstallHistoryWindow();

}  // namespace qmtrain
