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

    // One more, for a test that would disturb the others.
    static std::unique_ptr<TestServer> Another();
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

    // As if its machine had lost power, but for the disk's cache.
    void Stop();
    void Start();

    // Another one that follows it, and takes part in every commit from now on. It becomes a server of its own with
    // Promote(), and is gone with the object.
    std::unique_ptr<TestServer> Follow();
    void Promote();

    // Takes TLS from now on, with a certificate for "localhost" of an authority of its own, and nothing else from
    // others. Returns the authority's certificate.
    std::string UseTls();
    int Port() const { return port_; }

    // The name of the database that was made last.
    std::string Database() const { return "db" + std::to_string(databases_); }

private:
    TestServer() = default;
    bool SetUp(std::string& why);
    std::string Run(const std::string& command, bool& good) const;
    void MustRun(const std::string& command) const;

    std::string programs_;  // where they are
    std::string folder_;
    std::string as_user_;  // what stands before each command
    int port_ = 0;
    int databases_ = 0;
    long process_ = 0;
};

}  // namespace qmtrain::test
