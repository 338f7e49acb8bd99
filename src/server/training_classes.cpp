#include "server/training_classes.h"

#include "server/class_members.h"
#include "server/host_modal.h"
#include "server/object.h"
#include "server/qmtraininfo.h"
#include "server/record_sets.h"

namespace qmtrain::server {
namespace {

void ShowHistory(UITrain& train) {
    const HostModal modal;
    train.ShowUI();
}

void ShowTrainInfoHistory(TrainInfo& train) {
    const HostModal modal;
    train.ShowDlg();
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

}  // namespace qmtrain::server
