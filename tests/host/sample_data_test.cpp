// The sample questions, papers and histories.

#include "host/samples/sample_data.h"

#include <algorithm>
#include <bit>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <set>

#include <gtest/gtest.h>

#include "bank/client_folder.h"
#include "bank/fill_answer.h"
#include "bank/question_item.h"
#include "core/convert.h"
#include "core/error.h"
#include "core/files.h"
#include "core/log_reader.h"
#include "core/text.h"
#include "dao/dao.h"
#include "dao/jet_database.h"
#include "dao/new_database.h"
#include "host/data/data_folder.h"
#include "host/papers/papers.h"
#include "host/samples/sample_questions.h"
#include "jet/check.h"
#include "jet/database.h"
#include "jet/support/scratch.h"
#include "records/summary_query.h"
#include "ui/question_text.h"

namespace qmtrain {

void PrintTo(QuestionKind kind, std::ostream* out) {
    *out << ToUtf8(KindName(kind));
}

namespace host {
namespace {

using test::ScratchFolder;

template <class Visit>
void ForEachQuestion(Visit visit) {
    for (const SampleBank& bank : SampleBanks()) {
        for (const SampleQuestion& question : bank.questions) {
            SCOPED_TRACE(ToUtf8(question.rec_no));
            visit(bank, question);
        }
    }
}

float MarkOf(const SampleQuestion& question, std::u16string_view answer) {
    return MarkAnswer({question.kind, question.answer, question.keywords, 1}, answer).score;
}

std::size_t CountOf(std::u16string_view text, std::u16string_view wanted) {
    std::size_t count = 0;
    for (std::size_t at = 0; (at = text.find(wanted, at)) != text.npos; at += wanted.size()) ++count;
    return count;
}

TEST(SampleQuestions, EnoughOfEachKind) {
    for (const SampleBank& bank : SampleBanks()) {
        std::map<QuestionKind, int> counts;
        for (const SampleQuestion& question : bank.questions) ++counts[question.kind];
        EXPECT_GE(counts[QuestionKind::Single], 12);
        EXPECT_GE(counts[QuestionKind::Multiple], 5);
        EXPECT_GE(counts[QuestionKind::YesNo], 6);
        EXPECT_GE(counts[QuestionKind::Fill], 6);
        EXPECT_GE(counts[QuestionKind::Operation], 4);
    }
    std::set<std::u16string> numbers;
    std::set<std::u16string> titles;
    ForEachQuestion([&](const SampleBank& bank, const SampleQuestion& question) {
        EXPECT_TRUE(numbers.insert(question.rec_no).second);
        EXPECT_TRUE(titles.insert(question.title).second);
        EXPECT_EQ(question.rec_no.substr(0, 2), bank.code);
        EXPECT_EQ(question.rec_no.substr(2, 2), InfoOf(question.kind).table_code);
        EXPECT_EQ(question.rec_no.size(), 8U);
        EXPECT_EQ(FindSampleQuestion(question.rec_no), &question);
    });
    EXPECT_EQ(FindSampleQuestion(u"JC019999"), nullptr);
}

void CheckChoice(const SampleQuestion& question) {
    ASSERT_EQ(question.options.size(), 4U);
    EXPECT_EQ(std::set(question.options.begin(), question.options.end()).size(), 4U);
    const auto bits = static_cast<unsigned>(ToLong(question.answer));
    EXPECT_LT(bits, 1U << question.options.size());
    if (question.kind == QuestionKind::Single) {
        EXPECT_EQ(std::popcount(bits), 1);
    } else {
        EXPECT_GE(std::popcount(bits), 2);
    }
}

void CheckFill(const SampleQuestion& question) {
    const std::u16string stem = ui::StoredText(question.title).PlainText();
    FillAnswer answer;
    answer.Answer(question.answer);
    const std::int32_t blanks = answer.GetFillCount();
    EXPECT_EQ(CountOf(stem, u"【"), static_cast<std::size_t>(blanks));
    std::size_t place = 0;
    for (std::int32_t i = 1; i <= blanks; ++i) {
        const std::size_t found = stem.find(u"【" + ToText(i) + u"】");
        ASSERT_NE(found, stem.npos) << i;
        EXPECT_GE(found, place);
        place = found;
        std::vector<std::u16string> accepted;
        ASSERT_TRUE(answer.GetAnswer(i, accepted));
        for (const std::u16string& one : accepted) EXPECT_NE(one, u"");
    }
    EXPECT_EQ(CountOf(question.candidate, u"@") + 1, static_cast<std::size_t>(blanks));
    EXPECT_EQ(MarkOf(question, question.candidate), 0);
}

void CheckOperation(const SampleQuestion& question) {
    EXPECT_NE(question.keywords, u"");
    EXPECT_EQ(MarkOf(question, question.candidate), 1);
    EXPECT_LT(MarkOf(question, question.title), 1);
    // Shown as answers of other kinds are, in which these separate.
    EXPECT_EQ((question.answer + question.candidate).find_first_of(u"@#"), std::u16string::npos);
}

TEST(SampleQuestions, AnswersAreWellFormed) {
    ForEachQuestion([](const SampleBank&, const SampleQuestion& question) {
        EXPECT_GE(question.difficulty, 1);
        EXPECT_LE(question.difficulty, 3);
        EXPECT_GE(question.distinction, 1);
        EXPECT_LE(question.distinction, 3);
        switch (question.kind) {
            case QuestionKind::Single:
            case QuestionKind::Multiple: CheckChoice(question); break;
            case QuestionKind::YesNo: EXPECT_TRUE(question.answer == u"-1" || question.answer == u"0"); break;
            case QuestionKind::Fill: CheckFill(question); break;
            case QuestionKind::Operation: CheckOperation(question); break;
            case QuestionKind::Unknown: ADD_FAILURE() << "no kind"; break;
        }
    });
}

TEST(SampleQuestions, StemsLeaveNothingBehind) {
    ForEachQuestion([](const SampleBank&, const SampleQuestion& question) {
        std::vector<std::u16string> texts = question.options;
        texts.push_back(question.title);
        for (const std::u16string& stored : texts) {
            const document::RichText text = ui::StoredText(stored);
            const std::u16string plain = text.PlainText();
            EXPECT_NE(plain, u"");
            for (const char16_t* word : {u"\\rtf", u"\\par", u"\\u", u"\\'", u"\\f1", u"{\\", u"fonttbl", u"Courier",
                                         u"宋体", u"%user%", u"^p", u"\xFFFD"}) {
                EXPECT_EQ(plain.find(word), plain.npos) << ToUtf8(word) << " in " << ToUtf8(plain);
            }
            EXPECT_EQ(CountOf(plain, u"{"), CountOf(plain, u"}"));
        }
    });
}

class SampleDataTest : public testing::Test {
protected:
    SampleDataTest() {
        test::LogTo(scratch_.Path());
        MakeSampleData(folder_.path);
    }
    ~SampleDataTest() override { SetComponentFolder(ProgramFolder()); }

    std::filesystem::path File(const char* name) const { return scratch_.Path() / u"数据" / name; }

    std::map<std::string, std::string> Contents() const {
        std::map<std::string, std::string> contents;
        for (const auto& entry : std::filesystem::recursive_directory_iterator(scratch_.Path() / u"数据")) {
            if (!entry.is_regular_file()) continue;
            std::ifstream in(entry.path(), std::ios::binary);
            contents[entry.path().filename().string()] = {std::istreambuf_iterator<char>(in), {}};
        }
        return contents;
    }

    // The rows of a select on the client database, fields joined with "|".
    std::vector<std::string> Client(std::u16string_view sql) const {
        const dao::Connection client(ClientDatabase(folder_.path));
        std::vector<std::string> found;
        const auto rows = client->OpenRecordset(sql);
        for (; !rows->Eof(); rows->MoveNext()) {
            std::u16string line;
            for (const auto& field : rows->Fields()) line += u"|" + TextOr(field->Value(), u"Null");
            found.push_back(ToUtf8(line.substr(1)));
        }
        return found;
    }

    void CheckFiles() const {
        int files = 0;
        for (const auto& entry : std::filesystem::recursive_directory_iterator(scratch_.Path() / u"数据")) {
            if (entry.path().extension() != ".mdb") continue;
            SCOPED_TRACE(entry.path().filename());
            ++files;
            const auto database = dao::JetDatabase::Open(FromNativePath(entry.path()));
            const jet::CheckReport report = jet::CheckDatabase(database->Storage());
            for (const std::u16string& line : report.defects) ADD_FAILURE() << ToUtf8(line);
            for (const std::u16string& line : report.notes) ADD_FAILURE() << ToUtf8(line);
        }
        EXPECT_EQ(files, 6);
    }

    ScratchFolder scratch_;
    DataFolder folder_{FromNativePath(scratch_.Path() / u"数据")};
};

TEST_F(SampleDataTest, FilesAreSoundAndStay) {
    CheckFiles();
    const auto before = Contents();
    MakeSampleData(folder_.path);
    EXPECT_TRUE(Contents() == before);

    std::filesystem::remove(File("Host.mdb"));
    std::filesystem::remove(File("Bank") / "CX.mdb");
    MakeSampleData(folder_.path);
    const auto after = Contents();
    EXPECT_EQ(after.size(), before.size());
    for (const char* kept : {"Client.mdb", "Total.mdb", "JC.mdb", "LocalPaper.mdb"}) {
        EXPECT_TRUE(after.at(kept) == before.at(kept)) << kept;
    }
    CheckFiles();
}

TEST_F(SampleDataTest, AFileIsNotThereBeforeItIsFilled) {
    const auto before = Contents();
    const std::u16string name = InFolder(folder_.path, u"New.mdb");
    const auto fill = [&](dao::Database& database) {
        EXPECT_FALSE(FileExists(name));
        database.Execute(u"INSERT INTO T VALUES (1)");
        database.Execute(u"INSERT INTO T VALUES (1)");
    };
    try {
        dao::MakeDatabase(name, u"CREATE TABLE T (N LONG PRIMARY KEY)", fill);
        ADD_FAILURE() << "the key is there twice";
    } catch (const AutomationError& error) {
        EXPECT_TRUE(error.Is(ErrorNumber::DuplicateKey));
    }
    EXPECT_TRUE(Contents() == before);
}

TEST_F(SampleDataTest, EveryQuestionLoadsInBothEditions) {
    for (const bool is_net : {true, false}) {
        SCOPED_TRACE(is_net ? "network" : "stand-alone");
        ForEachQuestion([&](const SampleBank& bank, const SampleQuestion& question) {
            QuestionItem item;
            item.IsNet(is_net);
            item.DataMdbPath(folder_.Banks());
            item.LocalPaperMdb(folder_.LocalPaper());
            item.DataCode(bank.code);
            item.SubjectCode(bank.subject);
            item.RecNo(question.rec_no);
            std::u16string problem;
            ASSERT_TRUE(item.InitQuestionItem(problem)) << ToUtf8(problem);
            EXPECT_EQ(item.Title(), question.title);
            EXPECT_EQ(item.Answer(), question.answer);
            EXPECT_EQ(item.Kind(), question.kind);
            const bool has_options = is_net && !question.options.empty();
            ASSERT_EQ(item.ChoiceItems() != nullptr, has_options);
            if (!has_options) return;
            std::u16string letters;
            std::vector<std::u16string> options;
            for (const auto& [letter, option] : *item.ChoiceItems()) {
                letters += letter;
                options.push_back(option);
            }
            EXPECT_EQ(letters, u"ABCD");
            EXPECT_EQ(options, question.options);
        });
    }
}

TEST_F(SampleDataTest, PapersAreComplete) {
    for (const SampleBank& bank : SampleBanks()) {
        std::set<std::pair<int, int>> numbers;
        std::multiset<std::size_t> sizes;
        for (const Paper& paper : PapersOf(folder_, bank.subject)) {
            SCOPED_TRACE(ToUtf8(paper.title) + " of " + std::to_string(bank.subject));
            EXPECT_EQ(paper.FullScore(), 100);
            EXPECT_TRUE(numbers.emplace(paper.theory_no, paper.operation_no).second);
            sizes.insert(paper.questions.size());
            std::set<std::u16string> rec_nos;
            std::set<QuestionKind> kinds;
            std::int32_t number = 0;
            for (const PaperQuestion& place : paper.questions) {
                SCOPED_TRACE(ToUtf8(place.rec_no));
                EXPECT_EQ(place.number, ++number);
                EXPECT_TRUE(rec_nos.insert(place.rec_no).second);
                for (const Edition edition : {Edition::Network, Edition::StandAlone}) {
                    const QuestionContent question = LoadQuestion(folder_, edition, bank.subject, place);
                    const bool choice =
                        question.kind == QuestionKind::Single || question.kind == QuestionKind::Multiple;
                    EXPECT_EQ(question.options.size(), choice ? 4 : 0);
                    EXPECT_EQ(place.type, InfoOf(question.kind).type);
                    EXPECT_EQ(place.keywords.empty(), question.kind != QuestionKind::Operation);
                    kinds.insert(question.kind);
                }
            }
            EXPECT_EQ(kinds.contains(QuestionKind::Operation), paper.operation_no > 0);
            EXPECT_EQ(kinds.size() > 1, paper.theory_no > 0);
            if (paper.title != u"模拟练习") continue;
            EXPECT_EQ(kinds.size(), 5U);
            EXPECT_EQ(paper.minutes, 10);
        }
        EXPECT_EQ(sizes, (std::multiset<std::size_t>{4, 5, 20, 20}));
    }
}

TEST_F(SampleDataTest, HistoryIsOneOfFinishedTrainings) {
    constexpr int kTrainings = 12;
    SeedHistory(folder_.path, 2, 1, kTrainings, 7);
    const dao::Connection client(ClientDatabase(folder_.path));
    const auto rows =
        client->OpenRecordset(SummaryQuery(u" And TI.UserID=2 And TI.SubjectCode=1", u" Order By TI.StartDate"));
    std::vector<double> rates;
    Date last{};
    for (; !rows->Eof(); rows->MoveNext()) {
        const Date start = ToDate(rows->Fields(u"StartDate").Value());
        const Date end = ToDate(rows->Fields(u"EndDate").Value());
        EXPECT_GT(start, last);
        EXPECT_GT(end, start);
        EXPECT_EQ(ToLong(rows->Fields(u"UseTime").Value()), SecondsBetween(start, end));
        EXPECT_EQ(ToDouble(rows->Fields(u"PaperScore").Value()), 100);
        rates.push_back(ToDouble(rows->Fields(u"GetScore").Value()) / 100);
        EXPECT_GE(rates.back(), 0);
        EXPECT_LE(rates.back(), 1);
        last = end;
    }
    ASSERT_EQ(rates.size(), static_cast<std::size_t>(kTrainings));
    EXPECT_LT(last, Now());
    EXPECT_GT(last.days, Now().days - 2);
    const auto sum = [&](std::size_t from) {
        return rates[from] + rates[from + 1] + rates[from + 2] + rates[from + 3];
    };
    EXPECT_GT(sum(8), sum(0) + 0.5);

    const auto count = [&](std::u16string_view where) {
        return Client(std::u16string(u"Select Count(*) From TrainResult Where ").append(where)).front();
    };
    EXPECT_EQ(count(u"AnswerScore = QuestionScore And ErrInfo <> ''"), "0");
    EXPECT_EQ(count(u"AnswerScore < QuestionScore And (ErrInfo = '' Or ErrInfo Is Null)"), "0");
    EXPECT_EQ(count(u"StudentAnswer Is Null"), "0");
    EXPECT_NE(count(u"AnswerScore < QuestionScore And AnswerScore > 0"), "0");
    EXPECT_EQ(Client(u"Select Count(*) From TrainInfo TI, TrainResult TR Where TI.TrainID = TR.TrainID And "
                     u"TI.TheoryNo = 1"),
              std::vector<std::string>{"60"});
    CheckFiles();
}

}  // namespace
}  // namespace host
}  // namespace qmtrain
