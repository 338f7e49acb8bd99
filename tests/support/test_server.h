// A PostgreSQL server of the tests' own: on the loopback address, in a folder of its own, run by somebody without
// rights, and gone with the process that has started it.
#pragma once

#include <memory>
#include <string>
#include <string_view>

namespace qmtrain::test {

class TestServer {
public:
    // The process's one, started on first use; null where the machine has not what it takes, and WhyNone() says what.
    static TestServer* Get();
    static const std::string& WhyNone();

    TestServer(const TestServer&) = delete;
    TestServer& operator=(const TestServer&) = delete;
    ~TestServer();

    // "ODBC;…" to a new, empty database of that name, for the user who owns it.
    std::u16string NewDatabase();

    // The same for another user of the database that NewDatabase() made last, or with other parts.
    std::u16string Connect(std::u16string_view user = u"exam", std::u16string_view password = u"secret;{}") const;

    // Runs statements as the server's owner in the database that was made last. Returns the rows, cells joined with
    // "|".
    std::string Psql(const std::string& statements) const;

    void Stop();
    void Start();
    int Port() const { return port_; }

private:
    TestServer() = default;
    bool SetUp(std::string& why);
    std::string Run(const std::string& command, bool& good) const;

    std::string programs_;  // where they are
    std::string folder_;
    std::string as_user_;  // what stands before each command
    int port_ = 0;
    int databases_ = 0;
    long process_ = 0;
};

}  // namespace qmtrain::test
