// What a host creates to show a candidate's practice history.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <utility>

#include "records/practice_source.h"

namespace qmtrain {

class UITrain {
public:
    // The file of the local paper database (network edition).
    const std::u16string& LocalPaperMdbPath() const { return source_.local_paper_mdb; }
    void LocalPaperMdbPath(std::u16string_view value) { source_.local_paper_mdb = value; }
    // The folder of Client.mdb.
    const std::u16string& ClientPath() const { return source_.client_path; }
    void ClientPath(std::u16string_view value) { source_.client_path = value; }
    // The folder of the question banks (stand-alone edition).
    const std::u16string& DataMdbPath() const { return source_.data_mdb_path; }
    void DataMdbPath(std::u16string_view value) { source_.data_mdb_path = value; }
    bool IsNet() const { return source_.is_net; }
    void IsNet(bool value) { source_.is_net = value; }
    // Whose trainings, in which subject; -1 means all.
    std::int32_t UserId() const { return source_.user_id; }
    void UserId(std::int32_t value) { source_.user_id = value; }
    std::int32_t SubjectCode() const { return source_.subject_code; }
    void SubjectCode(std::int32_t value) { source_.subject_code = value; }

    // All of these at once.
    void Source(PracticeSource value) { source_ = std::move(value); }

    // Shows the training history and returns when it is closed. Without a display nothing is shown, which is logged.
    void ShowUI();

    // The candidate wants the paper of a training again; `lblnBS` says that it was a written one. Comes while ShowUI is
    // about to return, with no window open.
    std::function<void(std::int32_t TrainID, bool lblnBS)> ReDoQuestionPaper;

private:
    PracticeSource source_;
};

// Lets TrainInfo::ShowDlg show the history window. A program that links all windows need not call it.
void InstallHistoryWindow();

}  // namespace qmtrain
