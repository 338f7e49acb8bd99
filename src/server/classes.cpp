#include "server/classes.h"

#include <optional>
#include <string>
#include <vector>

#include "core/utilities.h"
#include "server/bank_classes.h"
#include "server/class_members.h"
#include "server/data_objects.h"
#include "server/note_classes.h"
#include "server/object.h"
#include "server/qmtraininfo.h"
#include "server/record_sets.h"
#include "server/training_classes.h"

namespace qmtrain::server {
namespace {

using automation::ComPtr;

// ---- operations that stand otherwise in automation than in C++ ----

Value Split(Utilities& utilities, std::u16string_view source, std::u16string_view delimiter,
            std::optional<std::vector<std::u16string>>& items, std::int32_t count, std::int32_t compare) {
    return utilities.SplitVB5(source, delimiter, items.emplace(), count, compare);
}

void CloseAdoObject(Utilities&, ComPtr<IDispatch>& object) {
    if (!object) return;
    automation::Object(object).Call(u"Close");
    object = {};
}

}  // namespace

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
