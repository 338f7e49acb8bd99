#include "support/test_server.h"

#include <array>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <random>
#include <stdexcept>

#include <arpa/inet.h>
#include <dlfcn.h>
#include <netinet/in.h>
#include <pwd.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include "core/text.h"

namespace qmtrain::test {
namespace {

std::string why_none;

// Nobody else gets it in the next moments, most likely. The driver's field for ports has room for two of four digits.
int FreePort() {
    constexpr int kFirst = 5500;
    constexpr int kCount = 4000;
    std::minstd_rand random(static_cast<unsigned>(getpid()));
    for (int tries = 0; tries < kCount; ++tries) {
        const int port = kFirst + static_cast<int>(random() % kCount);
        const int handle = socket(AF_INET, SOCK_STREAM, 0);
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        address.sin_port = htons(static_cast<std::uint16_t>(port));
        const bool bound = bind(handle, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0;
        close(handle);
        if (bound) return port;
    }
    throw std::runtime_error("no free port");
}

std::string FindPrograms() {
    std::error_code none;
    for (const auto& version : std::filesystem::directory_iterator("/usr/lib/postgresql", none)) {
        if (std::filesystem::exists(version.path() / "bin/initdb")) return (version.path() / "bin/").string();
    }
    return {};
}

// In the shell's quotes.
std::string Quoted(const std::string& text) {
    std::string quoted = "'";
    for (const char c : text) quoted += c == '\'' ? std::string("'\\''") : std::string(1, c);
    return quoted + "'";
}

}  // namespace

std::unique_ptr<TestServer> TestServer::Another() {
    std::unique_ptr<TestServer> made(new TestServer);
    if (!made->SetUp(why_none)) made.reset();
    return made;
}

TestServer* TestServer::Get() {
    static const std::unique_ptr<TestServer> server = Another();
    return server.get();
}

const std::string& TestServer::WhyNone() {
    return why_none;
}

bool TestServer::SetUp(std::string& why) {
    process_ = getpid();
    programs_ = FindPrograms();
    if (programs_.empty()) return why = "PostgreSQL is not installed (package postgresql)", false;
    if (dlopen("libodbc.so.2", RTLD_LAZY) == nullptr)
        return why = "unixODBC is not installed (package unixodbc)", false;
    std::ifstream drivers("/etc/odbcinst.ini");
    const std::string known((std::istreambuf_iterator<char>(drivers)), {});
    if (known.find("[PostgreSQL Unicode]") == std::string::npos) {
        return why = "PostgreSQL's ODBC driver is not installed (package odbc-postgresql)", false;
    }
    if (geteuid() == 0) {
        const std::string user = getpwnam("postgres") != nullptr ? "postgres" : "nobody";
        as_user_ = "setpriv --reuid=" + user + " --regid=" + std::to_string(getpwnam(user.c_str())->pw_gid) +
                   " --clear-groups ";
    }
    bool good = false;
    folder_ = Run("mktemp -d /tmp/qmtrain-server-XXXXXX", good);
    while (!folder_.empty() && folder_.back() == '\n') folder_.pop_back();
    if (!good) return why = "no folder for PostgreSQL", false;
    const std::string said =
        Run(programs_ + "initdb -D " + folder_ + "/data -U owner -A trust --no-sync -E UTF8 " + "--locale=C.UTF-8 2>&1",
            good);
    if (!good) return why = "initdb: " + said, false;
    // The server's owner comes through the socket in the folder, everybody else with a password.
    Run("sh -c 'printf \"local all,replication owner trust\\nhost all all 127.0.0.1/32 scram-sha-256\\n\" > " +
            folder_ + "/data/pg_hba.conf'",
        good);
    port_ = FreePort();
    Start();
    Psql("CREATE ROLE exam LOGIN PASSWORD 'secret;{}'");
    return true;
}

TestServer::~TestServer() {
    if (process_ != getpid() || folder_.empty()) return;  // a process that was forked
    Stop();
    bool good = false;
    Run("rm -rf " + folder_, good);
}

std::string TestServer::Run(const std::string& command, bool& good) const {
    std::string output;
    std::FILE* pipe = popen(("cd / && " + as_user_ + command).c_str(), "r");
    if (pipe == nullptr) return good = false, output;
    std::array<char, 4096> piece;
    std::size_t read = 0;
    while ((read = std::fread(piece.data(), 1, piece.size(), pipe)) > 0) output.append(piece.data(), read);
    good = pclose(pipe) == 0;
    return output;
}

void TestServer::Start() {
    bool good = false;
    const std::string said = Run(programs_ + "pg_ctl -w -D " + folder_ + "/data -l " + folder_ + "/log -o " +
                                     Quoted("-p " + std::to_string(port_) +
                                            " -c listen_addresses=127.0.0.1 -c fsync=off -c max_connections=300 " +
                                            "-c unix_socket_directories=" + folder_) +
                                     " start > " + "/dev/null 2>&1",
                                 good);
    if (!good) throw std::runtime_error("PostgreSQL does not start " + said);
}

void TestServer::Stop() {
    bool good = false;
    Run(programs_ + "pg_ctl -w -D " + folder_ + "/data -m immediate stop > /dev/null 2>&1", good);
}

void TestServer::MustRun(const std::string& command) const {
    bool good = false;
    const std::string said = Run("sh -c " + Quoted("exec 2>&1; " + command), good);
    if (!good) throw std::runtime_error(command + ": " + said);
}

std::unique_ptr<TestServer> TestServer::Follow() {
    std::unique_ptr<TestServer> other(new TestServer);
    other->process_ = process_;
    other->programs_ = programs_;
    other->as_user_ = as_user_;
    other->databases_ = databases_;
    other->folder_ = folder_ + "-standby";
    other->port_ = FreePort();
    MustRun("mkdir " + other->folder_ + " && " + programs_ + "pg_basebackup -h " + folder_ + " -p " +
            std::to_string(port_) + " -U owner -D " + other->folder_ + "/data -R -X stream -c fast --no-sync");
    other->Start();
    // Only when it is there: nobody else could commit.
    Psql("ALTER SYSTEM SET synchronous_standby_names = '*'");
    Psql("SELECT pg_reload_conf()");
    return other;
}

void TestServer::Promote() {
    MustRun(programs_ + "pg_ctl promote -w -D " + folder_ + "/data > /dev/null");
    Psql("ALTER SYSTEM RESET synchronous_standby_names");
    Psql("SELECT pg_reload_conf()");
}

std::string TestServer::UseTls() {
    MustRun("cd " + folder_ +
            " && openssl req -x509 -newkey rsa:2048 -nodes -days 2 -subj '/CN=Test Authority' -keyout ca.key -out "
            "ca.crt && openssl req -newkey rsa:2048 -nodes -subj /CN=localhost -addext "
            "subjectAltName=DNS:localhost -keyout data/server.key -out server.csr && openssl x509 -req -in server.csr "
            "-CA ca.crt -CAkey ca.key -CAcreateserial -days 2 -copy_extensions copy -out data/server.crt && chmod 600 "
            "data/server.key && chmod 755 . && chmod 644 ca.crt && printf 'local all,replication owner trust\nhostssl "
            "all all 127.0.0.1/32 scram-sha-256\n' > data/pg_hba.conf");
    Psql("ALTER SYSTEM SET ssl = on");
    Psql("SELECT pg_reload_conf()");
    return folder_ + "/ca.crt";
}

std::string TestServer::Psql(const std::string& statements) const {
    const std::string database = databases_ == 0 ? "postgres" : "db" + std::to_string(databases_);
    bool good = false;
    std::string output = Run(programs_ + "psql -h " + folder_ + " -p " + std::to_string(port_) + " -U owner -d " +
                                 database + " -qAt -v ON_ERROR_STOP=1 -c " + Quoted(statements) + " 2>&1",
                             good);
    if (!good) throw std::runtime_error("psql: " + output);
    while (!output.empty() && output.back() == '\n') output.pop_back();
    return output;
}

std::u16string TestServer::NewDatabase() {
    Psql("CREATE DATABASE db" + std::to_string(databases_ + 1) + " OWNER exam");
    ++databases_;
    return Connect();
}

std::u16string TestServer::Connect(std::u16string_view user, std::u16string_view password) const {
    std::u16string quoted;
    for (const char16_t unit : password) quoted.append(unit == u'}' ? 2 : 1, unit);
    return u"ODBC;DRIVER={PostgreSQL Unicode};SERVER=127.0.0.1;PORT=" + ToText(port_) + u";DATABASE=db" +
           ToText(databases_) + u";UID=" + std::u16string(user) + u";PWD={" + quoted + u"}";
}

}  // namespace qmtrain::test
