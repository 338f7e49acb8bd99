// What holds of whatever a reader makes of any bytes.
#pragma once

#include <string>
#include <string_view>

#include "core/error.h"
#include "exchange/bank_rows.h"
#include "exchange/checks.h"
#include "exchange/formats.h"
#include "ui/question_text.h"

namespace qmtrain::exchange {

// Empty when all of it holds: what is read can go into a bank, is shown there as it was, and comes back from every
// format that can hold it.
inline std::string Broken(std::string_view bytes, QuestionFormat format) {
    Import import;
    try {
        import = ReadQuestions(std::string(bytes), format);
    } catch (const AutomationError&) {
        return "";
    }
    for (const Question& question : import.questions) {
        if (!ProblemOf(question).empty()) return "a question that no bank can hold";
        if (Canonical(question.stem) != question.stem) return "a stem that is not canonical";
        const document::RichText shown = ui::StoredText(StoredText(question.stem), ui::Placeholders::RemoveAll);
        if (Canonical(shown) != question.stem && WarningOf(question).empty()) return "a stem that is shown otherwise";
    }
    for (const QuestionFormat other : {QuestionFormat::Gift, QuestionFormat::Csv, QuestionFormat::MoodleXml}) {
        std::vector<Notice> notices;
        const std::string file = WriteQuestions(import.questions, other, notices);
        Import again;
        try {
            again = ReadQuestions(file, other);
        } catch (const AutomationError& error) {
            return error.what() + ("\n" + file);
        }
        std::vector<const Question*> written;
        for (const Question& question : import.questions) {
            const bool several = question.kind == QuestionKind::Fill && question.blanks.size() > 1;
            if (other != QuestionFormat::Gift || !several) written.push_back(&question);
        }
        if (again.questions.size() != written.size()) return "a question that a format loses";
        for (std::size_t i = 0; i < written.size(); ++i) {
            if (Canonical(again.questions[i].stem) != written[i]->stem) return "another stem";
            if (written[i]->kind != QuestionKind::Operation &&
                StoredAnswer(again.questions[i]) != StoredAnswer(*written[i])) {
                return "another answer";
            }
        }
    }
    return "";
}

}  // namespace qmtrain::exchange
