// Any bytes as a file of questions. What is read can go into a bank, and comes back from every format that can hold it.

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string_view>

#include "core/error.h"
#include "exchange/bank_rows.h"
#include "exchange/checks.h"
#include "exchange/formats.h"
#include "ui/question_text.h"

using namespace qmtrain::exchange;

namespace {

void Require(bool condition) {
    if (!condition) std::abort();
}

void ReadAgain(const std::vector<Question>& questions, Format format) {
    std::vector<Notice> notices;
    const Import again = ReadQuestions(WriteQuestions(questions, format, notices), format);
    std::size_t left_out = 0;
    for (const Notice& notice : notices) left_out += notice.kind == Notice::Kind::Skipped ? 1U : 0U;
    Require(again.questions.size() + left_out == questions.size());
    if (left_out > 0) return;
    for (std::size_t i = 0; i < questions.size(); ++i) {
        Require(Canonical(again.questions[i].stem) == Canonical(questions[i].stem));
        Require(StoredAnswer(again.questions[i]) == StoredAnswer(questions[i]) || questions[i].kind == Kind::Operation);
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    Import import;
    try {
        import = ReadQuestions({reinterpret_cast<const char*>(data), size}, Format::QMTRAIN_FORMAT);
    } catch (const qmtrain::AutomationError&) {
        return 0;
    }
    for (const Question& question : import.questions) {
        Require(ProblemOf(question).empty());
        Require(Canonical(question.stem) == question.stem);
        Require(Canonical(qmtrain::ui::StoredText(StoredText(question.stem), qmtrain::ui::Placeholders::Go)) ==
                    question.stem ||
                !WarningOf(question).empty());
    }
    for (const Format format : {Format::Gift, Format::Csv, Format::MoodleXml}) ReadAgain(import.questions, format);
    return 0;
}
