// The commands as a user runs them: the program itself, its exit code, what it says, and what it leaves behind.

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>

#include <sys/wait.h>
#include <unistd.h>

#include "dao/transaction.h"
#include "exchange/bank_file.h"
#include "host_fixture.h"

namespace qmtrain::host {
namespace {

namespace fs = std::filesystem;

constexpr const char* kQuestions =
    "题型,题干,A,B,C,答案,解析,难度,要点\n"
    "单选,栈的特点是,先进先出,先进后出,随机存取,B,只在栈顶操作,1,\n"
    "多选,线性结构有,栈,队列,树,AB,,2,\n"
    "判断,队列先进先出,,,,对,,3,\n"
    "填空,插入称【1】，删除称【2】,,,,入栈#push@出栈#pop,,2,\n"
    "操作,写出判断栈空的函数,,,,返回 1,,3,IsEmpty#return\n";
constexpr const char* kTwoOfThem =
    "题型,题干,A,B,C,答案\n"
    "单选,栈的特点是,先进先出,先进后出,随机存取,B\n"
    "判断,队列先进先出,,,,错\n";
constexpr const char* kOneBad =
    "题干,A,B,答案\n"
    "树是,线性的,非线性的,B\n"
    "图是,线性的,非线性的,D\n"
    "表是,线性的,非线性的,A\n";

struct Called {
    const char* words;
    int code;
    std::vector<const char*> says;
    const char* input = "";
};

class CommandsTest : public test::HostTest {
protected:
    CommandsTest() : work_(folder_.Path() / "work") {
        fs::create_directory(work_);
        Write("good.csv", kQuestions);
        Write("two.csv", kTwoOfThem);
        Write("onebad.csv", kOneBad);
        Write("noanswer.csv", "题型,题干,A,B\n单选,甲,1,2\n");
        Write("good.gift", "::甲:: 树是{~线性的 =非线性的}\n\n图是{~线性的 =非线性的}\n");
        Write("cut.xml",
              "<?xml version=\"1.0\"?>\n<quiz>\n<question type=\"truefalse\"><questiontext><text>甲</text>"
              "</questiontext>\n<answer fraction=\"100\"><te");
        Write("picture.gift", std::string("\x89PNG\r\n\x1A\n\0\0\0\rIHDR", 16));
        Write("note.gift", "只有一段说明\n");
        Write("empty.csv", "");
    }

    void Write(const char* file, const std::string& content) const {
        std::ofstream(work_ / file, std::ios::binary) << content;
    }
    std::string Read(const fs::path& file) const {
        std::ifstream in(work_ / file, std::ios::binary);
        return {std::istreambuf_iterator<char>(in), {}};
    }

    // In the folder with the files, with the sample data.
    std::pair<int, std::string> Shell(const std::string& line, const std::string& input) const {
        Write("input", input);
        const int status =
            std::system(("cd '" + work_.string() + "' && { " + line + "; } <input >output 2>&1").c_str());
        return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, Read("output")};
    }
    std::pair<int, std::string> Call(const std::string& words, const std::string& input = "") const {
        return Shell(std::string(QMTRAIN_PROGRAM) + " " + words + " --data ..", input);
    }
    void Expect(const Called& run) const {
        SCOPED_TRACE(run.words);
        const auto [code, said] = Call(run.words, run.input);
        EXPECT_EQ(code, run.code) << said;
        for (const char* text : run.says) EXPECT_NE(said.find(text), std::string::npos) << text << "\n" << said;
    }

    // All that an import may change. The file of a bank is nothing until the catalogue has it.
    std::map<std::string, std::string> Banks() const {
        std::map<std::string, std::string> files;
        for (const exchange::BankEntry& bank : exchange::BanksIn(data_.Banks())) {
            files[ToUtf8(bank.file)] = Read(ToNativePath(exchange::FileOf(data_.Banks(), bank)));
        }
        files["Total.mdb"] = Read(ToNativePath(InFolder(data_.Banks(), u"Total.mdb")));
        return files;
    }
    // "DS010001 DS020001 …".
    std::string Numbers(std::u16string_view code) const {
        std::string out;
        for (const exchange::Question& one : exchange::ReadBank(data_.Banks(), code)) out += ToUtf8(one.rec_no) + " ";
        return out;
    }

    fs::path work_;
};

TEST_F(CommandsTest, AnImportThatIsRefusedWritesNothing) {
    fs::copy_file(ToNativePath(exchange::FileOf(data_.Banks(), exchange::FindBank(data_.Banks(), u"JC").value())),
                  ToNativePath(InFolder(data_.Banks(), u"ALONE.mdb")));
    const auto before = Banks();
    const Called runs[] = {
        {"import", 2, {"请指明要导入的文件。"}},
        {"import good.csv", 2, {"请用 --bank 指明题库代码。"}},
        {"import good.csv --bank DS --subject x", 2, {"参数无法识别：", "x"}},
        {"import good.csv --bank DS --frobnicate", 2, {"不认识的参数：--frobnicate"}},
        {"import good.csv --bank ../DS", 2, {"题库代码“../DS”应当是 1 到 20 个英文字母或数字。"}},
        {"import good.csv --bank JC --subject 2", 2, {"属于科目 1，不是科目 2。"}},
        {"import good.csv --bank DS --format word", 2, {"没有格式“word”"}},
        {"import none.csv --bank DS", 2, {"文件“none.csv”不存在。"}},
        {"import picture.gift --bank DS", 2, {"文件“picture.gift”：不能导入：这是图片。"}},
        {"import empty.csv --bank DS", 2, {"empty.csv"}},
        {"import cut.xml --bank DS", 1, {"第 4 行", "没有写入任何内容"}},
        {"import noanswer.csv --bank DS", 1, {"第 1 行：错误：表格没有“答案”一列。", "没有写入任何内容"}},
        {"import onebad.csv --bank DS",
         1,
         {"读出 2 题", "第 3 行“图是”：错误：没有答案所说的选择项 D。", "有 1 处错误，没有写入任何内容"}},
        {"import good.csv none.csv --bank DS", 2, {"none.csv"}},
        {"import good.csv --bank DS --dry-run", 0, {"将新建：新增 5 题", "只是预览，没有写入任何内容。"}},
        {"import good.csv --bank JC --dry-run --replace", 0, {"将删除。", "只是预览"}},
        {"import onebad.csv --bank DS --dry-run --keep-going", 1, {"新增 2 题", "只是预览"}},
        {"import note.gift --bank DS --dry-run", 2, {"没有可以导入的试题。"}},
        {"import good.csv --bank ALONE --dry-run", 2, {"已经存在，而题库目录中没有它"}},
        {"import good.csv --bank JC --replace",
         1,
         {"题在练习历史、笔记或试卷中用到）。", "继续吗？(y/N)", "没有写入任何内容。"},
         "n\n"},
        {"import good.csv --bank JC --replace", 1, {"没有写入任何内容。"}},
    };
    for (const Called& run : runs) {
        Expect(run);
        EXPECT_TRUE(Banks() == before) << run.words;
    }
}

// A folder of another name is no folder of ours before something is written into it.
TEST_F(CommandsTest, APreviewMakesNoFolder) {
    const std::string program = QMTRAIN_PROGRAM " import ";
    for (const auto& [words, code] :
         {std::pair{"good.csv --bank DS --data new --dry-run", 0}, std::pair{"none.csv --bank DS --data new", 2},
          std::pair{"onebad.csv --bank DS --data new", 1}}) {
        const auto [got, said] = Shell(program + words, "");
        EXPECT_EQ(got, code) << said;
        EXPECT_FALSE(fs::exists(work_ / "new")) << words;
    }
    EXPECT_EQ(Shell(program + "good.csv --bank DS --data new", "").first, 0);
    EXPECT_EQ(Shell(program + "good.csv --bank DS --data new --dry-run", "").first, 0);
}

TEST_F(CommandsTest, WhatIsImported) {
    Expect({"import onebad.csv good.gift none.csv --bank DS --name 数据结构 --keep-going",
            1,
            {"文件 onebad.csv：读出 2 题。", "文件 none.csv：读出 0 题。", "不存在", "已写入题库“数据结构”（DS）。"}});
    EXPECT_EQ(Numbers(u"DS"), "DS010001 DS010002 DS010003 ") << "one stands in both files";
    Expect({"import good.csv --bank DS",
            0,
            {"题库“数据结构”（DS）：新增 5 题，修改 0 题，不变 0 题，重复 0 题，题库中另有 3 题不在文件里。"}});
    Expect({"import two.csv --bank DS", 0, {"新增 0 题，修改 1 题，不变 1 题", "试题 DS030001 有改动："}});
    EXPECT_EQ(Numbers(u"DS"), "DS010001 DS010002 DS010003 DS010004 DS020001 DS030001 DS040001 DS050001 ");
    Expect({"import two.csv --bank DS --replace",
            0,
            {"文件中没有试题 DS050001“写出判断栈空的函数”，将删除。", "删除 6 题", "已写入"},
            "y\n"});
    EXPECT_EQ(Numbers(u"DS"), "DS010004 DS030001 ");
    Expect({"import two.csv none.csv --bank DS --replace --keep-going --yes", 2, {"不能同时删除"}});
    Expect({"import two.csv two.csv --bank DS --dry-run", 0, {"文件“two.csv”第 2 行", "与前面的一道题相同。"}});
    Expect({"import good.csv --bank CON", 2, {"不能用作文件名"}});
    Expect({"import good.csv --bank NEW --subject -5", 2, {"科目代码应当是 1 到 9999。"}});
    Expect({"import good.gift --bank DS --replace --yes", 0, {"删除 2 题", "已写入"}});
    Expect({"import --template sheet.csv", 0, {"已写出 sheet.csv。"}});
    Expect({"import sheet.csv --bank TPL", 0, {"新增 5 题"}});
}

TEST_F(CommandsTest, AnExportIsTheSameBankAgain) {
    Expect({"import good.csv --bank DS --name 数据结构", 0, {"已写入"}});
    for (const std::string file : {"out.csv", "out.xml", "out.gift"}) {
        const auto [code, said] = Call("export --bank DS " + file);
        EXPECT_EQ(code, 0) << said;
        const bool gift = file == "out.gift";  // has no question with several blanks
        EXPECT_NE(said.find(gift ? "已导出" : "已导出到 " + file + "：5 题。"), std::string::npos) << said;
        const auto [again, told] = Call("import --bank DS --dry-run " + file);
        EXPECT_EQ(again, 0) << told;
        EXPECT_NE(told.find("新增 0 题，修改 0 题，不变"), std::string::npos) << told;
    }
    const Called refused[] = {
        {"export --bank DS", 2, {"缺少参数"}},
        {"export none.csv", 2, {"缺少参数 --bank"}},
        {"export --bank XX none.csv", 2, {"没有代码为“XX”的题库"}},
        {"export --bank \"J'C\" none.csv", 2, {"没有代码为“J'C”的题库"}},
        {"export --bank DS none.doc", 2, {"可以导出为 .gift、.xml 和 .csv 文件。"}},
        {"export --bank DS none.csv --format aiken", 2, {"可以导出为"}},
        {"export --bank DS none/none.csv", 2, {"none.csv"}},
    };
    for (const Called& run : refused) Expect(run);
    EXPECT_FALSE(fs::exists(work_ / "none.csv"));
    EXPECT_FALSE(fs::exists(work_ / "none.doc"));
    EXPECT_EQ(Call("export --bank DS none/none.csv").second.find(".new"), std::string::npos) << "a name of our own";
    Expect({"export --bank DS OUT.XML", 0, {"已导出"}});
}

TEST_F(CommandsTest, PapersAreMadePackedAndPrinted) {
    Expect({"import good.csv --bank DS --name 数据结构", 0, {"已写入"}});
    const Called runs[] = {
        {"paper", 2, {"缺少命令"}},
        {"paper frob", 2, {"不认识的命令：frob"}},
        {"paper make --bank DS --single 1", 2, {"缺少参数 --title"}},
        {"paper make --title 多 --bank DS --single 3", 2, {"单选题", "3", "1"}},
        {"paper make --title 无 --bank XX --single 1", 2, {"XX"}},
        {"paper make --title 测验 --bank DS --single 1 --fill 1 --fill-points 6 --minutes 15",
         0,
         {"“测验”：2 题，8 分。"}},
        {"paper make --title 自选 --questions DS:DS050001=30,DS030001", 0, {"“自选”：2 题，32 分。"}},
        {"paper make --title 错 --questions DS:DS990001", 2, {"DS990001"}},
        {"paper make --title 错 --questions DS:DS050001=x", 2, {"分数无法识别：DS:DS050001=x"}},
        {"paper print --paper 999 none.pdf", 2, {"没有试卷号为 999 的试卷"}},
        {"paper print --paper 104 none.doc", 2, {"可以印成 .pdf、.html 和 .csv 文件：none.doc"}},
        {"paper print --paper 104 none/none.html", 2, {"无法写入文件"}},
        {"paper print --paper 104 paper.html", 0, {"已印成 paper.html。"}},
        {"paper print --paper 104 answers.html --answers", 0, {"已印成"}},
        {"paper print --paper 104 paper.csv", 0, {"已印成"}},
        {"paper print --paper 104 paper.pdf", 0, {"已印成"}},
        {"paper pack --paper 104,103 packed.mdb", 0, {"已写入 packed.mdb：8 题。"}},
        {"paper pack --paper 103,103,104 packed.mdb", 0, {"已写入 packed.mdb：8 题。"}},
        {"paper pack --paper 104", 0, {"/LocalPaper.mdb：5 题。"}},
        {"paper pack --paper 999", 2, {"999"}},
        {"paper make --help", 0, {"用法", "--seed", "同样的规则"}},
    };
    for (const Called& run : runs) Expect(run);
    EXPECT_EQ(Read("paper.html").find("答案："), std::string::npos);
    EXPECT_NE(Read("answers.html").find("答案："), std::string::npos);
    EXPECT_TRUE(Read("paper.pdf").starts_with("%PDF-"));
    EXPECT_TRUE(Read("paper.csv").starts_with("\xEF\xBB\xBF题号,题型,分值,题目,选择项\r\n"));
    for (const char* file : {"none.pdf", "none.doc"}) EXPECT_FALSE(fs::exists(work_ / file)) << file;
    EXPECT_EQ(Host(u"Select Count(*) From Papers Where Title In ('多','无','错')"), "0\n");
}

TEST_F(CommandsTest, HistoriesPapersAndNotesAreExported) {
    SeedHistory(data_.path, test::kCandidate, 1, 3, 1);
    const Called runs[] = {
        {"export-history --format csv", 0, {"日期", "得分率"}},
        {"export-history --output history.html", 0, {}},
        {"export-history --format pdf --output history.pdf", 0, {}},
        {"export-paper --output paper.html", 0, {}},
        {"export-paper --training 1 --format csv", 0, {"题号,题库,题目编号"}},
        {"export-notes --format csv", 0, {"\xEF\xBB\xBF"}},
        {"export-paper --training 999", 2, {"没有编号为 999 的练习。"}},
        {"export-paper --training x", 2, {"--training 后面应当是一个练习编号：x"}},
        {"export-history --format doc", 2, {"--format 只能是 html、csv 或 pdf：doc"}},
        {"export-history --format pdf", 2, {"PDF 要写到文件"}},
        {"export-history --user 99", 2, {"99"}},
        {"export-history --output none/none.html", 2, {"无法写入文件"}},
        {"export-notes --quick", 2, {"不认识的参数：--quick"}},
        {"export-paper --help", 0, {"用法"}},
    };
    for (const Called& run : runs) Expect(run);
    EXPECT_NE(Read("history.html").find("<table>"), std::string::npos);
    EXPECT_TRUE(Read("history.pdf").starts_with("%PDF-"));
    EXPECT_NE(Read("paper.html").find("</section>"), std::string::npos);
}

// Another program writes into the bank, or into the catalogue, for longer than an import waits.
TEST_F(CommandsTest, ABankThatIsInUse) {
    for (const std::u16string file : {u"JC.mdb", u"Total.mdb"}) {
        const auto before = Banks();
        {
            const auto entry = exchange::FindBank(data_.Banks(), u"JC").value();
            const std::u16string path =
                file == u"Total.mdb" ? InFolder(data_.Banks(), file) : exchange::FileOf(data_.Banks(), entry);
            dao::Transaction writing;
            const dao::Connection other(path);
            other->Execute(file == u"Total.mdb" ? u"Update Tbl_Subject Set C_DataDescription=C_DataDescription"
                                                : u"Update Tbl_Information Set C_Tblname=C_Tblname");
            const auto [code, said] = Call(std::string("import good.csv --bank ") + (file == u"JC.mdb" ? "JC" : "NEW"));
            EXPECT_EQ(code, 2) << said;
            EXPECT_NE(said.find("qmtrain: "), std::string::npos) << said;
            EXPECT_EQ(said.find("已写入题库"), std::string::npos) << said;
        }
        EXPECT_TRUE(Banks() == before) << ToUtf8(file);
    }
    Expect({"import good.csv --bank NEW", 0, {"已写入题库"}});
}

TEST_F(CommandsTest, CtrlCStopsAnImport) {
    std::string many = "题型,题干,A,B,答案\n";
    for (int i = 0; i < 20000; ++i) many += "单选,第 " + std::to_string(i) + " 题的题干,甲,乙,A\n";
    Write("many.csv", many);
    const auto before = Banks();
    const auto [code, said] = Shell(QMTRAIN_PROGRAM
                                    " import many.csv --bank NEW --data .. 2>progress & pid=$!;"
                                    " while ! grep -q % progress && kill -0 $pid; do sleep 0.05; done;"
                                    " kill -INT $pid; wait $pid",
                                    "");
    EXPECT_EQ(code, 1) << said;
    EXPECT_NE(Read("progress").find("qmtrain: 已经停止，没有改动。"), std::string::npos) << Read("progress");
    EXPECT_TRUE(Banks() == before);
    const std::string progress = Read("progress");
    EXPECT_LT(std::count(progress.begin(), progress.end(), '%'), 20) << "a log gets few lines";
    EXPECT_EQ(progress.find('\r'), std::string::npos);
}

// On a file system of its own that is nearly full.
TEST_F(CommandsTest, AFullDisk) {
    if (Shell("unshare -rm mount -t tmpfs none /mnt", "").first != 0)
        GTEST_SKIP() << "no file systems of one's own here";
    std::string many = "题型,题干,A,B,答案\n";
    for (int i = 0; i < 3000; ++i) many += "单选,第 " + std::to_string(i) + " 题的题干写得长一些,甲,乙,A\n";
    Write("many.csv", many);
    // What is left after the copy of the data is less than the questions need.
    const std::string script =
        "unshare -rm sh -c 'mount -t tmpfs -o size=8m none /mnt && cp -r .. /mnt/data 2>/dev/null;"
        " rm -rf /mnt/data/work; sync; dd if=/dev/zero of=/mnt/fill bs=1k count=$(( $(df -k --output=avail /mnt | "
        "tail -1) - ROOM )) 2>/dev/null; " QMTRAIN_PROGRAM
        " import many.csv --bank BANK --data /mnt/data; echo code $?; rm /mnt/fill;"
        " find /mnt/data -name \"*.mdb-journal\" -size +0; cmp ../Bank/Total.mdb /mnt/data/Bank/Total.mdb &&"
        " cmp ../Bank/JC.mdb /mnt/data/Bank/JC.mdb && echo unchanged'";
    for (const char* bank : {"JC", "NEW"}) {
        for (const char* room : {"40", "400"}) {
            std::string line = script;
            line.replace(line.find("ROOM"), 4, room);
            line.replace(line.find("BANK"), 4, bank);
            const std::string said = Shell(line, "").second;
            EXPECT_NE(said.find("code 2"), std::string::npos) << said;
            EXPECT_EQ(said.find(".new"), std::string::npos) << said;
            EXPECT_NE(said.find("qmtrain: "), std::string::npos) << said;
            EXPECT_NE(said.find("unchanged"), std::string::npos) << bank << " " << room << "\n" << said;
        }
    }
}

}  // namespace
}  // namespace qmtrain::host
