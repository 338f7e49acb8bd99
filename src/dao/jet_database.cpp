#include "dao/jet_database.h"

#include "core/error.h"
#include "core/files.h"
#include "core/text.h"
#include "dao/jet_catalog.h"
#include "dao/jet_recordset.h"
#include "dao/row_source.h"
#include "jet/database.h"
#include "sql/sql.h"

namespace qmtrain::dao {

std::filesystem::path DatabaseFile(std::u16string_view name) {
    std::filesystem::path path = ToNativePath(name);
    std::error_code ignored;
    return std::filesystem::is_directory(path, ignored) ? ToNativePath(InFolder(name, u"Total.mdb")) : path;
}

JetDatabase::JetDatabase(std::u16string name, std::unique_ptr<jet::Database> storage)
    : name_(std::move(name)), storage_(std::move(storage)), catalog_(std::make_unique<JetCatalog>(*storage_)) {}

JetDatabase::~JetDatabase() = default;

std::shared_ptr<JetDatabase> JetDatabase::Open(std::u16string_view name, bool read_only,
                                               std::shared_ptr<jet::Session> session, std::u16string_view password,
                                               LinkRights links, bool exclusive) {
    return std::make_shared<JetDatabase>(std::u16string(name),
                                         jet::Database::Open(DatabaseFile(name), {.read_only = read_only,
                                                                                  .exclusive = exclusive,
                                                                                  .password = std::u16string(password),
                                                                                  .session = std::move(session),
                                                                                  .links_read_only = !links.write,
                                                                                  .links_in_network = links.network}));
}

std::shared_ptr<JetDatabase> JetDatabase::Create(std::u16string_view name, std::shared_ptr<jet::Session> session,
                                                 const jet::NewDatabase& settings) {
    return std::make_shared<JetDatabase>(
        std::u16string(name), jet::Database::Create(ToNativePath(name), settings, {.session = std::move(session)}));
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
        Raise((options & kSqlPassThrough) != 0 ? ErrorNumber::OperationNotSupported : ErrorNumber::InvalidArgument,
              {u"Execute 的选项 " + ToText(options) + u"。"});
    if (statement.YieldsRows()) Raise(ErrorNumber::CannotExecuteSelect);
    const Work work = Begin();
    jet::Database::Writing writing(storage);
    const std::int64_t affected = sql::Execute(*catalog_, statement, parameters);
    writing.Commit();
    records_affected_ = static_cast<std::int32_t>(affected);
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
    jet::Database::Writing writing(Storage());
    body();
    writing.Commit();
}

// What is no statement may be a name, also in brackets.
JetDatabase::Source JetDatabase::SourceOf(std::u16string_view text) {
    jet::Database& storage = Storage();
    constexpr std::size_t kNameSize = 256;
    try {
        return {sql::Parse(text), std::u16string(text.substr(0, kNameSize)), false};
    } catch (const AutomationError&) {
        const jet::Database::Reading reading(storage);
        const bool bracketed = text.size() > 2 && text.front() == u'[' && text.back() == u']';
        const auto object = storage.FindObject(bracketed ? text.substr(1, text.size() - 2) : text);
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
    RowSource source{shared_from_this(), std::make_shared<const sql::Statement>(std::move(statement)),
                     std::make_shared<const sql::ParameterValues>(std::move(parameters))};
    return std::make_shared<JetRecordset>(std::move(source), Opening{type, options, std::u16string(name)});
}

void JetDatabase::CreateTableDef(std::u16string_view name, std::u16string_view connect,
                                 std::u16string_view source_table) {
    jet::Database::Writing writing(Storage());
    storage_->CreateLink(name, connect, source_table);
    writing.Commit();
}

void JetDatabase::Limits(const WorkLimits& limits) {
    const std::scoped_lock lock(limits_mutex_);
    limits_ = limits;
}

Work JetDatabase::Begin(std::chrono::steady_clock::duration* spent) const {
    const std::scoped_lock lock(limits_mutex_);
    return {limits_, cancellations_, spent};
}

bool JetDatabase::HasTable(std::u16string_view name) {
    const jet::Database::Reading reading(Storage());
    return storage_->FindTable(name) != nullptr;
}

void JetDatabase::NewPassword(std::u16string_view old_password, std::u16string_view new_password) {
    Storage().NewPassword(old_password, new_password);
}

void JetDatabase::Close() {
    Storage();
    catalog_.reset();
    storage_.reset();
}

}  // namespace qmtrain::dao
