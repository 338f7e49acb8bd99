// A subject of the examination: its descriptions.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace qmtrain {

class SubjectInfo {
public:
    const std::u16string& Brief() const { return brief_; }
    void Brief(std::u16string_view value) { brief_ = value; }
    const std::u16string& StudentKnow() const { return student_know_; }
    void StudentKnow(std::u16string_view value) { student_know_ = value; }
    const std::u16string& Description() const { return description_; }
    void Description(std::u16string_view value) { description_ = value; }

    // The number as text, unlike every other subject code. Raises TypeMismatch for a text that is no number.
    std::u16string SubjectCode() const;
    void SubjectCode(std::u16string_view value);

    // The folder of the client database, stored as given. Raises the component's error when it holds none.
    const std::u16string& ClientPath() const { return client_path_; }
    void ClientPath(std::u16string_view value);

    // Loads the subject; without such a row nothing changes. A failure is logged, and what was read before it stays.
    void Init(std::int32_t nSubjectCode) { Load(nSubjectCode); }

private:
    void Load(std::int32_t subject_code);

    std::u16string brief_;
    std::int32_t subject_code_ = -1;
    std::u16string client_path_;
    std::u16string student_know_;
    std::u16string description_;
};

}  // namespace qmtrain
