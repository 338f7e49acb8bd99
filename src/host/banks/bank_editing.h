// Changes to the questions of a bank, one at a time, with undo.
#pragma once

#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "exchange/bank_file.h"
#include "exchange/bank_rows.h"
#include "host/papers/papers.h"
#include "host/papers/question_use.h"
#include "ui/list_model.h"

namespace qmtrain::host {

// The cells of a question's row.
enum class BankCell : std::uint8_t { RecNo, Kind, Stem, Difficulty, Times, Rate, Last, Category };

class BankEditing {
public:
    explicit BankEditing(DataFolder folder) : folder_(std::move(folder)) {}

    // Reads the bank. Raises what the engine raises, and nothing is open then.
    void Open(std::u16string_view code, const exchange::Progress& progress = {});
    const std::u16string& Code() const { return code_; }
    const std::vector<exchange::Question>& Questions() const { return questions_; }
    const exchange::Question* Find(std::u16string_view rec_no) const;
    QuestionUse UseOf(std::u16string_view rec_no) const;
    // Why the question cannot be saved as it is; empty when it can.
    std::u16string ProblemOf(const exchange::Question& question) const;

    // Those of the kind, or of all kinds, in whose number, stem, options, answer or category every word of the search
    // stands. Letter case does not count.
    std::vector<ui::ListRow> Rows(std::optional<QuestionKind> kind, std::u16string_view search) const;

    // To be called before a question is changed: reads it anew. Save then refuses when somebody else has changed the
    // question since.
    void Begin(std::u16string_view rec_no);

    // Each is written at once. Save returns the question's number; one without a number is new. Raise the component's
    // error for what a bank cannot hold, and what the engine raises.
    std::u16string Save(const exchange::Question& question);
    void Remove(std::u16string_view rec_no);

    // A warning to be shown before the question is deleted; empty when nothing refers to it.
    std::u16string WarningBeforeRemoval(std::u16string_view rec_no) const;

    // "撤销删除 JC010003"; empty when there is nothing to undo.
    std::u16string UndoText() const;
    // Takes back the last change that is not taken back yet. Returns the number of the question. Raises the
    // component's error, and forgets the change, when somebody else has changed the question since.
    std::u16string Undo();

private:
    struct Step {
        std::u16string text;
        std::u16string code;
        std::u16string rec_no;
        std::vector<exchange::StoredRow> before;  // nothing: the question was new
        std::vector<exchange::StoredRow> after = {};
    };

    // Runs the change with the rows of the bank as one.
    template <class Change>
    void Within(std::u16string_view code, Change change);

    // The question as the bank has it now takes its place among the others, or goes; they are not read again.
    void Put(std::u16string_view rec_no, std::optional<exchange::Question> question);

    DataFolder folder_;
    std::u16string code_;
    std::vector<exchange::Question> questions_;
    std::map<QuestionKind, exchange::TableInfo> tables_;  // of the kinds that the bank can hold
    std::map<std::u16string, QuestionUse> uses_;
    std::vector<Step> steps_;
    std::optional<std::pair<std::u16string, std::vector<exchange::StoredRow>>> begun_;
};

// The question as a practice shows it.
QuestionContent Shown(const exchange::Question& question);

}  // namespace qmtrain::host
