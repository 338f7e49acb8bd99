// Whose practice a window shows, and where the databases with it are.
#pragma once

#include <cstdint>
#include <string>

namespace qmtrain {

struct PracticeSource {
    std::u16string client_path;      // the folder of Client.mdb
    std::u16string data_mdb_path;    // the folder of the question banks (stand-alone edition)
    std::u16string local_paper_mdb;  // the file of the local paper database (network edition)
    bool is_net = false;
    std::int32_t user_id = -1;       // -1: all
    std::int32_t subject_code = -1;  // -1: all
};

}  // namespace qmtrain
