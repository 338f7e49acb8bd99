// An entry of the question-bank catalogue: the bank's description and the file that holds its questions.
//
// IsNet first, then LocalMdbPath and TotalPath, then InitDb, then any number of loads.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "dao/dao.h"

namespace qmtrain {

class DataInfo {
public:
    // The network edition: the catalogue lies in the local paper database.
    bool IsNet() const { return is_net_; }
    void IsNet(bool value) { is_net_ = value; }

    // The folder of the question banks, stored as given; ignored in the network edition. Raises the component's error
    // when it holds no Total.mdb.
    const std::u16string& TotalPath() const { return total_path_; }
    void TotalPath(std::u16string_view value);

    // The local paper database; ignored in the stand-alone edition. Raises the component's error when it is missing.
    const std::u16string& LocalMdbPath() const { return local_mdb_path_; }
    void LocalMdbPath(std::u16string_view value);

    const std::u16string& DataCode() const { return data_code_; }
    void DataCode(std::u16string_view value) { data_code_ = value; }
    const std::u16string& Description() const { return description_; }
    void Description(std::u16string_view value) { description_ = value; }
    const std::u16string& MdbName() const { return mdb_name_; }
    void MdbName(std::u16string_view value) { mdb_name_ = value; }
    std::int32_t SubjectCode() const { return subject_code_; }
    void SubjectCode(std::int32_t value) { subject_code_ = value; }

    // Opens the catalogue; true at once when one is open. A failure is logged.
    bool InitDb();

    // Loads a bank's entry; false, with everything unchanged, when there is none. The subject counts in the network
    // edition only. A failure is logged.
    bool LoadFromDataCode(std::u16string_view strDataCode, std::int32_t nSubjectCode);

private:
    std::u16string total_path_;
    std::u16string local_mdb_path_;
    bool is_net_ = false;
    std::u16string data_code_;
    std::u16string description_;
    std::u16string mdb_name_;
    std::int32_t subject_code_ = 0;
    dao::Connection catalogue_;
};

}  // namespace qmtrain
