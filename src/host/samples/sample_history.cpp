#include <algorithm>
#include <cmath>
#include <random>
#include <string>
#include <vector>

#include "core/convert.h"
#include "core/date.h"
#include "core/error.h"
#include "core/text.h"
#include "dao/dao.h"
#include "dao/transaction.h"
#include "host/papers/papers.h"
#include "host/samples/sample_data.h"
#include "host/samples/sample_questions.h"
#include "notes/note.h"
#include "records/train_info.h"
#include "records/train_result.h"

namespace qmtrain::host {
namespace {

struct NoteRow {
    const char16_t* rec_no;
    const char16_t* name;
    const char16_t* content;
    std::int32_t subject;
    bool shared;
};

constexpr NoteRow kNotes[] = {
    {u"JC010003", u"十进制转换成二进制：除二取余",
     u"45 = 32 + 8 + 4 + 1，所以是 101101。\r\n\r\n除二取余时，余数要从下往上读；用 2 的幂凑数更快，也可以用来检查。",
     1, false},
    {u"JC010015", u"子网掩码与主机地址数",
     u"192 = 11000000B，主机部分剩 6 位：2 的 6 次方是 64，减去网络地址和广播地址，还有 62 个。", 1, true},
    {u"JC030007", u"TCP 和 UDP 的区别",
     u"TCP 面向连接，可靠，按序到达；UDP 无连接，开销小。\r\n容易错：题目常把两者的特点对调。", 1, false},
    {u"JC040005", u"OSI 七层，自下而上", u"物理层、数据链路层、网络层、传输层、会话层、表示层、应用层。", 1, false},
    {u"CX010010", u"strlen 数到哪里为止",
     u"strlen 数到第一个 \\0 为止，不包括它；sizeof 则把整个数组都算上，包括结尾的 \\0。", 2, false},
    {u"CX010006", u"* 和 & 互为逆运算", u"p 是 x 的地址，*p 就是 x；&x 是地址，*&x 又是 x。", 2, true},
    {u"CX010013", u"WHERE 和 HAVING 的区别",
     u"WHERE 在分组之前选记录，HAVING 在分组之后选组。\r\n条件中有 AVG、COUNT 等聚合函数时，只能用 HAVING。", 2, false},
    {u"CX040005", u"二维数组的元素个数和最大下标", u"int a[3][4] 有 3 × 4 = 12 个元素，下标从 a[0][0] 到 a[2][3]。", 2,
     false},
};

[[noreturn]] void Fail(std::u16string_view reason) {
    RaiseComponentError(u"SeedHistory", std::u16string(reason));
}

template <class Table>
void Open(Table& table, std::u16string_view folder) {
    table.ClientPath(folder);
    std::u16string problem;
    if (!table.Init(problem)) Fail(problem);
}

// A candidate who knows each answer with some probability.
class SampleCandidate {
public:
    explicit SampleCandidate(unsigned seed) : random_(seed) {}

    void Skill(double value) { skill_ = value; }

    std::uint32_t Pick(std::uint32_t below) { return static_cast<std::uint32_t>(random_()) % below; }
    double Between(double low, double high) { return low + (high - low) * (static_cast<double>(random_()) / 0x1p32); }

    std::u16string Answer(const SampleQuestion& question) {
        if (Happens(0.03)) return {};
        const bool knows = Happens(skill_ + 0.08 * (2 - question.difficulty));
        switch (question.kind) {
            case QuestionKind::Single: return knows ? question.answer : OtherOption(question);
            case QuestionKind::Multiple: return knows ? question.answer : OneOptionWrong(question);
            case QuestionKind::YesNo: return (question.answer == u"0") == knows ? u"0" : u"-1";
            case QuestionKind::Fill: return Blanks(question);
            case QuestionKind::Operation: return Lines(question.candidate);
            case QuestionKind::Unknown: break;
        }
        return {};
    }

private:
    bool Happens(double probability) { return Between(0, 1) < probability; }

    std::u16string OtherOption(const SampleQuestion& question) {
        std::u16string other;
        do {
            other = ToText(1 << Pick(static_cast<std::uint32_t>(question.options.size())));
        } while (other == question.answer);
        return other;
    }

    // Every answer has two letters at least, so one is always left.
    std::u16string OneOptionWrong(const SampleQuestion& question) {
        const std::int32_t option = 1 << Pick(static_cast<std::uint32_t>(question.options.size()));
        return ToText(ToLong(question.answer) ^ option);
    }

    std::u16string Blanks(const SampleQuestion& question) {
        const std::vector<std::u16string> mistakes = Split(question.candidate, u'@');
        std::u16string text;
        std::size_t blank = 0;
        for (const std::u16string& accepted : Split(question.answer, u'@')) {
            const std::vector<std::u16string> right = Split(accepted, u'#');
            if (blank > 0) text += u'@';
            text += Happens(skill_) ? right[Pick(static_cast<std::uint32_t>(right.size()))] : mistakes[blank];
            ++blank;
        }
        return text;
    }

    // Leaves some of the lines out.
    std::u16string Lines(std::u16string_view good) {
        std::u16string text;
        for (std::size_t at = 0; at < good.size();) {
            const std::size_t end = std::min(good.find(u"\r\n", at), good.size());
            if (Happens(skill_)) text.append(text.empty() ? u"" : u"\r\n").append(good.substr(at, end - at));
            at = end + 2;
        }
        return text;
    }

    std::mt19937 random_;
    double skill_ = 0;
};

class HistoryRecorder {
public:
    HistoryRecorder(std::u16string_view folder, std::int32_t user, unsigned seed) : user_(user), candidate_(seed) {
        Open(train_, folder);
        result_.ClientPath(folder);
    }

    // `progress` runs from 0 to 1.
    void Record(const Paper& paper, double day, double progress) {
        candidate_.Skill(0.45 + 0.45 * progress + candidate_.Between(-0.07, 0.07));
        const Date start{day + std::floor(candidate_.Between(8 * 60, 20 * 60)) / (24 * 60)};
        const std::int32_t id = train_.AddNewTrain(start, user_, paper.theory_no, paper.operation_no, paper.subject);
        if (id == -1) Fail(u"无法记录新的练习。");
        dao::Transaction transaction;
        float score = 0;
        for (const PaperQuestion& question : paper.questions) score += RecordResult(id, question);
        transaction.Commit();
        const double seconds = std::floor(paper.minutes * 60 * candidate_.Between(0.45, 0.95));
        if (!train_.Update(id, Date{start.days + seconds / 86400}, score)) Fail(u"无法记录练习的成绩。");
    }

private:
    float RecordResult(std::int32_t id, const PaperQuestion& place) {
        const SampleQuestion* question = FindSampleQuestion(place.rec_no);
        if (question == nullptr) Fail(u"试卷中有样例题库以外的试题。");
        const std::u16string answer = candidate_.Answer(*question);
        const Mark mark = MarkAnswer({question->kind, question->answer, place.keywords, place.score}, answer);
        const bool recorded =
            result_.Add(id, place.type, place.data_code, place.rec_no, place.score, 0, question->answer, u"", u"",
                        place.distin, place.difficult, place.number) &&
            result_.Update(id, place.data_code, place.rec_no, mark.score, answer, mark.error, mark.error_xml);
        if (!recorded) Fail(u"无法记录试题的成绩。");
        return mark.score;
    }

    std::int32_t user_;
    SampleCandidate candidate_;
    TrainInfo train_;
    TrainResult result_;
};

void AddNotes(std::u16string_view folder, std::int32_t user, std::int32_t subject) {
    Note note;
    Open(note, folder);
    note.UserId(user);
    note.mSubjectCode(subject);
    if (note.GetNotesCount() > 0) return;
    for (const NoteRow& row : kNotes) {
        if (row.subject != subject) continue;
        const std::u16string_view rec_no = row.rec_no;
        if (!note.Add(subject, rec_no.substr(0, 2), rec_no, row.name, row.content, row.shared, user)) {
            Fail(u"无法记录笔记。");
        }
    }
}

// Days between one training and the next: a few months in all, and no two on one day.
double Step(int trainings) {
    constexpr double kLongest = 6;
    constexpr double kAll = 120;
    return std::max(1.0, std::min(kLongest, kAll / std::max(1, trainings)));
}

}  // namespace

void SeedHistory(std::u16string_view folder, std::int32_t user, std::int32_t subject, int trainings, unsigned seed) {
    const std::vector<Paper> papers = PapersOf({std::u16string(folder)}, subject);
    if (papers.empty()) Fail(u"这个科目没有试卷。");
    const double yesterday = std::floor(Now().days) - 1;
    HistoryRecorder recorder(folder, user, seed);
    for (int i = 0; i < trainings; ++i) {
        const int left = trainings - 1 - i;
        const double progress = static_cast<double>(i) / std::max(1, trainings - 1);
        recorder.Record(papers[static_cast<std::size_t>(i) % papers.size()],
                        yesterday - std::floor(left * Step(trainings)), progress);
    }
    AddNotes(folder, user, subject);
}

}  // namespace qmtrain::host
