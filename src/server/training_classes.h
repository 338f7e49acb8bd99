// The automation classes of trainings, their results and what is learnt from them.
#pragma once

#include "learning/train_statistics.h"
#include "learning/wrong_questions.h"
#include "records/ncre_user.h"
#include "records/subject_info.h"
#include "records/train_info.h"
#include "records/train_result.h"
#include "review/ui_train.h"
#include "server/class.h"

namespace qmtrain::server {

template <>
const Class& ClassOf<NCREUser>();
template <>
const Class& ClassOf<SubjectInfo>();
template <>
const Class& ClassOf<TrainInfo>();
template <>
const Class& ClassOf<TrainResult>();
template <>
const Class& ClassOf<UITrain>();
template <>
const Class& ClassOf<TrainStatistics>();
template <>
const Class& ClassOf<WrongQuestions>();

}  // namespace qmtrain::server
