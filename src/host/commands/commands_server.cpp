// qmtrain server: the client database on a PostgreSQL server.
#include <chrono>
#include <cstdio>
#include <filesystem>

#include "bank/client_folder.h"
#include "core/error.h"
#include "core/files.h"
#include "core/text.h"
#include "dao/engine.h"
#include "dao/jet_database.h"
#include "dao/new_database.h"
#include "dao/odbc_server.h"
#include "host/commands/command_line.h"
#include "host/commands/commands.h"
#include "jet/database.h"
#include "records/server_tables.h"

namespace qmtrain::host {
namespace {

[[noreturn]] void Fail(std::u16string reason) {
    RaiseComponentError(u"qmtrain", std::move(reason));
}

// A statement sends or reads some rows: one that takes longer is waiting for a lock.
constexpr std::chrono::seconds kLongest{60};

struct ServerOptions {
    std::string command;
    std::u16string folder;
    std::u16string connect;
    std::u16string role = u"qmtrain_host";
    std::string help;
};

ServerOptions Parse(const CommandWords& words) {
    ServerOptions options;
    std::string folder;
    std::string connect;
    std::string role;
    CLI::App app("把考生数据库放到 PostgreSQL 服务器上；每个命令都可以重复执行", "qmtrain server");
    app.require_subcommand(1);
    const auto add = [&](const char* name, const char* description) {
        CLI::App* command = app.add_subcommand(name, description);
        command
            ->add_option("--connect", connect,
                         "服务器：\"ODBC;DRIVER={PostgreSQL Unicode};SERVER=…;DATABASE=…;UID=…\"；"
                         "密码可以放在环境变量 QMTRAININFO_PASSWORD 或驱动程序的密码文件中")
            ->type_name("文字")
            ->required()
            ->take_last();
        return command;
    };
    add("init", "在服务器上建立表、键、索引和考试程序用的角色")
        ->add_option("--role", role, "角色（默认 qmtrain_host）")
        ->type_name("名称")
        ->take_last();
    for (CLI::App* command : {add("copy", "把文件夹中 Client.mdb 的记录送到服务器，最后比较内容"),
                              add("link", "在文件夹中建立链接到服务器的 Client.mdb")}) {
        command->add_option("文件夹", folder, "Client.mdb 所在的文件夹")->type_name("")->required();
    }
    options.help = ParseWords(app, {words.begin() + 1, words.end()}).value_or("");
    if (!options.help.empty()) return options;
    options.command = app.get_subcommands().front()->get_name();
    options.folder = FromUtf8(folder);
    options.connect = FromUtf8(connect);
    if (!role.empty()) options.role = FromUtf8(role);
    if (!odbc::ConnectString::IsOdbc(options.connect)) Fail(u"--connect 后面应当是以“ODBC;”开头的连接文本。");
    return options;
}

void Copy(const ServerOptions& options, odbc::Connection& server) {
    RequireClientDatabase(options.folder);
    const auto client = dao::JetDatabase::Open(ClientDatabase(options.folder), {.read_only = true});
    CopyToServer(*client, server, [](std::u16string_view table, std::int64_t rows) {
        std::printf("%s：%lld 行\n", ToUtf8(table).c_str(), static_cast<long long>(rows));
        std::fflush(stdout);
    });
    std::fputs("服务器上的记录与文件相同。\n", stdout);
}

// The file is new, or holds nothing but links to servers.
void Link(const ServerOptions& options) {
    const std::u16string file = ClientDatabase(options.folder);
    std::error_code failed;
    std::filesystem::create_directories(ToNativePath(options.folder), failed);
    if (failed) Raise(ErrorNumber::InvalidPath, {options.folder});
    if (!FileExists(file)) {
        return dao::MakeDatabase(file, {}, [&](dao::Database& made) {
            LinkServerTables(static_cast<dao::JetDatabase&>(made), options.connect);
        });
    }
    const auto client = dao::JetDatabase::Open(file, {.links = {.write = true, .servers = true}});
    for (const dao::TableDef& table : client->TableDefs()) {
        if (table.system || table.linked) continue;
        Fail(u"“" + file + u"”有自己的表。请先用 copy 把记录送到服务器，再把它改名。");
    }
    jet::Database::Writing writing(client->Storage());
    LinkServerTables(*client, options.connect);
    writing.Commit();
}

}  // namespace

int ServerCommand(const CommandWords& words) {
    const ServerOptions options = Parse(words);
    if (!options.help.empty()) {
        std::fputs(options.help.c_str(), stdout);
        return 0;
    }
    const auto server = dao::ConnectTo(odbc::ConnectString(options.connect));
    server->TimeLimit(kLongest);
    if (options.command == "init") MakeServerTables(*server, options.role);
    if (options.command == "copy") Copy(options, *server);
    if (options.command == "link") Link(options);
    return 0;
}

}  // namespace qmtrain::host
