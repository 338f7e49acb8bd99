#include "bank/question_kind.h"

#include <algorithm>
#include <iterator>

#include "core/enum_table.h"
#include "core/text.h"

namespace qmtrain {
namespace {

constexpr EnumTable<QuestionKind, QuestionKindInfo, 5> kKinds = {{
    {QuestionKind::Single, u"单选题", u"TBL_CHOICE", u"01", 1, u"单项选择题"},
    {QuestionKind::Multiple, u"多选题", u"TBL_CHOICES", u"02", 27, u"多项选择题"},
    {QuestionKind::YesNo, u"是非题", u"TBL_YESNO", u"03", 26, u"判断题"},
    {QuestionKind::Fill, u"填空题", u"TBL_FILL", u"04", 11, u"填空题"},
    {QuestionKind::Operation, u"操作题", u"TBL_OPERATION", u"05", 30, u"操作题"},
}};

template <class Matches>
QuestionKind Find(Matches matches) {
    const auto* found = std::find_if(std::begin(kKinds), std::end(kKinds), matches);
    return found == std::end(kKinds) ? QuestionKind::Unknown : found->kind;
}

}  // namespace

std::span<const QuestionKindInfo> QuestionKinds() {
    return kKinds.values;
}

const QuestionKindInfo& InfoOf(QuestionKind kind) {
    return kKinds[kind];
}

QuestionKind KindOfTable(std::u16string_view table) {
    return Find([&](const QuestionKindInfo& info) { return EqualNames(info.table, table); });
}

QuestionKind KindNamed(std::u16string_view name) {
    return Find([&](const QuestionKindInfo& info) { return info.name == name; });
}

std::u16string_view KindName(QuestionKind kind) {
    return kind == QuestionKind::Unknown ? std::u16string_view(u"其他") : InfoOf(kind).name;
}

}  // namespace qmtrain
