#include "server/classes.h"

#include <functional>
#include <iterator>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "bank/data_info.h"
#include "bank/fill_answer.h"
#include "bank/question_item.h"
#include "bank/question_type.h"
#include "bank/text_collection.h"
#include "core/convert.h"
#include "core/utilities.h"
#include "learning/train_statistics.h"
#include "learning/wrong_questions.h"
#include "notes/note.h"
#include "notes/ui_manage_notes.h"
#include "records/ncre_user.h"
#include "records/subject_info.h"
#include "records/train_info.h"
#include "records/train_result.h"
#include "review/ui_train.h"
#include "server/data_objects.h"
#include "server/host_modal.h"
#include "server/object.h"
#include "server/qmtraininfo.h"
#include "server/record_sets.h"
#include "server/variant_enumerator.h"

namespace qmtrain::server {

template <>
const Class& ClassOf<TextCollection>();

namespace {

using automation::ComPtr;
using automation::Variant;

template <class C>
std::shared_ptr<void> New() {
    return std::make_shared<C>();
}

// ---- collections ----

// What a member of T fills instead of a variable of the caller's.
template <auto kFill, class C, class Content>
void Fill(C& object, std::optional<Content>& variable) {
    std::invoke(kFill, object, variable.emplace());
}

// Without a message the caller's variable stays as it is.
template <auto kInit, class C>
bool Initialise(C& object, std::optional<std::u16string>& message) {
    std::u16string text;
    const bool ready = std::invoke(kInit, object, text);
    if (!text.empty()) message = std::move(text);
    return ready;
}

// A key is a text, a place anything that is a number.
template <class Collection>
decltype(auto) At(Collection& items, Value index) {
    return index.IsText() ? items.Item(index.Text()) : items.Item(ToLong(index));
}

void Remove(TextCollection& items, Value index) {
    index.IsText() ? items.Remove(index.Text()) : items.Remove(ToLong(index));
}

std::u16string KeyAt(TextCollection& items, std::int32_t place) {
    items.Item(place);  // raises the error for a place that there is not
    return std::next(items.begin(), place - 1)->key;
}

ComPtr<IUnknown> ItemsOf(TextCollection& items) {
    std::vector<Variant> texts;
    for (const TextCollection::Entry& entry : items) texts.emplace_back(Value(entry.item));
    return Enumerate(std::move(texts));
}

// ---- operations that stand otherwise in automation than in C++ ----

Value Split(Utilities& utilities, std::u16string_view source, std::u16string_view delimiter,
            std::optional<std::vector<std::u16string>>& items, std::int32_t count, std::int32_t compare) {
    return utilities.SplitVB5(source, delimiter, items.emplace(), count, compare);
}

bool GetAnswer(FillAnswer& answer, std::int32_t index, std::optional<std::vector<std::u16string>>& texts) {
    if (answer.GetAnswer(index, texts.emplace())) return true;
    texts.reset();
    return false;
}

// A question of a host, which may have given it a collection of its own.
struct HostedQuestion : QuestionItem {
    ComPtr<IDispatch> Items() const;
    void Items(ComPtr<IDispatch> items);

private:
    ComPtr<IDispatch> foreign_;
    std::shared_ptr<TextCollection> in_its_place_;  // what the question has instead; it goes when one is loaded
};

ComPtr<IDispatch> HostedQuestion::Items() const {
    if (ChoiceItems() && ChoiceItems() == in_its_place_) return foreign_;
    return ComPtr<IDispatch>::Attach(Wrap(ChoiceItems()));
}

void HostedQuestion::Items(ComPtr<IDispatch> items) {
    auto own = items ? UnwrapInstance(ClassOf<TextCollection>(), items.Get()) : nullptr;
    in_its_place_ = items && !own ? std::make_shared<TextCollection>() : nullptr;
    foreign_ = in_its_place_ ? std::move(items) : ComPtr<IDispatch>();
    ChoiceItems(in_its_place_ ? in_its_place_ : std::static_pointer_cast<TextCollection>(std::move(own)));
}

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

void ConnectUITrain(ServedObject& object) {
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
                                QMTRAIN_CALL(SplitVB5, &Split),
                                QMTRAIN_METHOD(LTrimStr),
                                QMTRAIN_METHOD(RTrimStr),
                                QMTRAIN_METHOD(ReplaceStr),
                                QMTRAIN_METHOD(DeleteRtfTxtColorMark),
                                QMTRAIN_METHOD(GetChoiceAnswerString),
                            },
                            &New<C>};
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
                            &New<C>};
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
                            &New<C>};
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
                                QMTRAIN_READ_ONLY(TrainScore),   QMTRAIN_CALL(Init, (&Initialise<&C::Init, C>)),
                                QMTRAIN_METHOD(AddNewTrain),     QMTRAIN_METHOD(Update),
                                QMTRAIN_METHOD(LoadFromID),      QMTRAIN_METHOD(GetRecordset),
                                QMTRAIN_METHOD(GetTrainTimes),   QMTRAIN_CALL(ShowDlg, &ShowTrainInfoHistory),
                            },
                            &New<C>};
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
                            &New<C>};
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
                            &New<C>};
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
                                QMTRAIN_CALL(Key, &KeyAt),
                            }};
    return made;
}

template <>
const Class& ClassOf<HostedQuestion>() {
    using C = HostedQuestion;
    using I = IQuestionItem;
    static const Class made{
        u"QuestionItem",
        CLSID_QuestionItem,
        IID_IQuestionItem,
        {
            QMTRAIN_PROPERTY(QuestionType),
            QMTRAIN_PROPERTY(Title),
            QMTRAIN_PROPERTY(Answer),
            QMTRAIN_PROPERTY(IsTheory),
            QMTRAIN_READ(ChoiceItems, [](const C& item) { return item.Items(); }),
            QMTRAIN_WRITE_REFERENCE(ChoiceItems,
                                    [](C& item, ComPtr<IDispatch> items) { item.Items(std::move(items)); }),
            QMTRAIN_PROPERTY(DataMdbPath),
            QMTRAIN_PROPERTY(LocalPaperMdb),
            QMTRAIN_PROPERTY(IsNet),
            QMTRAIN_PROPERTY(RecNo),
            QMTRAIN_PROPERTY(DataCode),
            QMTRAIN_PROPERTY(SubjectCode),
            QMTRAIN_CALL(GetInitDocBin, (&Fill<&C::GetInitDocBin, C, Bytes>)),
            QMTRAIN_METHOD(SetInitDocBin),
            QMTRAIN_CALL(GetResultDocBin, (&Fill<&C::GetResultDocBin, C, Bytes>)),
            QMTRAIN_METHOD(SetResultDocBin),
            QMTRAIN_CALL(InitQuestionItem, (&Initialise<&C::InitQuestionItem, C>)),
        },
        &New<C>};
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
                            &New<C>};
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
                                QMTRAIN_CALL(GetAnswer, &GetAnswer),
                                QMTRAIN_METHOD(ToString),
                            },
                            &New<C>};
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
                            &New<C>,
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
                                QMTRAIN_PROPERTY(mSubjectCode),  QMTRAIN_CALL(Init, (&Initialise<&C::Init, C>)),
                                QMTRAIN_METHOD(GetNotesCount),   QMTRAIN_METHOD(Add),
                                QMTRAIN_METHOD(LoadFromOther),   QMTRAIN_METHOD(LoadFromID),
                                QMTRAIN_METHOD(Update),          QMTRAIN_METHOD(GetRecordset),
                                QMTRAIN_METHOD(Delete),          QMTRAIN_METHOD(IsExistNote),
                            },
                            &New<C>};
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
                            &New<C>};
    return made;
}

// ---- learning ----

template <>
const Class& ClassOf<TrainStatistics>() {
    using C = TrainStatistics;
    using I = ITrainStatistics;
    static const Class made{u"TrainStatistics",
                            CLSID_TrainStatistics,
                            IID_ITrainStatistics,
                            {
                                QMTRAIN_PROPERTY(ClientPath),     QMTRAIN_PROPERTY(UserId),
                                QMTRAIN_PROPERTY(SubjectCode),    QMTRAIN_PROPERTY(StartDate),
                                QMTRAIN_PROPERTY(EndDate),        QMTRAIN_CALL(Init, (&Initialise<&C::Init, C>)),
                                QMTRAIN_METHOD(Exclude),          QMTRAIN_METHOD(Load),
                                QMTRAIN_READ_ONLY(TrainTimes),    QMTRAIN_READ_ONLY(PassTimes),
                                QMTRAIN_READ_ONLY(QuestionTimes), QMTRAIN_READ_ONLY(AverageRate),
                                QMTRAIN_READ_ONLY(BestRate),      QMTRAIN_READ_ONLY(LastRate),
                                QMTRAIN_READ_ONLY(Trend),         QMTRAIN_METHOD(Forecast),
                                QMTRAIN_METHOD(GroupCount),       QMTRAIN_METHOD(GroupName),
                                QMTRAIN_METHOD(GroupTimes),       QMTRAIN_METHOD(GroupRate),
                                QMTRAIN_READ_ONLY(ItemCount),     QMTRAIN_METHOD(ItemDataCode),
                                QMTRAIN_METHOD(ItemRecNo),        QMTRAIN_METHOD(ItemTimes),
                                QMTRAIN_METHOD(ItemFacility),     QMTRAIN_METHOD(ItemDiscrimination),
                            },
                            &New<C>};
    return made;
}

template <>
const Class& ClassOf<WrongQuestions>() {
    using C = WrongQuestions;
    using I = IWrongQuestions;
    static const Class made{u"WrongQuestions",
                            CLSID_WrongQuestions,
                            IID_IWrongQuestions,
                            {
                                QMTRAIN_PROPERTY(ClientPath),
                                QMTRAIN_PROPERTY(UserId),
                                QMTRAIN_PROPERTY(SubjectCode),
                                QMTRAIN_PROPERTY(DataCode),
                                QMTRAIN_PROPERTY(QuestionType),
                                QMTRAIN_PROPERTY(StartDate),
                                QMTRAIN_PROPERTY(EndDate),
                                QMTRAIN_PROPERTY(LeastTimes),
                                QMTRAIN_PROPERTY(OnlyOpen),
                                QMTRAIN_CALL(Init, (&Initialise<&C::Init, C>)),
                                QMTRAIN_METHOD(Load),
                                QMTRAIN_READ_ONLY(Count),
                                QMTRAIN_METHOD(LoadItem),
                                QMTRAIN_READ_ONLY(ItemDataCode),
                                QMTRAIN_READ_ONLY(ItemRecNo),
                                QMTRAIN_READ_ONLY(ItemSubjectCode),
                                QMTRAIN_READ_ONLY(ItemType),
                                QMTRAIN_READ_ONLY(ItemTimes),
                                QMTRAIN_READ_ONLY(ItemWrongTimes),
                                QMTRAIN_READ_ONLY(ItemLastDate),
                                QMTRAIN_READ_ONLY(ItemTrainID),
                                QMTRAIN_READ_ONLY(ItemRightSince),
                                QMTRAIN_READ_ONLY(ItemScore),
                                QMTRAIN_READ_ONLY(ItemStudentScore),
                                QMTRAIN_READ_ONLY(ItemAnswer),
                                QMTRAIN_READ_ONLY(ItemStudentAnswer),
                                QMTRAIN_METHOD(Remove),
                                QMTRAIN_METHOD(Restore),
                            },
                            &New<C>};
    return made;
}

std::span<const Class* const> CreatableClasses() {
    static const Class* const classes[] = {
        &ClassOf<Utilities>(),       &ClassOf<TrainInfo>(),      &ClassOf<TrainResult>(),
        &ClassOf<NCREUser>(),        &ClassOf<SubjectInfo>(),    &ClassOf<DataInfo>(),
        &ClassOf<HostedQuestion>(),  &ClassOf<QuestionType>(),   &ClassOf<FillAnswer>(),
        &ClassOf<UITrain>(),         &ClassOf<Note>(),           &ClassOf<UIManageNotes>(),
        &ClassOf<TrainStatistics>(), &ClassOf<WrongQuestions>(), &ClassOf<dao::EngineObject>(),
    };
    return classes;
}

std::span<const Class* const> OtherClasses() {
    static const Class* const classes[] = {
        &ClassOf<TextCollection>(),      &ClassOf<dao::Recordset>(),   &ClassOf<FieldCollection>(),
        &ClassOf<dao::Field>(),          &ClassOf<dao::Workspace>(),   &ClassOf<dao::DatabaseObject>(),
        &ClassOf<dao::TableObject>(),    &ClassOf<dao::FieldObject>(), &ClassOf<dao::IndexObject>(),
        &ClassOf<dao::RelationObject>(), &ClassOf<dao::QueryDef>(),    &ClassOf<dao::ParameterObject>(),
        &ClassOf<dao::PropertyObject>(), &ClassOf<dao::ErrorObject>(), &ClassOf<dao::Collection>(),
    };
    return classes;
}

}  // namespace qmtrain::server
