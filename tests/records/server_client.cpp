// The tests' client database on a server: its file has links, and everything else stays as it is.

#include <cstdio>
#include <cstdlib>

#include "odbc/connection.h"
#include "records/client_fixture.h"
#include "records/server_tables.h"
#include "support/test_server.h"

namespace qmtrain::test {
namespace {

void MakeServerClient(const std::u16string& folder) {
    TestServer* server = TestServer::Get();
    if (server == nullptr) {
        constexpr int kSkipped = 77;
        std::printf("skipped: %s\n", TestServer::WhyNone().c_str());
        std::exit(kSkipped);
    }
    const std::u16string owner = server->NewDatabase();
    // Candidates come as a user who has no more than the role's rights.
    server->Psql(
        "DO $$ BEGIN IF NOT EXISTS (SELECT FROM pg_roles WHERE rolname = 'student') THEN "
        "CREATE ROLE qmtrain_host NOLOGIN; CREATE ROLE student LOGIN PASSWORD 'student' IN ROLE qmtrain_host; "
        "END IF; END $$");
    MakeServerTables(*odbc::Connection::Open(odbc::ConnectString(owner)));
    setenv("QMTRAININFO_PASSWORD", "student", 1);
    const auto client = dao::JetDatabase::Create(ClientDatabase(folder));
    LinkServerTables(*client, server->Connect(u"student", u"student"));
}

const bool registered = [] {
    ServerClientMaker() = &MakeServerClient;
    dao::Engine::OwnUse use = dao::Engine::Instance().GetOwnUse();
    use.links.servers = true;
    dao::Engine::Instance().SetOwnUse(use);
    return true;
}();

}  // namespace
}  // namespace qmtrain::test
