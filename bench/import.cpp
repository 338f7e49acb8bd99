// A file of 20,000 questions with 500 pictures into a new bank, beside pugixml reading the same file and SQLite storing
// the same rows: the least that such an import can be. Ours has also to make formatted texts, to look for questions
// that are there, and to write RTF.

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <random>

#include <pugixml.hpp>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include "bank/create_bank.h"
#include "core/error.h"
#include "core/files.h"
#include "core/text.h"
#include "exchange/bank_file.h"
#include "exchange/base64.h"
#include "exchange/formats.h"
#include "measure.h"
#include "sqlite.h"

namespace qmtrain::bench {
namespace {

namespace fs = std::filesystem;

constexpr int kQuestions = 20'000;
constexpr int kPictures = 500;
constexpr std::size_t kPictureBytes = 60'000;

// A whole PNG as far as its chunks go; it is never drawn here.
Bytes Picture(std::mt19937& random) {
    Bytes bytes = {0x89, 'P', 'N', 'G', '\r', '\n', 0x1A, '\n', 0, 0, 0, 13, 'I', 'H', 'D', 'R', 0,
                   0,    1,   64,  0,   0,    0,    200,  8,    2, 0, 0, 0,  0,   0,   0,   0};
    const auto put = [&](std::size_t number) {
        for (int shift = 24; shift >= 0; shift -= 8) bytes.push_back(static_cast<std::uint8_t>(number >> shift));
    };
    put(kPictureBytes);
    for (const char unit : {'I', 'D', 'A', 'T'}) bytes.push_back(static_cast<std::uint8_t>(unit));
    for (std::size_t i = 0; i < kPictureBytes + 4; ++i) bytes.push_back(static_cast<std::uint8_t>(random()));
    put(0);
    for (const std::uint8_t unit : Bytes{'I', 'E', 'N', 'D', 0xAE, 0x42, 0x60, 0x82}) bytes.push_back(unit);
    return bytes;
}

void MakeFile(const fs::path& file) {
    std::mt19937 random(1);
    std::ofstream out(file, std::ios::binary);
    out << "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<quiz>\n";
    for (int i = 0; i < kQuestions; ++i) {
        out << "<question type=\"multichoice\"><name><text>Q" << i
            << "</text></name><questiontext format=\"html\"><text><![CDATA[<p>第 " << i
            << " 题：下列关于<b>线性表</b>的叙述中，正确的是（　　）。</p>";
        const bool picture = i % (kQuestions / kPictures) == 0;
        if (picture) out << "<p><img src=\"KindPLUGINFILEKind/p.png\"></p>";
        out << "]]></text>";
        if (picture)
            out << "<file name=\"p.png\" encoding=\"base64\">" << exchange::ToBase64(Picture(random)) << "</file>";
        out << "</questiontext><generalfeedback format=\"html\"><text>见教材第 " << i % 300
            << " 页。</text></generalfeedback><single>true</single>";
        for (int option = 0; option < 4; ++option) {
            out << "<answer fraction=\"" << (option == i % 4 ? 100 : 0) << "\" format=\"html\"><text><![CDATA[<p>第 "
                << i << " 题的选项，内容是 " << random() << "</p>]]></text></answer>";
        }
        out << "</question>\n";
    }
    out << "</quiz>\n";
}

void Ours(const fs::path& folder, const fs::path& file) {
    const std::u16string banks = FromNativePath(folder);
    CreateCatalogue(banks);
    const exchange::Import read = exchange::ReadFile(FromNativePath(file));
    const exchange::ImportPlan plan = exchange::PlanImport(banks, {u"BIG", u"", u"", 1}, read.questions);
    exchange::CarryOut(banks, plan, read.questions, {});
    if (read.questions.size() != kQuestions) std::abort();
}

void Theirs(const fs::path& folder, const fs::path& file) {
    pugi::xml_document document;
    if (!document.load_file(file.c_str())) std::abort();
    const SqliteFile database(folder / "bank.sqlite");
    SqliteFile& open = const_cast<SqliteFile&>(database);
    open.Execute(
        "PRAGMA journal_mode=DELETE; PRAGMA synchronous=FULL;"
        "CREATE TABLE Choice (RecNo TEXT PRIMARY KEY, Title TEXT, Answer TEXT, Analysis TEXT);"
        "CREATE TABLE Vice (RecNo TEXT, Letter TEXT, Content TEXT); CREATE INDEX ByQuestion ON Vice (RecNo);"
        "BEGIN");
    SqliteStatement question(database, "INSERT INTO Choice VALUES (?, ?, ?, ?)");
    SqliteStatement option(database, "INSERT INTO Vice VALUES (?, ?, ?)");
    int number = 0;
    for (const pugi::xml_node node : document.child("quiz").children("question")) {
        const std::u16string rec_no = u"BI01" + ToText(100000 + ++number);
        std::string title = node.child("questiontext").child("text").text().get();
        title += node.child("questiontext").child("file").text().get();
        int place = 0;
        int bits = 0;
        for (const pugi::xml_node answer : node.children("answer")) {
            if (answer.attribute("fraction").as_int() == 100) bits |= 1 << place;
            option.Bind(1, rec_no)
                .Bind(2, std::u16string(1, static_cast<char16_t>(u'A' + place++)))
                .Bind(3, FromUtf8(answer.child("text").text().get()))
                .Run();
        }
        question.Bind(1, rec_no)
            .Bind(2, FromUtf8(title))
            .Bind(3, ToText(bits))
            .Bind(4, FromUtf8(node.child("generalfeedback").child("text").text().get()))
            .Run();
    }
    open.Execute("COMMIT");
}

}  // namespace
}  // namespace qmtrain::bench

int main() {
    using namespace qmtrain::bench;
    const fs::path folder = fs::temp_directory_path() / qmtrain::UniqueName("bench-import-", "");
    fs::create_directories(folder);
    const fs::path file = folder / "questions.xml";
    MakeFile(file);
    const double megabytes = static_cast<double>(fs::file_size(file)) / 1e6;
    const Use ours = Measure([&] { Ours(folder, file); });
    const Use theirs = Measure([&] { Theirs(folder, file); });
    std::printf("%d questions, %d pictures, %.0f MB of Moodle XML\n", kQuestions, kPictures, megabytes);
    std::printf("into a bank: %.1f s, %.0f MiB; pugixml and SQLite: %.1f s, %.0f MiB; ratio %.2f\n", ours.seconds,
                ours.mebibytes, theirs.seconds, theirs.mebibytes, ours.seconds / theirs.seconds);
    fs::remove_all(folder);
}
