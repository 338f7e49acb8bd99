// The automation classes of question banks.
#pragma once

#include <memory>

#include "automation/com_ptr.h"
#include "bank/data_info.h"
#include "bank/fill_answer.h"
#include "bank/question_item.h"
#include "bank/question_type.h"
#include "bank/text_collection.h"
#include "server/class.h"

namespace qmtrain::server {

// A question of a host, which may have given it a collection of its own.
struct HostedQuestion : QuestionItem {
    automation::ComPtr<IDispatch> Items() const;
    void Items(automation::ComPtr<IDispatch> items);

private:
    automation::ComPtr<IDispatch> foreign_;
    std::shared_ptr<TextCollection> in_its_place_;  // what the question has instead; it goes when one is loaded
};

template <>
const Class& ClassOf<DataInfo>();
template <>
const Class& ClassOf<TextCollection>();
template <>
const Class& ClassOf<HostedQuestion>();
template <>
const Class& ClassOf<QuestionType>();
template <>
const Class& ClassOf<FillAnswer>();

}  // namespace qmtrain::server
