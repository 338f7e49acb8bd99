#include "server/classes.h"

#include <memory>
#include <vector>

#include "bank/data_info.h"
#include "bank/fill_answer.h"
#include "bank/question_item.h"
#include "bank/question_type.h"
#include "bank/text_collection.h"
#include "core/convert.h"
#include "core/utilities.h"
#include "dao/dao.h"
#include "dao/jet_database.h"
#include "notes/note.h"
#include "notes/ui_manage_notes.h"
#include "records/ncre_user.h"
#include "records/subject_info.h"
#include "records/train_info.h"
#include "records/train_result.h"
#include "review/ui_train.h"
#include "server/enumerator.h"
#include "server/host_modal.h"
#include "server/object.h"
#include "server/qmtraininfo.h"

#undef EOF  // a property of record sets

namespace qmtrain::server {
namespace {

using automation::ComPtr;
using automation::Variant;

template <class C>
std::shared_ptr<void> Create() {
    return std::make_shared<C>();
}

// ---- collections ----

bool GiveVariant(const Variant& held, VARIANT& out) {
    VARIANT content = held.Get();
    VariantInit(&out);
    return SUCCEEDED(VariantCopy(&out, &content));
}

// What "For Each" asks for.
ComPtr<IUnknown> Enumerate(std::vector<Variant> items) {
    using Items = Enumerator<IEnumVARIANT, Variant, VARIANT, &GiveVariant>;
    return ComPtr<IUnknown>::Attach(new Items(std::make_shared<const std::vector<Variant>>(std::move(items))));
}

// A key is a text, a place anything that is a number.
template <class Collection>
decltype(auto) At(Collection& items, Value index) {
    return index.IsText() ? items.Item(index.Text()) : items.Item(ToLong(index));
}

void Remove(TextCollection& items, Value index) {
    index.IsText() ? items.Remove(index.Text()) : items.Remove(ToLong(index));
}

ComPtr<IUnknown> ItemsOf(TextCollection& items) {
    std::vector<Variant> texts;
    for (const TextCollection::Entry& entry : items) texts.emplace_back(Value(entry.item));
    return Enumerate(std::move(texts));
}

// ---- record sets ----

struct FieldCollection {
    std::shared_ptr<dao::Recordset> rows;
};

std::shared_ptr<dao::Field> FieldAt(FieldCollection& fields, Value index) {
    dao::Recordset& rows = *fields.rows;
    dao::Field& field = index.IsText() ? rows.Fields(index.Text()) : rows.Fields(ToLong(index));
    return {fields.rows, &field};
}

ComPtr<IUnknown> FieldsIn(FieldCollection& fields) {
    std::vector<Variant> objects;
    for (const auto& field : fields.rows->Fields()) {
        const auto object = ComPtr<IDispatch>::Attach(Wrap(std::shared_ptr<dao::Field>(fields.rows, field.get())));
        objects.emplace_back(object.Get());
    }
    return Enumerate(std::move(objects));
}

// ---- the engine that tests take for DAO's ----

// Our own engine whatever the setting says.
struct TestEngine {
    dao::JetEngine jet;
};

std::shared_ptr<dao::Database> OpenDatabase(TestEngine& engine, std::u16string_view name, Value, Value read_only,
                                            Value) {
    return engine.jet.OpenDatabase(name, read_only == Value(true));
}

// ---- operations that stand otherwise in automation than in C++ ----

void CloseAdoObject(Utilities&, ComPtr<IDispatch>& object) {
    if (!object) return;
    automation::Object(object).Call(u"Close");
    object = {};
}

void ShowHistory(UITrain& train) {
    const HostModal modal;
    train.ShowUI();
}

void ShowTrainInfoHistory(TrainInfo& train) {
    const HostModal modal;
    train.ShowDlg();
}

void ShowNotes(UIManageNotes& notes) {
    const HostModal modal;
    notes.ShowDlg();
}

constexpr DISPID kReDoQuestionPaper = 1;

void ConnectUITrain(Object& object) {
    static_cast<UITrain*>(InstanceOf(object).get())->ReDoQuestionPaper = [&object](std::int32_t train, bool written) {
        HostModal::Suspend();  // the host may well show a window of its own
        const Value arguments[] = {train, written};
        RaiseEvent(object, kReDoQuestionPaper, arguments);
    };
}

}  // namespace

// ---- foundation ----

template <>
const Class& ClassOf<Utilities>() {
    using C = Utilities;
    using I = IUtilities;
    static const Class made{u"Utilities",
                            CLSID_Utilities,
                            IID_IUtilities,
                            {
                                QMTRAIN_METHOD(CreateLog),
                                QMTRAIN_CALL(CloseAdoObject, &CloseAdoObject),
                                QMTRAIN_METHOD(InStrRevVb5),
                                QMTRAIN_METHOD(SplitVB5),
                                QMTRAIN_METHOD(LTrimStr),
                                QMTRAIN_METHOD(RTrimStr),
                                QMTRAIN_METHOD(ReplaceStr),
                                QMTRAIN_METHOD(DeleteRtfTxtColorMark),
                                QMTRAIN_METHOD(GetChoiceAnswerString),
                            },
                            &Create<C>};
    return made;
}

// ---- training records ----

template <>
const Class& ClassOf<NCREUser>() {
    using C = NCREUser;
    using I = INCREUser;
    static const Class made{u"NCREUser",
                            CLSID_NCREUser,
                            IID_INCREUser,
                            {
                                QMTRAIN_PROPERTY(UserExameID),
                                QMTRAIN_PROPERTY(UserName),
                                QMTRAIN_PROPERTY(UserId),
                                QMTRAIN_PROPERTY(ClientPath),
                                QMTRAIN_METHOD(Init),
                            },
                            &Create<C>};
    return made;
}

template <>
const Class& ClassOf<SubjectInfo>() {
    using C = SubjectInfo;
    using I = ISubjectInfo;
    static const Class made{u"SubjectInfo",
                            CLSID_SubjectInfo,
                            IID_ISubjectInfo,
                            {
                                QMTRAIN_PROPERTY(Brief),
                                QMTRAIN_PROPERTY(StudentKnow),
                                QMTRAIN_PROPERTY(Description),
                                QMTRAIN_PROPERTY(SubjectCode),
                                QMTRAIN_PROPERTY(ClientPath),
                                QMTRAIN_METHOD(Init),
                            },
                            &Create<C>};
    return made;
}

template <>
const Class& ClassOf<TrainInfo>() {
    using C = TrainInfo;
    using I = ITrainInfo;
    static const Class made{u"TrainInfo",
                            CLSID_TrainInfo,
                            IID_ITrainInfo,
                            {
                                QMTRAIN_PROPERTY(ClientPath),    QMTRAIN_READ_ONLY(TrainUser),
                                QMTRAIN_READ_ONLY(TrainSubject), QMTRAIN_PROPERTY(startDate),
                                QMTRAIN_PROPERTY(endDate),       QMTRAIN_PROPERTY(UserTime),
                                QMTRAIN_READ_ONLY(TheoryNo),     QMTRAIN_READ_ONLY(OperationNo),
                                QMTRAIN_PROPERTY(AnswerScore),   QMTRAIN_PROPERTY(TrainID),
                                QMTRAIN_PROPERTY(SubjectCode),   QMTRAIN_PROPERTY(UserId),
                                QMTRAIN_READ_ONLY(TrainScore),   QMTRAIN_METHOD(Init),
                                QMTRAIN_METHOD(AddNewTrain),     QMTRAIN_METHOD(Update),
                                QMTRAIN_METHOD(LoadFromID),      QMTRAIN_METHOD(GetRecordset),
                                QMTRAIN_METHOD(GetTrainTimes),   QMTRAIN_CALL(ShowDlg, &ShowTrainInfoHistory),
                            },
                            &Create<C>};
    return made;
}

template <>
const Class& ClassOf<TrainResult>() {
    using C = TrainResult;
    using I = ITrainResult;
    static const Class made{u"TrainResult",
                            CLSID_TrainResult,
                            IID_ITrainResult,
                            {
                                QMTRAIN_PROPERTY(ClientPath),
                                QMTRAIN_PROPERTY(QuestionScore),
                                QMTRAIN_PROPERTY(StudentScore),
                                QMTRAIN_PROPERTY(ErrInfo),
                                QMTRAIN_PROPERTY(ErrInfoXml),
                                QMTRAIN_PROPERTY(StudentAnswer),
                                QMTRAIN_PROPERTY(TrainID),
                                QMTRAIN_PROPERTY(Distin),
                                QMTRAIN_PROPERTY(Difficult),
                                QMTRAIN_METHOD(Add),
                                QMTRAIN_METHOD(Update),
                                QMTRAIN_METHOD(LoadTrainResultItem),
                                QMTRAIN_METHOD(GetRecordset),
                            },
                            &Create<C>};
    return made;
}

// ---- question bank ----

template <>
const Class& ClassOf<DataInfo>() {
    using C = DataInfo;
    using I = IDataInfo;
    static const Class made{u"DataInfo",
                            CLSID_DataInfo,
                            IID_IDataInfo,
                            {
                                QMTRAIN_PROPERTY(TotalPath),
                                QMTRAIN_PROPERTY(LocalMdbPath),
                                QMTRAIN_PROPERTY(IsNet),
                                QMTRAIN_PROPERTY(DataCode),
                                QMTRAIN_PROPERTY(Description),
                                QMTRAIN_PROPERTY(MdbName),
                                QMTRAIN_PROPERTY(SubjectCode),
                                QMTRAIN_METHOD(InitDb),
                                QMTRAIN_METHOD(LoadFromDataCode),
                            },
                            &Create<C>};
    return made;
}

template <>
const Class& ClassOf<TextCollection>() {
    using C = TextCollection;
    using I = IChoiceItems;
    static const Class made{u"ChoiceItems",
                            CLSID_ChoiceItems,
                            IID_IChoiceItems,
                            {
                                QMTRAIN_CALL(Item, [](C& items, Value index) { return Value(At(items, index)); }),
                                QMTRAIN_METHOD(Count),
                                QMTRAIN_METHOD(Add),
                                QMTRAIN_CALL(Remove, &Remove),
                                QMTRAIN_READ(_NewEnum, &ItemsOf),
                            }};
    return made;
}

template <>
const Class& ClassOf<QuestionItem>() {
    using C = QuestionItem;
    using I = IQuestionItem;
    using Items = std::shared_ptr<TextCollection>;
    static const Class made{
        u"QuestionItem",
        CLSID_QuestionItem,
        IID_IQuestionItem,
        {
            QMTRAIN_PROPERTY(QuestionType),
            QMTRAIN_PROPERTY(Title),
            QMTRAIN_PROPERTY(Answer),
            QMTRAIN_PROPERTY(IsTheory),
            QMTRAIN_READ_ONLY(ChoiceItems),
            QMTRAIN_WRITE_REFERENCE(ChoiceItems, [](C& item, Items items) { item.ChoiceItems(std::move(items)); }),
            QMTRAIN_PROPERTY(DataMdbPath),
            QMTRAIN_PROPERTY(LocalPaperMdb),
            QMTRAIN_PROPERTY(IsNet),
            QMTRAIN_PROPERTY(RecNo),
            QMTRAIN_PROPERTY(DataCode),
            QMTRAIN_PROPERTY(SubjectCode),
            QMTRAIN_METHOD(GetInitDocBin),
            QMTRAIN_METHOD(SetInitDocBin),
            QMTRAIN_METHOD(GetResultDocBin),
            QMTRAIN_METHOD(SetResultDocBin),
            QMTRAIN_METHOD(InitQuestionItem),
        },
        &Create<C>};
    return made;
}

template <>
const Class& ClassOf<QuestionType>() {
    using C = QuestionType;
    using I = IQuestionType;
    static const Class made{u"QuestionType",
                            CLSID_QuestionType,
                            IID_IQuestionType,
                            {
                                QMTRAIN_PROPERTY(AppExeName),
                                QMTRAIN_PROPERTY(Description),
                                QMTRAIN_PROPERTY(TypeCode),
                                QMTRAIN_PROPERTY(ClientPath),
                                QMTRAIN_METHOD(Init),
                            },
                            &Create<C>};
    return made;
}

template <>
const Class& ClassOf<FillAnswer>() {
    using C = FillAnswer;
    using I = IFillAnswer;
    static const Class made{u"FillAnswer",
                            CLSID_FillAnswer,
                            IID_IFillAnswer,
                            {
                                QMTRAIN_PROPERTY(Answer),
                                QMTRAIN_METHOD(InitClass),
                                QMTRAIN_METHOD(GetFillCount),
                                QMTRAIN_METHOD(GetAnswer),
                                QMTRAIN_METHOD(ToString),
                            },
                            &Create<C>};
    return made;
}

// ---- training review ----

template <>
const Class& ClassOf<UITrain>() {
    using C = UITrain;
    using I = IUITrain;
    static const Class made{u"UITrain",
                            CLSID_UITrain,
                            IID_IUITrain,
                            {
                                QMTRAIN_PROPERTY(LocalPaperMdbPath),
                                QMTRAIN_PROPERTY(ClientPath),
                                QMTRAIN_PROPERTY(DataMdbPath),
                                QMTRAIN_PROPERTY(IsNet),
                                QMTRAIN_PROPERTY(UserId),
                                QMTRAIN_PROPERTY(SubjectCode),
                                QMTRAIN_CALL(ShowUI, &ShowHistory),
                            },
                            &Create<C>,
                            &DIID_IUITrainEvents,
                            &ConnectUITrain};
    return made;
}

// ---- notes ----

template <>
const Class& ClassOf<Note>() {
    using C = Note;
    using I = INote;
    static const Class made{u"Note",
                            CLSID_Note,
                            IID_INote,
                            {
                                QMTRAIN_PROPERTY(ClientPath),    QMTRAIN_PROPERTY(NoteID),
                                QMTRAIN_PROPERTY(Name),          QMTRAIN_READ_ONLY(CreateDate),
                                QMTRAIN_PROPERTY(IsShared),      QMTRAIN_PROPERTY(Content),
                                QMTRAIN_PROPERTY(ViewTimes),     QMTRAIN_PROPERTY(DataCode),
                                QMTRAIN_PROPERTY(QuestionRecNo), QMTRAIN_PROPERTY(UserId),
                                QMTRAIN_PROPERTY(mSubjectCode),  QMTRAIN_METHOD(Init),
                                QMTRAIN_METHOD(GetNotesCount),   QMTRAIN_METHOD(Add),
                                QMTRAIN_METHOD(LoadFromOther),   QMTRAIN_METHOD(LoadFromID),
                                QMTRAIN_METHOD(Update),          QMTRAIN_METHOD(GetRecordset),
                                QMTRAIN_METHOD(Delete),          QMTRAIN_METHOD(IsExistNote),
                            },
                            &Create<C>};
    return made;
}

template <>
const Class& ClassOf<UIManageNotes>() {
    using C = UIManageNotes;
    using I = IUIManageNotes;
    static const Class made{u"UIManageNotes",
                            CLSID_UIManageNotes,
                            IID_IUIManageNotes,
                            {
                                QMTRAIN_PROPERTY(DataMdbPath),
                                QMTRAIN_PROPERTY(ClientPath),
                                QMTRAIN_PROPERTY(TotalPath),
                                QMTRAIN_PROPERTY(LocalPaperPath),
                                QMTRAIN_PROPERTY(IsNet),
                                QMTRAIN_PROPERTY(SubjectCode),
                                QMTRAIN_PROPERTY(UserId),
                                QMTRAIN_CALL(ShowDlg, &ShowNotes),
                            },
                            &Create<C>};
    return made;
}

// ---- record sets ----

template <>
const Class& ClassOf<dao::Recordset>() {
    using C = dao::Recordset;
    using I = IRecordset;
    using Owner = std::shared_ptr<C>;
    static const Class made{
        u"Recordset",
        CLSID_Recordset,
        IID_IRecordset,
        {
            QMTRAIN_READ(Fields, [](const Owner& rows) { return std::make_shared<FieldCollection>(rows); }),
            QMTRAIN_READ(EOF, &C::Eof),
            QMTRAIN_READ(BOF, &C::Bof),
            QMTRAIN_READ(RecordCount, &C::RecordCount),
            QMTRAIN_READ(Updatable, &C::Updatable),
            QMTRAIN_READ(NoMatch, &C::NoMatch),
            QMTRAIN_READ(Bookmark, [](C& rows) { return rows.Bookmark(); }),
            QMTRAIN_WRITE(Bookmark, [](C& rows, Bytes bookmark) { rows.Bookmark(bookmark); }),
            QMTRAIN_READ(LastModified, &C::LastModified),
            QMTRAIN_METHOD(MoveFirst),
            QMTRAIN_METHOD(MoveLast),
            QMTRAIN_METHOD(MoveNext),
            QMTRAIN_METHOD(MovePrevious),
            QMTRAIN_METHOD(Move),
            QMTRAIN_METHOD(FindFirst),
            QMTRAIN_METHOD(FindNext),
            QMTRAIN_METHOD(AddNew),
            QMTRAIN_METHOD(Edit),
            QMTRAIN_METHOD(Update),
            QMTRAIN_METHOD(CancelUpdate),
            QMTRAIN_METHOD(Delete),
            QMTRAIN_METHOD(Close),
        }};
    return made;
}

template <>
const Class& ClassOf<FieldCollection>() {
    using C = FieldCollection;
    using I = IFields;
    static const Class made{
        u"Fields",
        CLSID_Fields,
        IID_IFields,
        {
            QMTRAIN_READ(Item, &FieldAt),
            QMTRAIN_READ(Count, [](C& fields) { return static_cast<std::int32_t>(fields.rows->Fields().size()); }),
            QMTRAIN_READ(_NewEnum, &FieldsIn),
        }};
    return made;
}

template <>
const Class& ClassOf<dao::Field>() {
    using C = dao::Field;
    using I = IField;
    static const Class made{
        u"Field",
        CLSID_Field,
        IID_IField,
        {
            QMTRAIN_READ(Value, [](C& field) { return qmtrain::Value(field.Value()); }),
            QMTRAIN_WRITE(Value, [](C& field, qmtrain::Value value) { field.Value(value); }),
            QMTRAIN_READ_ONLY(Name),
            QMTRAIN_READ(Type, [](C& field) { return static_cast<std::int16_t>(field.Type()); }),
            QMTRAIN_READ(Size, [](C& field) { return std::int32_t{field.Size()}; }),
            QMTRAIN_METHOD(FieldSize),
            QMTRAIN_METHOD(GetChunk),
            QMTRAIN_CALL(AppendChunk, [](C& field, qmtrain::Value chunk) { field.AppendChunk(chunk); }),
        }};
    return made;
}

template <>
const Class& ClassOf<dao::Database>() {
    using C = dao::Database;
    using I = IDatabase;
    static const Class made{
        u"Database",
        CLSID_Database,
        IID_IDatabase,
        {
            QMTRAIN_READ_ONLY(Name),
            QMTRAIN_READ_ONLY(RecordsAffected),
            QMTRAIN_CALL(Execute, [](C& data, std::u16string_view query, Value) { data.Execute(query); }),
            QMTRAIN_CALL(OpenRecordset, [](C& data, std::u16string_view name, Value, Value,
                                           Value) { return data.OpenRecordset(name); }),
            QMTRAIN_METHOD(Close),
        }};
    return made;
}

template <>
const Class& ClassOf<TestEngine>() {
    using C = TestEngine;
    using I = IDBEngine;
    static const Class made{u"TestDBEngine",
                            CLSID_TestDBEngine,
                            IID_IDBEngine,
                            {
                                QMTRAIN_CALL(OpenDatabase, &OpenDatabase),
                                QMTRAIN_CALL(BeginTrans, [](C& engine) { engine.jet.BeginTrans(); }),
                                QMTRAIN_CALL(CommitTrans, [](C& engine, std::int32_t) { engine.jet.CommitTrans(); }),
                                QMTRAIN_CALL(Rollback, [](C& engine) { engine.jet.Rollback(); }),
                            },
                            &Create<C>};
    return made;
}

std::span<const Class* const> CreatableClasses() {
    static const Class* const classes[] = {
        &ClassOf<Utilities>(),   &ClassOf<TrainInfo>(), &ClassOf<TrainResult>(),  &ClassOf<NCREUser>(),
        &ClassOf<SubjectInfo>(), &ClassOf<DataInfo>(),  &ClassOf<QuestionItem>(), &ClassOf<QuestionType>(),
        &ClassOf<FillAnswer>(),  &ClassOf<UITrain>(),   &ClassOf<Note>(),         &ClassOf<UIManageNotes>(),
    };
    return classes;
}

std::span<const Class* const> OtherClasses() {
    static const Class* const classes[] = {
        &ClassOf<TextCollection>(),
        &ClassOf<dao::Recordset>(),
        &ClassOf<FieldCollection>(),
        &ClassOf<dao::Field>(),
    };
    return classes;
}

const Class& TestEngineClass() {
    return ClassOf<TestEngine>();
}

}  // namespace qmtrain::server
