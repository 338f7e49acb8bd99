// What lists show of questions: the beginnings of their stems, the names of their banks and types.
//
// Banks are opened once, when the first of their questions is asked for; of one that cannot be read nothing is known.
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "dao/dao.h"
#include "host/data/data_folder.h"
#include "host/papers/papers.h"

namespace qmtrain::host {

class QuestionSource {
public:
    QuestionSource(DataFolder folder, Edition edition);

    // In one line; empty when the question is not there.
    std::u16string Title(std::int32_t subject, std::u16string_view data_code, std::u16string_view rec_no);

    // The bank's description, or its code when the catalogue has none.
    std::u16string BankName(std::int32_t subject, std::u16string_view data_code);

    // As the paper review calls it.
    std::u16string TypeName(std::int32_t subject, std::int32_t type, std::int32_t distin);

    // Stem, options, standard answer; raises the component's error with the reason.
    QuestionContent Load(std::int32_t subject, std::u16string_view data_code, std::u16string_view rec_no) const;

    const DataFolder& Folder() const { return folder_; }
    Edition GetEdition() const { return edition_; }

private:
    struct Bank {
        std::u16string name;
        std::unique_ptr<dao::Connection> database;        // none: it cannot be read
        std::map<std::u16string, std::u16string> tables;  // by their two letters
    };
    Bank& BankOf(std::int32_t subject, std::u16string_view data_code);

    DataFolder folder_;
    Edition edition_;
    std::map<std::pair<std::int32_t, std::u16string>, Bank> banks_;
    std::map<std::pair<std::int32_t, std::int32_t>, std::u16string> type_styles_;
    bool types_read_ = false;
};

}  // namespace qmtrain::host
