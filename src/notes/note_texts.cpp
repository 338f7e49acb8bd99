#include "notes/note_texts.h"

#include "bank/fill_answer.h"
#include "core/convert.h"
#include "core/format.h"
#include "core/stored_text.h"
#include "core/text.h"

namespace qmtrain::notes {
namespace {

std::u16string ChoiceAnswer(std::u16string_view answer) {
    if (!IsNumeric(answer)) return u"答案为空!";
    std::u16string letters;
    for (const char16_t letter : ChoiceLetters(ToLong(answer))) {
        if (!letters.empty()) letters += u"、";
        letters += letter;
    }
    return u"答案为:[" + letters + u"]";
}

std::u16string Failure(std::u16string_view short_name, std::u16string_view what, std::u16string_view reason) {
    return std::u16string(u"笔记[")
        .append(short_name)
        .append(u"]")
        .append(what)
        .append(reason.empty() ? u"数据库中已经没有这条笔记。" : reason);
}

bool ReadsAsTrue(std::u16string_view answer) {
    return IsNumeric(answer) ? ToDouble(answer) != 0 : EqualNames(answer, u"True");
}

}  // namespace

std::u16string CreateDateText(Date date) {
    return date == Date{} ? u"不祥" : Format(date, u"yyyy年mm月dd日");
}

std::u16string ViewTimesText(std::int32_t view_times) {
    return u"查看次数：" + ToText(std::int64_t{view_times} + 1) + u"次";
}

std::u16string SaveQuestion(std::u16string_view short_name) {
    return std::u16string(u"笔记[").append(short_name).append(u"]已改变\r\n是否保存？");
}

std::u16string DeleteQuestion(std::u16string_view short_name) {
    return std::u16string(u"是否真的删除\r\n[").append(short_name).append(u"]笔记？");
}

std::u16string NoNotesInBank(std::u16string_view bank) {
    return std::u16string(u"模块[").append(bank).append(u"]没有笔记！");
}

std::u16string SaveLogText(std::int32_t note_id, bool saved) {
    return u"对笔记[" + ToText(note_id) + u"]修改" + (saved ? u"保存成功" : u"保存失败");
}

std::u16string NotSavedText(std::u16string_view short_name, std::u16string_view reason) {
    return Failure(short_name, u"没有保存：", reason);
}

std::u16string NotDeletedText(std::u16string_view short_name, std::u16string_view reason) {
    return Failure(short_name, u"没有删除：", reason);
}

std::u16string AnswerText(QuestionKind kind, std::u16string_view answer) {
    switch (kind) {
        case QuestionKind::Single:
        case QuestionKind::Multiple: return ChoiceAnswer(answer);
        case QuestionKind::Fill: {
            FillAnswer fill;
            fill.InitClass(answer);
            return fill.ToString();
        }
        case QuestionKind::YesNo: return ReadsAsTrue(answer) ? u"答案为：[正确]" : u"答案为：[错误]";
        case QuestionKind::Operation:
        case QuestionKind::Unknown: break;
    }
    return {};
}

bool ShowsAnswerButton(QuestionKind kind, bool now) {
    return kind == QuestionKind::Unknown ? now : kind != QuestionKind::Operation;
}

}  // namespace qmtrain::notes
