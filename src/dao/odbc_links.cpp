#include "dao/odbc_links.h"

#include <algorithm>

#include "core/error.h"
#include "core/text.h"
#include "dao/jet_columns.h"
#include "dao/odbc_table.h"

namespace qmtrain::dao {
namespace {

jet::TableSpec SpecOf(std::u16string_view name, const odbc::TableDescription& table) {
    jet::TableSpec spec{.name = std::u16string(name)};
    bool counted = false;
    for (const odbc::ServerColumn& column : table.columns) {
        Column made{.name = column.name,
                    .type = column.type,
                    .size = column.size,
                    .precision = column.precision,
                    .scale = column.scale,
                    .autonumber = column.autonumber && !counted,
                    .required = column.required};
        counted = counted || column.autonumber;
        spec.columns.push_back(std::move(made));
    }
    jet::IndexSpec key{.name = table.key_name.empty() ? u"Key" : table.key_name, .unique = true, .primary = true};
    for (const std::size_t at : table.key) {
        const odbc::ServerColumn& column = table.columns[at];
        key.columns.push_back({column.name});
    }
    if (!key.columns.empty()) spec.indexes.push_back(std::move(key));
    return spec;
}

void AppendShort(Bytes& bytes, std::uint32_t number) {
    bytes.push_back(static_cast<std::uint8_t>(number));
    bytes.push_back(static_cast<std::uint8_t>(number >> 8));
}

// Type, size and scale of each column, as ODBC has them.
Bytes RemoteColumnsOf(const odbc::TableDescription& table) {
    Bytes bytes;
    for (const odbc::ServerColumn& column : table.columns) {
        AppendShort(bytes, static_cast<std::uint16_t>(column.odbc_type));
        AppendShort(bytes, std::min<std::uint32_t>(column.odbc_size, 0xFFFF));
        AppendShort(bytes, static_cast<std::uint16_t>(column.odbc_scale));
    }
    return bytes;
}

// The columns that hold finer times than are read, as far as the file tells it.
std::vector<bool> FineTimesOf(const Bytes& remote_columns, std::size_t columns) {
    constexpr std::size_t kSize = 6;
    constexpr std::size_t kScale = 4;
    std::vector<bool> fine(columns);
    if (remote_columns.size() != columns * kSize) return fine;
    const auto number = [&](std::size_t at) {
        return static_cast<std::int16_t>(remote_columns[at] | remote_columns[at + 1] << 8);
    };
    for (std::size_t i = 0; i < columns; ++i) fine[i] = odbc::IsFineTime(number(i * kSize), number(i * kSize + kScale));
    return fine;
}

}  // namespace

// ---- what there is ----

bool OdbcLinks::Any() {
    any_ = !database_.OdbcLinks().empty();
    return any_;
}

void OdbcLinks::Close() {
    links_.clear();
    std::vector<KnownServer> left;  // a server may have to be waited for, and nobody else with it
    const std::scoped_lock lock(servers_mutex_);
    left.swap(servers_);
    has_servers_ = false;
}

bool OdbcLinks::HasOnlyLinks() {
    return Any() && std::ranges::none_of(database_.Objects(), [](const jet::CatalogObject& object) {
               return object.IsUserTable() && object.type != jet::CatalogObject::kLinkedOdbc;
           });
}

const jet::CatalogObject* OdbcLinks::Find(std::u16string_view name) {
    const std::vector<jet::CatalogObject>& links = database_.OdbcLinks();
    const auto found =
        std::ranges::find_if(links, [&](const jet::CatalogObject& link) { return EqualNames(link.name, name); });
    return found == links.end() ? nullptr : &*found;
}

odbc::ConnectString OdbcLinks::WithLogin(odbc::ConnectString connect) const {
    if (login_) connect.Complete(*login_);
    return connect;
}

std::shared_ptr<OdbcServer> OdbcLinks::ServerFor(const odbc::ConnectString& connect) {
    const std::u16string text = connect.Text();
    const std::scoped_lock lock(servers_mutex_);
    auto known = std::ranges::find(servers_, text, &KnownServer::connect);
    if (known == servers_.end()) {
        servers_.push_back({text, OdbcServer::Of(WithLogin(connect), database_.SharedSession())});
        has_servers_ = true;
        known = servers_.end() - 1;
    }
    Prepare(*known->server);
    return known->server;
}

std::shared_ptr<OdbcLink> OdbcLinks::Load(const jet::CatalogObject& object) {
    const odbc::ConnectString connect(object.connect);
    if (!rights_.servers && !(login_ && odbc::ConnectString(connect).Complete(*login_))) {
        Raise(
            ErrorNumber::OperationNotSupported,
            {u"链接表“" + object.name + u"”在数据库服务器上，而没有允许链接到服务器（QMTRAININFO_SERVER_LINKS=on）。"});
    }
    const auto definition = database_.LinkDefinition(object);
    const Layout layout(*definition);
    std::vector<bool> fine = FineTimesOf(object.remote_columns, layout.columns.size());
    std::vector<std::size_t> key;
    for (const sql::Index& index : layout.indexes) {
        if (!index.unique || !key.empty()) continue;
        for (const sql::IndexColumn& part : index.columns) key.push_back(part.column);
        // A link may have been made before this counted.
        if (std::ranges::any_of(key, [&](std::size_t column) { return fine[column]; })) key.clear();
    }
    auto link = std::make_shared<OdbcLink>(object.foreign_name, layout.columns, std::move(key));
    link->FineTimes(std::move(fine));
    link->name = object.name;
    link->id = object.id;
    link->connect = object.connect;
    link->server = ServerFor(connect);
    return link;
}

std::shared_ptr<OdbcLink> OdbcLinks::FindLink(std::u16string_view name) {
    const jet::CatalogObject* object = Find(name);
    if (object == nullptr) return nullptr;
    const auto is_it = [&](const std::shared_ptr<OdbcLink>& link) {
        return link->name == object->name && link->id == object->id && link->connect == object->connect &&
               link->source == object->foreign_name;
    };
    const auto known = std::ranges::find_if(links_, is_it);
    if (known != links_.end()) {
        Prepare(*(*known)->server);
        return *known;
    }
    std::erase_if(links_, [&](const auto& link) { return EqualNames(link->name, name); });
    links_.push_back(Load(*object));
    return links_.back();
}

std::shared_ptr<sql::Table> OdbcLinks::FindTable(std::u16string_view name) {
    auto link = FindLink(name);
    return link == nullptr
               ? nullptr
               : std::make_shared<OdbcTable>(std::move(link), odbc::Request{AliasText(), {}}, Extent::Whole);
}

std::uint64_t OdbcLinks::Changes() {
    if (!has_servers_) return 0;
    const std::scoped_lock lock(servers_mutex_);
    std::uint64_t changes = 0;
    for (const KnownServer& known : servers_) changes += known.server->Changes();
    return changes;
}

void OdbcLinks::Cancel() noexcept {
    const std::scoped_lock lock(servers_mutex_);
    for (const KnownServer& known : servers_) known.server->Cancel(this);
}

// ---- making them ----

// A connection that has waited for a while may have been lost meanwhile; then those beside it are gone, too.
odbc::TableDescription OdbcLinks::Describe(const odbc::ConnectString& connect, std::u16string_view table) const {
    for (bool again = false;; again = true) {
        const auto server = ConnectTo(connect);
        server->TimeLimit(time_limit_);
        try {
            return server->Describe(table);
        } catch (const AutomationError& error) {
            if (again || server->IsAlive() || error.Is(ErrorNumber::OperationCancelled)) throw;
        }
    }
}

void OdbcLinks::Create(std::u16string_view name, std::u16string_view connect, std::u16string_view source_table,
                       bool save_password, bool replace) {
    odbc::ConnectString stored(connect);
    const odbc::TableDescription table = Describe(WithLogin(stored), source_table);
    const auto password = stored.TakePassword();
    const bool saved = save_password && password;
    if (saved) stored.Set(u"PWD", *password);
    const std::u16string source = table.schema.empty() ? table.name : table.schema + u"." + table.name;
    jet::Database::Writing writing(database_);
    if (replace) database_.DropTable(name);
    database_.CreateOdbcLink(SpecOf(name, table), stored.Text(), source, saved, RemoteColumnsOf(table));
    writing.Commit();
    links_.clear();
    odbc::PreparedStatements::OutdateAll();
}

void OdbcLinks::Refresh(std::u16string_view name, std::u16string_view connect) {
    jet::CatalogObject object;
    {
        const jet::Database::Reading reading(database_);
        const jet::CatalogObject* found = Find(name);
        if (found == nullptr) Raise(ErrorNumber::NoSuchTable, {name});
        object = *found;
    }
    const bool saved = (object.flags & jet::CatalogObject::kSavedPasswordFlag) != 0;
    Create(object.name, connect.empty() ? object.connect : connect, object.foreign_name, saved, true);
}

}  // namespace qmtrain::dao
