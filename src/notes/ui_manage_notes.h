// What a host creates to let a candidate manage notes.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "notes/notes_tree.h"

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
    const std::u16string& TotalPath() const { return source_.total_path; }
    void TotalPath(std::u16string_view value) { source_.total_path = value; }
    // The file of the local paper database (network edition).
    const std::u16string& LocalPaperPath() const { return source_.local_paper_path; }
    void LocalPaperPath(std::u16string_view value) { source_.local_paper_path = value; }
    bool IsNet() const { return source_.is_net; }
    void IsNet(bool value) { source_.is_net = value; }
    // Whose notes, in which subject; -1 means all.
    std::int32_t SubjectCode() const { return source_.subject_code; }
    void SubjectCode(std::int32_t value) { source_.subject_code = value; }
    std::int32_t UserId() const { return source_.user_id; }
    void UserId(std::int32_t value) { source_.user_id = value; }

    // Shows the notes manager and returns when it is closed. Without a display nothing is shown, which is logged.
    void ShowDlg();

private:
    notes::NotesSource source_;
};

}  // namespace qmtrain
