// A kind of question: its display name and the program that is started to work on it.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace qmtrain {

class QuestionType {
public:
    const std::u16string& AppExeName() const { return app_exe_name_; }
    void AppExeName(std::u16string_view value) { app_exe_name_ = value; }
    const std::u16string& Description() const { return description_; }
    void Description(std::u16string_view value) { description_ = value; }
    std::int32_t TypeCode() const { return type_code_; }
    void TypeCode(std::int32_t value) { type_code_ = value; }

    // The folder of the client database, stored as given. Raises the component's error when it holds none.
    const std::u16string& ClientPath() const { return client_path_; }
    void ClientPath(std::u16string_view value);

    // Loads the kind; TypeCode stays -1 when there is none or the load failed, which is logged.
    void Init(std::int32_t nTypeID);

private:
    void LoadFromID(std::int32_t type_id);

    std::u16string app_exe_name_;
    std::u16string description_;
    std::u16string client_path_;
    std::int32_t type_code_ = 0;
};

}  // namespace qmtrain
