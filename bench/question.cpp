// Loading questions of a large bank, in both editions, against SQLite doing the same lookups in the same tables.

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <string_view>

#include "bank/create_bank.h"
#include "bank/question_item.h"
#include "core/files.h"
#include "core/log.h"
#include "core/text.h"
#include "dao/dao.h"
#include "measure.h"
#include "sqlite.h"

namespace {

using namespace qmtrain;
namespace fs = std::filesystem;

constexpr std::int32_t kQuestions = 20000;
constexpr std::size_t kDocumentBytes = 11500;  // an operation question has two
constexpr int kLoads = 2000;
constexpr std::int32_t kSubject = 2;
constexpr std::u16string_view kBank = u"NCRE2VB";
constexpr std::u16string_view kTables[] = {u"TBL_CHOICE", u"TBL_CHOICES", u"TBL_YESNO", u"TBL_FILL", u"TBL_OPERATION"};
constexpr std::size_t kOperation = 4;

struct Question {
    std::size_t kind;
    std::u16string rec_no;  // its 3rd and 4th characters name the kind

    explicit Question(std::int32_t number)
        : kind(static_cast<std::size_t>(number) % std::size(kTables)),
          rec_no(u"020" + ToText(kind + 1) + ToText(100000 + number)) {}
};

std::u16string Stem(std::int32_t number) {
    std::u16string stem;
    for (int i = 0; i < 12; ++i) stem += u"下列关于窗体的叙述中，正确的是第 " + ToText(number) + u" 项。";
    return stem;
}

Bytes Document(std::int32_t number) {
    Bytes bytes(kDocumentBytes);
    auto state = static_cast<std::uint32_t>(number) + 1;
    for (std::uint8_t& byte : bytes) {
        state = state * 1664525 + 1013904223;
        byte = static_cast<std::uint8_t>(state >> 24);
    }
    return bytes;
}

// The questions that both sides load, one after the other.
class Choice {
public:
    Question Next() {
        state_ = state_ * 1664525 + 1013904223;
        return Question(static_cast<std::int32_t>((state_ >> 8) % kQuestions));
    }

private:
    std::uint32_t state_ = 1;
};

// One file of questions serves both editions: it is the bank that the catalogue names, and the local paper database.
struct Files {
    fs::path folder;
    fs::path OurBank() const { return folder / "Bank.mdb"; }
    fs::path TheirBank() const { return folder / "bank.db"; }
    fs::path TheirCatalogue() const { return folder / "total.db"; }
};

void FillOurs(const Files& files) {
    CreateCatalogue(FromNativePath(files.folder));
    CreateLocalPaperDatabase(FromNativePath(files.OurBank()));
    dao::Engine& engine = dao::Engine::Instance();
    const dao::Connection catalogue(InFolder(FromNativePath(files.folder), u"Total.mdb"));
    const dao::Connection bank(FromNativePath(files.OurBank()));
    engine.BeginTrans();
    catalogue->Execute(u"Insert Into Tbl_Subject Values ('" + std::u16string(kBank) + u"',2,'Bank.mdb','二级 VB')");
    std::vector<std::shared_ptr<dao::Recordset>> tables;
    for (std::size_t i = 0; i < std::size(kTables); ++i) {
        bank->Execute(u"Insert Into Tbl_Information Values ('0" + ToText(i + 1) + u"','" + std::u16string(kBank) +
                      u"','" + std::u16string(kTables[i]) + u"')");
        tables.push_back(bank->OpenRecordset(kTables[i]));
    }
    const auto options = bank->OpenRecordset(u"Tbl_ChoiceVice");
    for (std::int32_t number = 0; number < kQuestions; ++number) {
        const Question question(number);
        dao::Recordset& rows = *tables[question.kind];
        rows.AddNew();
        rows.Fields(u"C_RecNo").Value(question.rec_no);
        rows.Fields(u"C_DataCode").Value(kBank);
        rows.Fields(u"SubjectCode").Value(kSubject);
        rows.Fields(u"M_Title").Value(Stem(number));
        rows.Fields(question.kind == kOperation ? u"M_Answer" : u"C_Answer").Value(u"A");
        if (question.kind == kOperation) {
            rows.Fields(u"O_RudeCont").Value(Document(number));
            rows.Fields(u"O_AimCont").Value(Document(-number));
        }
        rows.Update();
        for (const char16_t* letter : {u"A", u"B", u"C", u"D"}) {
            if (question.kind > 1) break;
            options->AddNew();
            options->Fields(u"C_RecNo").Value(question.rec_no);
            options->Fields(u"C_DataCode").Value(kBank);
            options->Fields(u"SubjectCode").Value(kSubject);
            options->Fields(u"C_ChoiceAnswer").Value(letter);
            options->Fields(u"M_answercont").Value(u"选项 " + std::u16string(letter));
            options->Update();
        }
    }
    engine.CommitTrans();
}

void FillTheirs(const Files& files) {
    bench::SqliteFile catalogue(files.TheirCatalogue());
    catalogue.Execute(
        "CREATE TABLE Tbl_Subject (C_DataCode TEXT, SubjectCode INTEGER, C_DataName TEXT, C_DataDescription TEXT,"
        " PRIMARY KEY (C_DataCode, SubjectCode));"
        "INSERT INTO Tbl_Subject VALUES ('NCRE2VB', 2, 'bank.db', '二级 VB');");
    bench::SqliteFile bank(files.TheirBank());
    bank.Execute(
        "BEGIN; CREATE TABLE Tbl_Information (C_TblCode TEXT, C_DataCode TEXT, C_Tblname TEXT);"
        "CREATE INDEX ByCode ON Tbl_Information (C_TblCode, C_DataCode);"
        "CREATE TABLE Tbl_ChoiceVice (C_RecNo TEXT, C_DataCode TEXT, SubjectCode INTEGER, C_ChoiceAnswer TEXT,"
        " M_answercont TEXT);"
        "CREATE INDEX ByQuestion ON Tbl_ChoiceVice (C_RecNo, C_DataCode, SubjectCode);");
    bench::SqliteStatement information(bank, "INSERT INTO Tbl_Information VALUES (?,?,?)");
    bench::SqliteStatement option(bank, "INSERT INTO Tbl_ChoiceVice VALUES (?,?,?,?,?)");
    std::vector<std::unique_ptr<bench::SqliteStatement>> inserts;
    for (std::size_t i = 0; i < std::size(kTables); ++i) {
        const std::string table = ToUtf8(kTables[i]);
        bank.Execute(("CREATE TABLE " + table + " (C_RecNo TEXT, C_DataCode TEXT, SubjectCode INTEGER, M_Title TEXT," +
                      (i == kOperation ? "M_Answer TEXT, O_RudeCont BLOB, O_AimCont BLOB" : "C_Answer TEXT") +
                      ", PRIMARY KEY (C_RecNo, C_DataCode, SubjectCode))")
                         .c_str());
        information.Bind(1, u"0" + ToText(i + 1)).Bind(2, kBank).Bind(3, kTables[i]).Run();
        inserts.push_back(std::make_unique<bench::SqliteStatement>(
            bank, "INSERT INTO " + table + (i == kOperation ? " VALUES (?,?,?,?,?,?,?)" : " VALUES (?,?,?,?,?)")));
    }
    for (std::int32_t number = 0; number < kQuestions; ++number) {
        const Question question(number);
        bench::SqliteStatement& insert = *inserts[question.kind];
        insert.Bind(1, question.rec_no).Bind(2, kBank).Bind(3, kSubject).Bind(4, Stem(number)).Bind(5, u"A");
        if (question.kind == kOperation) insert.Bind(6, Document(number)).Bind(7, Document(-number));
        insert.Run();
        for (const char16_t* letter : {u"A", u"B", u"C", u"D"}) {
            if (question.kind > 1) break;
            option.Bind(1, question.rec_no).Bind(2, kBank).Bind(3, kSubject).Bind(4, letter);
            option.Bind(5, u"选项 " + std::u16string(letter)).Run();
        }
    }
    bank.Execute("COMMIT");
}

// What was read, so that both sides can be compared.
struct Read {
    std::size_t characters = 0;
    std::size_t bytes = 0;
    std::size_t options = 0;

    bool operator==(const Read&) const = default;
};

Read LoadOurs(const Files& files, bool is_net) {
    Read read;
    Choice choice;
    for (int i = 0; i < kLoads; ++i) {
        const Question question = choice.Next();
        QuestionItem item;
        item.IsNet(is_net);
        if (is_net) item.LocalPaperMdb(FromNativePath(files.OurBank()));
        item.DataMdbPath(FromNativePath(files.folder));
        item.DataCode(kBank);
        item.SubjectCode(kSubject);
        item.RecNo(question.rec_no);
        std::u16string error;
        if (!item.InitQuestionItem(error)) {
            std::fprintf(stderr, "%s\n", ToUtf8(error).c_str());
            std::exit(1);
        }
        read.characters += item.Title().size() + item.Answer().size();
        if (item.ChoiceItems()) read.options += static_cast<std::size_t>(item.ChoiceItems()->Count());
        if (question.kind != kOperation) continue;
        Bytes document;
        item.GetInitDocBin(document);
        read.bytes += document.size();
        item.GetResultDocBin(document);
        read.bytes += document.size();
    }
    return read;
}

std::string Text(std::u16string_view text) {
    return "'" + ToUtf8(text) + "'";
}

Read LoadTheirs(const Files& files, bool is_net) {
    Read read;
    Choice choice;
    const std::string bank_code = Text(kBank);
    for (int i = 0; i < kLoads; ++i) {
        const Question question = choice.Next();
        fs::path file = files.TheirBank();
        if (!is_net) {
            const bench::SqliteFile catalogue(files.TheirCatalogue());
            bench::SqliteStatement rows(catalogue, "Select * From Tbl_Subject Where C_DataCode=" + bank_code);
            if (!rows.Step()) catalogue.Fail();
            file = files.folder / ToUtf8(rows.Text(2));
        }
        const bench::SqliteFile bank(file);
        bench::SqliteStatement directory(
            bank, "Select * From Tbl_Information Where C_TblCode=" + Text(question.rec_no.substr(2, 2)));
        if (!directory.Step()) bank.Fail();
        const std::string where = " Where C_RecNo=" + Text(question.rec_no) +
                                  (is_net ? " And C_DataCode=" + bank_code + " And SubjectCode=2" : std::string());
        bench::SqliteStatement row(bank, "Select * From " + ToUtf8(directory.Text(2)) + where);
        if (!row.Step()) bank.Fail();
        read.characters += row.Text(3).size() + row.Text(4).size();
        if (question.kind == kOperation) read.bytes += row.Blob(5).size() + row.Blob(6).size();
        if (question.kind > 1 || !is_net) continue;
        bench::SqliteStatement options(bank, "Select * From Tbl_ChoiceVice" + where + " Order by C_ChoiceAnswer");
        while (options.Step()) {
            if (!options.Text(4).empty()) ++read.options;
        }
    }
    return read;
}

void Compare(const Files& files, bool is_net, long peak_kib) {
    Read our_read;
    Read their_read;
    const double ours = bench::BestOf(5, [&] { our_read = LoadOurs(files, is_net); });
    const double theirs = bench::BestOf(5, [&] { their_read = LoadTheirs(files, is_net); });
    if (!(our_read == their_read)) {
        std::fprintf(stderr, "the two sides did not read the same\n");
        std::exit(1);
    }
    std::printf("loading a question of %d (%.0f MB), %s edition: %.0f us, SQLite %.0f us: %.2f times its time, ",
                kQuestions, static_cast<double>(fs::file_size(files.OurBank())) / 1e6,
                is_net ? "network" : "stand-alone", ours * 1e6 / kLoads, theirs * 1e6 / kLoads, ours / theirs);
    std::printf("peak %.1f MiB\n", static_cast<double>(peak_kib) / 1024);
}

// What the process with these arguments does; the filling and each edition's loads have one of their own.
void DoPart(std::string_view part, const Files& files) {
    SetComponentFolder(files.folder);
    if (part == "fill") {
        FillOurs(files);
        FillTheirs(files);
    } else {
        LoadOurs(files, part == "network");
    }
}

long PeakOf(const char* part, const Files& files) {
    const auto run = bench::RunProgram({fs::read_symlink("/proc/self/exe").string(), part, files.folder.string()}, 1);
    if (!run.succeeded) std::exit(1);
    return run.peak_kib;
}

}  // namespace

// A process inherits the peak of the one that started it, so this one stays small until the others have run.
int main(int count, char** arguments) {
    if (count == 3) {
        DoPart(arguments[1], {arguments[2]});
        return 0;
    }
    const Files files{fs::temp_directory_path() / "qmtrain-bench-question"};
    fs::remove_all(files.folder);
    fs::create_directories(files.folder);
    SetComponentFolder(files.folder);
    PeakOf("fill", files);
    const long stand_alone_peak = PeakOf("stand-alone", files);
    const long network_peak = PeakOf("network", files);
    Compare(files, false, stand_alone_peak);
    Compare(files, true, network_peak);
    fs::remove_all(files.folder);
}
