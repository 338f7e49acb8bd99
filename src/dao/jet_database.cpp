#include "dao/jet_database.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <map>
#include <mutex>
#include <random>
#include <thread>

#include "core/error.h"
#include "core/files.h"
#include "core/text.h"
#include "dao/jet_catalog.h"
#include "dao/jet_recordset.h"
#include "dao/odbc_links.h"
#include "dao/row_source.h"
#include "jet/code_page_text.h"
#include "jet/database.h"
#include "sql/sql.h"

namespace qmtrain::dao {
namespace {

// A transaction of the session, undone when it is not committed.
class SessionTransaction {
public:
    explicit SessionTransaction(jet::Database& storage) : storage_(storage) { storage_.BeginTransaction(); }
    SessionTransaction(const SessionTransaction&) = delete;
    SessionTransaction& operator=(const SessionTransaction&) = delete;
    ~SessionTransaction() {
        if (open_) storage_.RollbackTransaction();
    }
    void Commit() {
        open_ = false;
        storage_.CommitTransaction();
    }

private:
    jet::Database& storage_;
    bool open_ = true;
};

// The server refuses the change when a conflicting one was committed first: then it is tried again, unless a
// transaction around it has already read the old state.
void AtomicallyOnServers(jet::Database& storage, const std::function<void()>& body) {
    constexpr int kMostTries = 50;
    constexpr int kLongestPause = 20;  // milliseconds, of the first one
    std::minstd_rand random(std::random_device{}());
    for (int tries = 1;; ++tries) {
        bool alone = false;
        try {
            const auto lock = storage.SharedSession()->Lock();  // another thread's levels would mix with these
            alone = !storage.SharedSession()->IsInTransaction();
            SessionTransaction transaction(storage);
            body();
            transaction.Commit();
            return;
        } catch (const AutomationError& error) {
            if (!error.Is(ErrorNumber::RecordChanged) || !alone || tries == kMostTries) throw;
        }
        const int longest = kLongestPause * std::min(tries, 10);
        std::this_thread::sleep_for(std::chrono::milliseconds(std::uniform_int_distribution<>(0, longest)(random)));
    }
}

// By file. Kept until the process ends: those who have logged in stay so.
class ServerLogins {
public:
    void Set(const std::filesystem::path& file, std::u16string_view connect) {
        const std::scoped_lock lock(mutex_);
        logins_[file] = connect;
        any_ = true;
    }
    bool Any() const { return any_; }
    std::u16string Get(const std::filesystem::path& file) {
        const std::scoped_lock lock(mutex_);
        const auto known = logins_.find(file);
        return known == logins_.end() ? std::u16string() : known->second;
    }

private:
    std::mutex mutex_;
    std::map<std::filesystem::path, std::u16string> logins_;
    std::atomic<bool> any_ = false;
};

ServerLogins& Logins() {
    static ServerLogins logins;
    return logins;
}

// Independent of the path by which it was opened.
std::filesystem::path TrueName(const std::filesystem::path& file) {
    std::error_code failed;
    std::filesystem::path name = std::filesystem::canonical(file, failed);
    return failed ? file : name;
}

jet::PagerOptions StorageOptions(const DatabaseOptions& options) {
    return {.read_only = options.read_only,
            .exclusive = options.exclusive,
            .durable = options.durable,
            .password = options.password,
            .system = options.files,
            .session = options.session,
            .links_read_only = !options.links.write,
            .links_in_network = options.links.network};
}

// Whether a text may be meant as a name: statements have characters that few names have.
bool LooksLikeName(std::u16string_view text) {
    return !text.empty() && text.size() <= jet::kMaxNameLength && text.find_first_of(u"*,;()='\"") == text.npos;
}

}  // namespace

std::filesystem::path DatabaseFile(std::u16string_view name) {
    std::filesystem::path path = ToNativePath(name);
    std::error_code ignored;
    return std::filesystem::is_directory(path, ignored) ? ToNativePath(InFolder(name, u"Total.mdb")) : path;
}

JetDatabase::JetDatabase(std::u16string name, std::unique_ptr<jet::Database> storage, LinkRights links)
    : name_(std::move(name)),
      storage_(std::move(storage)),
      links_(std::make_unique<OdbcLinks>(*storage_, links)),
      catalog_(std::make_unique<JetCatalog>(*storage_, *links_)) {}

JetDatabase::~JetDatabase() = default;

std::shared_ptr<JetDatabase> JetDatabase::Open(std::u16string_view name, const DatabaseOptions& options) {
    auto database = std::make_shared<JetDatabase>(
        std::u16string(name), jet::Database::Open(DatabaseFile(name), StorageOptions(options)), options.links);
    if (Logins().Any()) {
        const std::u16string login = Logins().Get(TrueName(DatabaseFile(name)));
        if (!login.empty()) database->links_->Login(login);
    }
    return database;
}

std::shared_ptr<JetDatabase> JetDatabase::Create(std::u16string_view name, const jet::NewDatabase& settings,
                                                 const DatabaseOptions& options) {
    return std::make_shared<JetDatabase>(std::u16string(name),
                                         jet::Database::Create(ToNativePath(name), settings, StorageOptions(options)),
                                         options.links);
}

jet::Database& JetDatabase::Storage() {
    if (!storage_) Raise(ErrorNumber::ObjectInvalid);
    return *storage_;
}

sql::Catalog& JetDatabase::Tables() {
    Storage();
    return *catalog_;
}

void JetDatabase::Execute(std::u16string_view text, std::int32_t options) {
    Storage();
    Execute(sql::Parse(text), {}, options);
}

void JetDatabase::Execute(const sql::Statement& statement, const sql::ParameterValues& parameters,
                          std::int32_t options) {
    constexpr std::int32_t kKnown = kDenyWrite | kInconsistent | kConsistent | kFailOnError | kSeeChanges;
    jet::Database& storage = Storage();
    if ((options & ~kKnown) != 0)
        Raise((options & (kDenyRead | kSqlPassThrough)) != 0 ? ErrorNumber::OperationNotSupported
                                                             : ErrorNumber::InvalidArgument,
              {u"Execute 的选项 " + ToText(options) + u"。"});
    if (statement.YieldsRows()) Raise(ErrorNumber::CannotExecuteSelect);
    const Work work = Begin();
    if (const auto affected = ExecuteOnServers(statement, parameters)) {
        records_affected_ = static_cast<std::int32_t>(*affected);
        return;
    }
    jet::Database::Writing writing(storage);
    const std::int64_t affected = sql::Execute(*catalog_, statement, parameters);
    writing.Commit();
    records_affected_ = static_cast<std::int32_t>(affected);
}

// A change of tables on servers alone, without the file's locks: in one message where possible, else as a transaction.
std::optional<std::int64_t> JetDatabase::ExecuteOnServers(const sql::Statement& statement,
                                                          const sql::ParameterValues& parameters) {
    if (!links_->MayHaveAny()) return std::nullopt;
    const jet::Database::Reading reading(*storage_);
    if (!links_->ChangesOnlyServers(statement.Tree())) return std::nullopt;
    const auto* insert = std::get_if<sql::ast::Insert>(&statement.Tree().node);
    const bool one_row = insert != nullptr && insert->select == nullptr;
    if (one_row) return sql::Execute(*catalog_, statement, parameters);
    if (const auto change = catalog_->DelegateChange(statement.Tree())) return change->run();
    SessionTransaction transaction(*storage_);
    const std::int64_t affected = sql::Execute(*catalog_, statement, parameters);
    transaction.Commit();
    return affected;
}

bool JetDatabase::IsOnServer() {
    jet::Database& storage = Storage();
    if (!links_->MayHaveAny()) return false;
    const jet::Database::Reading reading(storage);
    return links_->HasOnlyLinks();
}

void JetDatabase::ExecuteScript(std::u16string_view statements) {
    jet::Database& storage = Storage();
    const std::vector<sql::Statement> script = sql::ParseScript(statements);
    jet::Database::Writing writing(storage);
    std::int64_t affected = 0;
    for (const sql::Statement& statement : script) {
        const Work work = Begin();
        affected += sql::Execute(*catalog_, statement);
    }
    writing.Commit();
    records_affected_ = static_cast<std::int32_t>(affected);
}

void JetDatabase::Atomically(const std::function<void()>& body) {
    const Work work({}, cancellations_);
    if (IsOnServer()) {
        const OdbcLinks::Serial serial(*links_);
        return AtomicallyOnServers(*storage_, body);
    }
    jet::Database::Writing writing(Storage());
    body();
    writing.Commit();
}

void JetDatabase::AtomicallyBeside(const std::function<void()>& body) {
    if (!IsOnServer()) return Atomically(body);
    const Work work({}, cancellations_);
    AtomicallyOnServers(*storage_, body);
}

// What is no statement may be a name, also in brackets.
JetDatabase::Source JetDatabase::SourceOf(std::u16string_view text) {
    jet::Database& storage = Storage();
    constexpr std::size_t kNameSize = 256;
    try {
        return {sql::Parse(text), std::u16string(text.substr(0, kNameSize)), false};
    } catch (const AutomationError& error) {
        const jet::Database::Reading reading(storage);
        const bool bracketed = text.size() > 2 && text.front() == u'[' && text.back() == u']';
        const std::u16string_view name = bracketed ? text.substr(1, text.size() - 2) : text;
        const auto object = storage.FindObject(name);
        if (!object && error.Is(ErrorNumber::SyntaxInStatement) && LooksLikeName(name))
            Raise(ErrorNumber::NoSuchTable, {name});
        if (!object) throw;
        return {sql::Parse(u"SELECT * FROM [" + object->name + u"]"), object->name,
                object->type == jet::CatalogObject::kTable};
    }
}

std::shared_ptr<Recordset> JetDatabase::OpenRecordset(std::u16string_view text, RecordsetType type,
                                                      std::int32_t options) {
    Source source = SourceOf(text);
    if (type == RecordsetType::Default && source.is_table && (options & kForwardOnly) == 0) type = RecordsetType::Table;
    if (type == RecordsetType::Table && !source.is_table) Raise(ErrorNumber::InvalidOperation);
    return OpenRecordset(std::move(source.statement), {}, type, options, source.name);
}

std::shared_ptr<Recordset> JetDatabase::OpenRecordset(sql::Statement statement, sql::ParameterValues parameters,
                                                      RecordsetType type, std::int32_t options,
                                                      std::u16string_view name) {
    Storage();
    if (!statement.YieldsRows()) Raise(ErrorNumber::InvalidOperation);
    const bool forward = (options & kForwardOnly) != 0;
    if (forward && (type == RecordsetType::Default || type == RecordsetType::Snapshot))
        type = RecordsetType::ForwardOnly;
    else if (type == RecordsetType::Default)
        type = RecordsetType::Dynaset;
    RowSource source{
        shared_from_this(), std::make_shared<const sql::Statement>(std::move(statement)),
        parameters.empty() ? nullptr : std::make_shared<const sql::ParameterValues>(std::move(parameters))};
    return std::make_shared<JetRecordset>(std::move(source), Opening{type, options, std::u16string(name)});
}

void JetDatabase::CreateTableDef(std::u16string_view name, std::u16string_view connect,
                                 std::u16string_view source_table, bool save_password) {
    Storage();
    if (odbc::ConnectString::IsOdbc(connect)) return links_->Create(name, connect, source_table, save_password);
    jet::Database::Writing writing(Storage());
    storage_->CreateLink(name, connect, source_table);
    writing.Commit();
}

void JetDatabase::RefreshLink(std::u16string_view name, std::u16string_view connect) {
    jet::CatalogObject link;
    {
        const jet::Database::Reading reading(Storage());
        const auto object = storage_->FindObject(name);
        if (!object || !object->IsLink()) Raise(ErrorNumber::NoSuchTable, {name});
        link = *object;
    }
    if (link.type == jet::CatalogObject::kLinkedOdbc) return links_->Refresh(name, connect);
    const std::u16string where =
        connect.empty() ? link.connect + u";DATABASE=" + link.database : std::u16string(connect);
    jet::Database::Writing writing(*storage_);
    storage_->DropTable(link.name);
    storage_->CreateLink(link.name, where, link.foreign_name);
    writing.Commit();
}

void JetDatabase::ServerLogin(std::u16string_view connect) {
    Storage();
    links_->Login(connect);
    Logins().Set(TrueName(DatabaseFile(name_)), connect);
}

std::uint64_t JetDatabase::KnownChanges() {
    return Storage().KnownChanges() + links_->Changes();
}

void JetDatabase::Cancel() noexcept {
    ++cancellations_;
    links_->Cancel();
}

void JetDatabase::Limits(const WorkLimits& limits) {
    links_->TimeLimit(limits.time);
    const std::scoped_lock lock(limits_mutex_);
    limits_ = limits;
}

Work JetDatabase::Begin(WorkTaken* taken) const {
    const std::scoped_lock lock(limits_mutex_);
    return {limits_, cancellations_, taken};
}

bool JetDatabase::HasTable(std::u16string_view name) {
    const jet::Database::Reading reading(Storage());
    const auto object = storage_->FindObject(name);
    if (object && object->type == jet::CatalogObject::kLinkedOdbc) return true;  // to say so asks no server
    return storage_->FindTable(name) != nullptr;
}

std::u16string JetDatabase::LackingCharacter(std::u16string_view text) {
    const jet::Database& storage = Storage();
    if (storage.GetVersion() != jet::Version::Jet3) return {};
    return jet::CharacterLackingIn(storage.CodePage(), text);
}

void JetDatabase::NewPassword(std::u16string_view old_password, std::u16string_view new_password) {
    // Such a password could not be given in "…;PWD=…".
    if (new_password.find(u';') != new_password.npos) Raise(ErrorNumber::InvalidArgument, {u"密码不能含有分号。"});
    Storage().NewPassword(old_password, new_password);
}

void JetDatabase::Close() {
    Storage();
    links_->Close();
    catalog_.reset();
    storage_.reset();
}

}  // namespace qmtrain::dao
