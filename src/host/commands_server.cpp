// qmtrain server: the client database on a PostgreSQL server.
#include <cstdio>
#include <filesystem>

#include "core/client_folder.h"
#include "core/error.h"
#include "core/files.h"
#include "core/text.h"
#include "dao/engine.h"
#include "dao/jet_database.h"
#include "dao/new_database.h"
#include "dao/odbc_server.h"
#include "host/commands.h"
#include "jet/database.h"
#include "records/server_tables.h"

namespace qmtrain::host {
namespace {

constexpr const char* kUsage =
    "用法：qmtrain server init|copy|link [文件夹] --connect \"ODBC;DRIVER={PostgreSQL "
    "Unicode};SERVER=…;DATABASE=…;UID=…\"\n"
    "\n"
    "  init           在服务器上建立表、键、索引和考试程序用的角色\n"
    "  copy 文件夹    把文件夹中 Client.mdb 的记录送到服务器，最后比较内容；可以重复执行\n"
    "  link 文件夹    在文件夹中建立链接到服务器的 Client.mdb；可以重复执行\n"
    "\n"
    "  --connect 文本 服务器；密码可以放在环境变量 QMTRAININFO_PASSWORD 或驱动程序的密码文件中\n"
    "  --role 名称    init：角色（默认 qmtrain_host）\n";

[[noreturn]] void Fail(std::u16string reason) {
    RaiseComponentError(u"qmtrain", std::move(reason));
}

struct ServerOptions {
    std::string command;
    std::u16string folder;
    std::u16string connect;
    std::u16string role = u"qmtrain_host";
};

ServerOptions Parse(const CommandWords& words) {
    ServerOptions options;
    for (std::size_t i = 1; i < words.size(); ++i) {
        const std::string& word = words[i];
        if (word == "--connect" || word == "--role") {
            if (i + 1 >= words.size()) Fail(FromUtf8(word) + u" 后面缺少内容。");
            (word == "--role" ? options.role : options.connect) = FromUtf8(words[++i]);
        } else if (word.starts_with("-")) {
            Fail(u"不认识的选项：" + FromUtf8(word));
        } else if (options.command.empty()) {
            options.command = word;
        } else if (options.folder.empty()) {
            options.folder = FromUtf8(word);
        } else {
            Fail(u"不认识的参数：" + FromUtf8(word));
        }
    }
    const bool init = options.command == "init";
    if (!init && options.command != "copy" && options.command != "link") {
        Fail(u"server 后面应当是 init、copy 或 link：" + FromUtf8(options.command));
    }
    if (init != options.folder.empty()) Fail(init ? u"init 不需要文件夹。" : u"请指明 Client.mdb 所在的文件夹。");
    if (!odbc::ConnectString::IsOdbc(options.connect)) Fail(u"--connect 后面应当是以“ODBC;”开头的连接文本。");
    return options;
}

void Copy(const ServerOptions& options, odbc::Connection& server) {
    RequireClientDatabase(options.folder);
    const auto client = dao::JetDatabase::Open(ClientDatabase(options.folder), true);
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
    const auto client = dao::JetDatabase::Open(file, false, nullptr, {}, {.write = true, .servers = true});
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
    if (words.size() == 1 || words[1] == "--help" || words[1] == "-h") {
        std::fputs(kUsage, stdout);
        return 0;
    }
    const ServerOptions options = Parse(words);
    odbc::ConnectString connect(options.connect);
    connect.SetDefault(u"UseDeclareFetch", u"1");  // tables of any size are read through
    const auto server = dao::ConnectTo(connect);
    if (options.command == "init") MakeServerTables(*server, options.role);
    if (options.command == "copy") Copy(options, *server);
    if (options.command == "link") Link(options);
    return 0;
}

}  // namespace qmtrain::host
