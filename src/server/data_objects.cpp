#include "server/data_objects.h"

#include <vector>

#include "core/convert.h"
#include "core/error.h"
#include "server/object.h"
#include "server/qmtraininfo.h"
#include "server/variant_enumerator.h"

namespace qmtrain::server {
namespace {

using automation::ComPtr;
using automation::Variant;

// What is left out.
std::u16string TextIn(const Value& value) {
    return value.IsEmpty() ? std::u16string() : ToText(value);
}
std::int32_t NumberIn(const Value& value) {
    return value.IsEmpty() ? 0 : ToLong(value);
}

// Whether a database is to be opened for oneself alone: True, or 1 as the number of the mode.
bool IsExclusive(const Value& options) {
    return !options.IsEmpty() && ToBoolean(options);
}

dao::RecordsetType TypeIn(std::int32_t type) {
    switch (type) {
        case 0:
        case 1:
        case 2:
        case 4:
        case 8: return static_cast<dao::RecordsetType>(type);
        default: Raise(ErrorNumber::InvalidArgument, {u"Type"});
    }
}

// ---- collections ----

ComPtr<IDispatch> Wrapped(const dao::AnyObject& object) {
    return std::visit([](const auto& known) { return ComPtr<IDispatch>::Attach(Wrap(known)); }, object);
}

ComPtr<IDispatch> ItemOf(dao::Collection& collection, Value index) {
    return Wrapped(collection.Item(index));
}

ComPtr<IUnknown> ItemsOf(dao::Collection& collection) {
    std::vector<Variant> items;
    for (const dao::AnyObject& object : collection.Objects()) items.emplace_back(Wrapped(object).Get());
    return Enumerate(std::move(items));
}

// The C++ object that a client's automation object stands for; raises TypeMismatch for any other.
template <class... T>
dao::AnyObject AnyOf(IDispatch* object) {
    dao::AnyObject found;
    const auto try_one = [&]<class One>() {
        auto instance = UnwrapInstance(ClassOf<One>(), object);
        if (instance) found = std::static_pointer_cast<One>(instance);
        return static_cast<bool>(instance);
    };
    if (object == nullptr) Raise(ErrorNumber::ObjectNotSet);
    if (!(try_one.template operator()<T>() || ...)) Raise(ErrorNumber::TypeMismatch);
    return found;
}

void AppendTo(dao::Collection& collection, ComPtr<IDispatch> object) {
    collection.Append(
        AnyOf<dao::FieldObject, dao::IndexObject, dao::TableObject, dao::RelationObject, dao::QueryDef, dao::Workspace>(
            object.Get()));
}

// ---- members with arguments that may be left out ----

template <class C>
std::shared_ptr<dao::DatabaseObject> OpenDatabase(C& opener, std::u16string_view name, Value options, Value read_only,
                                                  Value connect) {
    return opener.OpenDatabase(name, IsExclusive(options), !read_only.IsEmpty() && ToBoolean(read_only),
                               TextIn(connect));
}

template <class C>
std::shared_ptr<dao::Recordset> OpenRows(C& source, std::int32_t type, std::int32_t options) {
    return source.OpenRecordset(TypeIn(type), options);
}

template <class C>
std::shared_ptr<dao::FieldObject> CreatePlainField(C& owner, std::u16string_view name, Value, Value) {
    return owner.CreateField(name);
}

std::shared_ptr<dao::Recordset> OpenNamed(dao::DatabaseObject& database, std::u16string_view name, std::int32_t type,
                                          std::int32_t options, std::int32_t lock) {
    constexpr std::int32_t kPessimistic = 2;
    auto rows = database.OpenRecordset(name, TypeIn(type), options);
    if (lock != 0 && rows->Type() != dao::RecordsetType::ForwardOnly) rows->LockEdits(lock == kPessimistic);
    return rows;
}

// Of the attributes one counts: whether a link keeps the password.
std::shared_ptr<dao::TableObject> CreateTable(dao::DatabaseObject& database, Value name, Value attributes, Value source,
                                              Value connect) {
    return database.CreateTableDef(TextIn(name), TextIn(source), TextIn(connect), NumberIn(attributes));
}

std::shared_ptr<dao::QueryDef> CreateQuery(dao::DatabaseObject& database, Value name, Value text) {
    return database.CreateQueryDef(TextIn(name), TextIn(text));
}

std::shared_ptr<dao::RelationObject> CreateRelation(dao::DatabaseObject& database, Value name, Value table,
                                                    Value foreign_table, Value attributes) {
    return database.CreateRelation(TextIn(name), TextIn(table), TextIn(foreign_table), NumberIn(attributes));
}

std::shared_ptr<dao::Workspace> CreateWorkspace(dao::EngineObject& engine, std::u16string_view name,
                                                std::u16string_view user, std::u16string_view password, Value) {
    return engine.CreateWorkspace(name, user, password);
}

void Compact(dao::EngineObject& engine, std::u16string_view source, std::u16string_view target, Value locale,
             Value options, Value password) {
    engine.CompactDatabase(source, target, TextIn(locale), NumberIn(options), TextIn(password));
}

}  // namespace

template <>
const Class& ClassOf<dao::Collection>() {
    using C = dao::Collection;
    using I = IDaoCollection;
    static const Class made{u"Collection",
                            CLSID_Collection,
                            IID_IDaoCollection,
                            {
                                QMTRAIN_READ(Item, &ItemOf),
                                QMTRAIN_READ(Count, [](C& collection) { return collection.Count(); }),
                                QMTRAIN_READ(_NewEnum, &ItemsOf),
                                QMTRAIN_CALL(Append, &AppendTo),
                                QMTRAIN_METHOD(Delete),
                                QMTRAIN_METHOD(Refresh),
                            }};
    return made;
}

template <>
const Class& ClassOf<dao::FieldObject>() {
    using C = dao::FieldObject;
    using I = IDaoField;
    static const Class made{
        u"FieldDef",
        CLSID_FieldDef,
        IID_IDaoField,
        {
            QMTRAIN_PROPERTY(Name),
            QMTRAIN_PROPERTY(Type),
            QMTRAIN_PROPERTY(Size),
            QMTRAIN_PROPERTY(Attributes),
            QMTRAIN_PROPERTY(Required),
            QMTRAIN_PROPERTY(AllowZeroLength),
            QMTRAIN_PROPERTY(DefaultValue),
            QMTRAIN_READ_ONLY(ValidationRule),
            QMTRAIN_READ_ONLY(ValidationText),
            QMTRAIN_PROPERTY(OrdinalPosition),
            QMTRAIN_READ_ONLY(CollatingOrder),
            QMTRAIN_READ_ONLY(SourceTable),
            QMTRAIN_READ_ONLY(SourceField),
            QMTRAIN_PROPERTY(ForeignName),
            QMTRAIN_WRITE(ValidationRule, [](C& object, std::u16string_view value) { object.ValidationRule(value); }),
            QMTRAIN_WRITE(ValidationText, [](C& object, std::u16string_view value) { object.ValidationText(value); }),
        }};
    return made;
}

template <>
const Class& ClassOf<dao::IndexObject>() {
    using C = dao::IndexObject;
    using I = IDaoIndex;
    static const Class made{u"Index",
                            CLSID_Index,
                            IID_IDaoIndex,
                            {
                                QMTRAIN_READ(Fields, [](C& object) { return object.Fields(); }),
                                QMTRAIN_PROPERTY(Name),
                                QMTRAIN_PROPERTY(Primary),
                                QMTRAIN_PROPERTY(Unique),
                                QMTRAIN_PROPERTY(Required),
                                QMTRAIN_PROPERTY(IgnoreNulls),
                                QMTRAIN_READ_ONLY(Foreign),
                                QMTRAIN_READ_ONLY(DistinctCount),
                                QMTRAIN_CALL(CreateField, &CreatePlainField<C>),
                            }};
    return made;
}

template <>
const Class& ClassOf<dao::TableObject>() {
    using C = dao::TableObject;
    using I = IDaoTableDef;
    static const Class made{
        u"TableDef",
        CLSID_TableDef,
        IID_IDaoTableDef,
        {
            QMTRAIN_READ(Fields, [](C& object) { return object.Fields(); }),
            QMTRAIN_READ(Indexes, [](C& object) { return object.Indexes(); }),
            QMTRAIN_PROPERTY(Name),
            QMTRAIN_READ_ONLY(Attributes),
            QMTRAIN_PROPERTY(Connect),
            QMTRAIN_PROPERTY(SourceTableName),
            QMTRAIN_READ_ONLY(DateCreated),
            QMTRAIN_READ_ONLY(LastUpdated),
            QMTRAIN_READ_ONLY(Updatable),
            QMTRAIN_READ_ONLY(ValidationRule),
            QMTRAIN_READ_ONLY(ValidationText),
            QMTRAIN_READ_ONLY(RecordCount),
            QMTRAIN_METHOD(CreateField),
            QMTRAIN_CALL(CreateIndex, [](C& table, Value name) { return table.CreateIndex(TextIn(name)); }),
            QMTRAIN_CALL(OpenRecordset, &OpenRows<C>),
            QMTRAIN_WRITE(ValidationRule, [](C& object, std::u16string_view value) { object.ValidationRule(value); }),
            QMTRAIN_WRITE(ValidationText, [](C& object, std::u16string_view value) { object.ValidationText(value); }),
            QMTRAIN_METHOD(RefreshLink),
        }};
    return made;
}

template <>
const Class& ClassOf<dao::RelationObject>() {
    using C = dao::RelationObject;
    using I = IDaoRelation;
    static const Class made{u"Relation",
                            CLSID_Relation,
                            IID_IDaoRelation,
                            {
                                QMTRAIN_READ(Fields, [](C& object) { return object.Fields(); }),
                                QMTRAIN_PROPERTY(Name),
                                QMTRAIN_PROPERTY(Table),
                                QMTRAIN_PROPERTY(ForeignTable),
                                QMTRAIN_PROPERTY(Attributes),
                                QMTRAIN_CALL(CreateField, &CreatePlainField<C>),
                            }};
    return made;
}

template <>
const Class& ClassOf<dao::ParameterObject>() {
    using C = dao::ParameterObject;
    using I = IDaoParameter;
    static const Class made{
        u"Parameter",
        CLSID_Parameter,
        IID_IDaoParameter,
        {
            QMTRAIN_READ(Value, [](C& parameter) { return qmtrain::Value(parameter.Value()); }),
            QMTRAIN_WRITE(Value, [](C& parameter, qmtrain::Value value) { parameter.Value(value); }),
            QMTRAIN_READ_ONLY(Name),
            QMTRAIN_READ_ONLY(Type),
        }};
    return made;
}

template <>
const Class& ClassOf<dao::PropertyObject>() {
    using C = dao::PropertyObject;
    using I = IDaoProperty;
    static const Class made{u"Property",
                            CLSID_Property,
                            IID_IDaoProperty,
                            {
                                QMTRAIN_READ(Value, [](C& property) { return qmtrain::Value(property.Value()); }),
                                QMTRAIN_READ_ONLY(Name),
                                QMTRAIN_READ_ONLY(Type),
                            }};
    return made;
}

template <>
const Class& ClassOf<dao::QueryDef>() {
    using C = dao::QueryDef;
    using I = IDaoQueryDef;
    static const Class made{u"QueryDef",
                            CLSID_QueryDef,
                            IID_IDaoQueryDef,
                            {
                                QMTRAIN_READ(Parameters, [](C& object) { return object.Parameters(); }),
                                QMTRAIN_READ(Fields, [](C& object) { return object.Fields(); }),
                                QMTRAIN_READ_ONLY(Name),
                                QMTRAIN_PROPERTY(SQL),
                                QMTRAIN_READ_ONLY(Type),
                                QMTRAIN_READ_ONLY(ReturnsRecords),
                                QMTRAIN_READ_ONLY(RecordsAffected),
                                QMTRAIN_READ_ONLY(DateCreated),
                                QMTRAIN_READ_ONLY(LastUpdated),
                                QMTRAIN_READ_ONLY(Updatable),
                                QMTRAIN_CALL(OpenRecordset, &OpenRows<C>),
                                QMTRAIN_METHOD(Execute),
                                QMTRAIN_METHOD(Close),
                            }};
    return made;
}

template <>
const Class& ClassOf<dao::DatabaseObject>() {
    using C = dao::DatabaseObject;
    using I = IDaoDatabase;
    static const Class made{u"Database",
                            CLSID_Database,
                            IID_IDaoDatabase,
                            {
                                QMTRAIN_READ(TableDefs, [](C& object) { return object.TableDefs(); }),
                                QMTRAIN_READ(QueryDefs, [](C& object) { return object.QueryDefs(); }),
                                QMTRAIN_READ(Relations, [](C& object) { return object.Relations(); }),
                                QMTRAIN_READ(Properties, [](C& object) { return object.Properties(); }),
                                QMTRAIN_READ_ONLY(Name),
                                QMTRAIN_READ_ONLY(Connect),
                                QMTRAIN_READ_ONLY(Version),
                                QMTRAIN_READ_ONLY(CollatingOrder),
                                QMTRAIN_READ_ONLY(Updatable),
                                QMTRAIN_READ_ONLY(Transactions),
                                QMTRAIN_READ_ONLY(RecordsAffected),
                                QMTRAIN_PROPERTY(QueryTimeout),
                                QMTRAIN_METHOD(Execute),
                                QMTRAIN_CALL(OpenRecordset, &OpenNamed),
                                QMTRAIN_CALL(CreateTableDef, &CreateTable),
                                QMTRAIN_CALL(CreateQueryDef, &CreateQuery),
                                QMTRAIN_CALL(CreateRelation, &server::CreateRelation),
                                QMTRAIN_METHOD(NewPassword),
                                QMTRAIN_METHOD(Close),
                            }};
    return made;
}

template <>
const Class& ClassOf<dao::Workspace>() {
    using C = dao::Workspace;
    using I = IDaoWorkspace;
    static const Class made{u"Workspace",
                            CLSID_Workspace,
                            IID_IDaoWorkspace,
                            {
                                QMTRAIN_READ(Databases, [](C& object) { return object.Databases(); }),
                                QMTRAIN_READ_ONLY(Name),
                                QMTRAIN_READ_ONLY(UserName),
                                QMTRAIN_READ_ONLY(Type),
                                QMTRAIN_CALL(OpenDatabase, &server::OpenDatabase<C>),
                                QMTRAIN_METHOD(CreateDatabase),
                                QMTRAIN_METHOD(BeginTrans),
                                QMTRAIN_CALL(CommitTrans, [](C& workspace, std::int32_t) { workspace.CommitTrans(); }),
                                QMTRAIN_METHOD(Rollback),
                                QMTRAIN_METHOD(Close),
                            }};
    return made;
}

template <>
const Class& ClassOf<dao::ErrorObject>() {
    using C = dao::ErrorObject;
    using I = IDaoError;
    static const Class made{u"Error",
                            CLSID_Error,
                            IID_IDaoError,
                            {
                                QMTRAIN_READ_ONLY(Description),
                                QMTRAIN_READ_ONLY(Number),
                                QMTRAIN_READ_ONLY(Source),
                            }};
    return made;
}

template <>
const Class& ClassOf<dao::EngineObject>() {
    using C = dao::EngineObject;
    using I = IDaoDBEngine;
    static const Class made{u"DBEngine",
                            CLSID_DBEngine,
                            IID_IDaoDBEngine,
                            {
                                QMTRAIN_READ(Workspaces, [](C& object) { return object.Workspaces(); }),
                                QMTRAIN_READ(Errors, [](C& object) { return object.Errors(); }),
                                QMTRAIN_READ_ONLY(Version),
                                QMTRAIN_PROPERTY(LoginTimeout),
                                QMTRAIN_CALL(CreateWorkspace, &server::CreateWorkspace),
                                QMTRAIN_CALL(OpenDatabase, &server::OpenDatabase<C>),
                                QMTRAIN_METHOD(CreateDatabase),
                                QMTRAIN_METHOD(BeginTrans),
                                QMTRAIN_CALL(CommitTrans, [](C& engine, std::int32_t) { engine.CommitTrans(); }),
                                QMTRAIN_METHOD(Rollback),
                                QMTRAIN_CALL(CompactDatabase, &Compact),
                                QMTRAIN_METHOD(RepairDatabase),
                                QMTRAIN_CALL(Idle, [](C&, Value) {}),
                            },
                            [] { return std::shared_ptr<void>(std::make_shared<C>()); }};
    return made;
}

}  // namespace qmtrain::server
