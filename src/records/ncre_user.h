// A candidate: name and examination number.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace qmtrain {

class NCREUser {
public:
    const std::u16string& UserExameID() const { return exam_id_; }
    void UserExameID(std::u16string_view value) { exam_id_ = value; }
    const std::u16string& UserName() const { return name_; }
    void UserName(std::u16string_view value) { name_ = value; }
    std::int32_t UserId() const { return user_id_; }
    void UserId(std::int32_t value) { user_id_ = value; }

    // The folder of the client database, stored as given. Raises the component's error when it holds none.
    const std::u16string& ClientPath() const { return client_path_; }
    void ClientPath(std::u16string_view value);

    // Loads the candidate; without such a row nothing changes. Untrapped: whatever fails reaches the caller.
    void Init(std::int32_t nUserId) { Load(nUserId); }

private:
    void Load(std::int32_t user_id);

    std::u16string exam_id_;
    std::u16string name_;
    std::int32_t user_id_ = 0;
    std::u16string client_path_;
};

}  // namespace qmtrain
