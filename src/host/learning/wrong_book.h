// The book of wrong questions as the host lists and exports it.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "host/papers/drill.h"
#include "host/papers/question_source.h"
#include "learning/wrong_questions.h"
#include "report/report.h"
#include "ui/list_model.h"

namespace qmtrain::host {

enum class WrongPeriod : std::uint8_t { Always, Week, Month, Quarter };

struct WrongFilter {
    std::u16string data_code = {};  // empty: any
    std::int32_t type = -1;
    WrongPeriod period = WrongPeriod::Always;
    int least_times = 1;
    bool only_open = false;
    std::u16string search = {};  // in stem, number, bank and type
};

// The first day of the period that ends today; a zero date is no limit.
Date FirstDay(WrongPeriod period, Date today);

struct WrongEntry {
    WrongQuestion item = {};
    std::u16string title = {};
    std::u16string bank = {};
    std::u16string type = {};
};

inline constexpr const char16_t* kWrongHeaders[] = {u"题号",    u"试题",       u"题型", u"题库",
                                                    u"错 / 做", u"最近一次错", u"现在"};

class WrongBook {
public:
    WrongBook(DataFolder folder, Edition edition, std::int32_t user, std::int32_t subject);

    // Everything that was ever wrong. Raises the component's error when the client database cannot be read.
    void Load();

    // What the filter lets through, in the order of the last mistakes.
    const std::vector<WrongEntry>& All() const { return all_; }
    std::vector<const WrongEntry*> Filtered(const WrongFilter& filter, Date today);
    std::vector<std::pair<std::u16string, std::u16string>> Banks() const;  // code and name
    std::vector<std::pair<std::int32_t, std::u16string>> Types() const;

    bool Remove(const WrongEntry& entry);
    bool Restore(const WrongEntry& entry);

    // The candidate's last wrong answer, as it is stored.
    std::u16string StudentAnswer(const WrongEntry& entry);

    QuestionSource& Source() { return source_; }
    std::int32_t User() const { return user_; }
    std::int32_t Subject() const { return subject_; }

private:
    void Find(Date from, std::vector<WrongQuestion>& into);

    QuestionSource source_;
    std::int32_t user_;
    std::int32_t subject_;
    WrongQuestions wrong_;
    std::vector<WrongEntry> all_;
    std::vector<WrongEntry> within_;  // of a period
};

ui::ListRow ToListRow(const WrongEntry& entry);
std::vector<DrillQuestion> ToDrill(const std::vector<const WrongEntry*>& entries);

// The question in full with both answers and the note on it.
document::RichText WrongText(WrongBook& book, const WrongEntry& entry);
report::Report WrongReport(WrongBook& book, const std::vector<const WrongEntry*>& entries, std::u16string_view whose);

}  // namespace qmtrain::host
