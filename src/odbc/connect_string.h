// Connection strings of ODBC: "DRIVER={PostgreSQL Unicode};SERVER=db;UID=exam", parts KEY=value between semicolons. A
// value in braces may hold anything; a closing brace in it stands twice.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace qmtrain::odbc {

class ConnectString {
public:
    // With or without "ODBC;" before it.
    explicit ConnectString(std::u16string_view text);

    // Whether a link's connection string is meant for ODBC.
    static bool IsOdbc(std::u16string_view connect);

    // Keys without regard to case.
    std::optional<std::u16string> Get(std::u16string_view key) const;
    void Set(std::u16string_view key, std::u16string_view value);

    // Only where the key is not there yet.
    void SetDefault(std::u16string_view key, std::u16string_view value);

    // Takes user and password from a login. False when it is meant for another place: what it says of the place is not
    // what is said here, or it is somebody else's.
    bool Complete(const ConnectString& login);

    // Takes the password out; nothing when there was none.
    std::optional<std::u16string> TakePassword();

    // Where it leads, for messages: never with a password.
    std::u16string Place() const;

    // Without "ODBC;".
    std::u16string Text() const;

private:
    struct Part {
        std::u16string key;
        std::u16string value;
    };

    const Part* Find(std::u16string_view key) const;

    std::vector<Part> parts_;
};

}  // namespace qmtrain::odbc
