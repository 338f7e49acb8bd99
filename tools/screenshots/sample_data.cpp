#include "sample_data.h"

#include <cmath>

#include "bank/client_folder.h"
#include "bank/create_bank.h"
#include "core/files.h"
#include "core/text.h"
#include "dao/dao.h"
#include "notes/note.h"
#include "records/create_client.h"
#include "records/train_info.h"
#include "records/train_result.h"

namespace qmtrain::screenshots {
namespace {

constexpr std::int32_t kUser = 1;
constexpr std::int32_t kSubject = 1;

struct Question {
    std::int32_t type;
    const char16_t* rec_no;
    const char16_t* table;
    const char16_t* title;
    const char16_t* answer;
    const char16_t* student_answer;
    const char16_t* error;
    float score;
};

constexpr Question kPaper[] = {
    {1, u"KJ010001", u"TBL_CHOICE",
     u"{\\rtf1\\ansi\\ansicpg936{\\fonttbl{\\f0\\fnil\\fcharset134 "
     u"\\'cb\\'ce\\'cc\\'e5;}}\\f0\\fs21 在计算机内部，用来存放"
     u"{\\b 正在运行}的程序和数据的部件是（\\ul  　　 \\ulnone ）。\\par }",
     u"2", u"2", u"", 2},
    {1, u"KJ010002", u"TBL_CHOICE", u"下列叙述中，正确的是（　　）。", u"8", u"1",
     u"第 2 题：答案错误。标准答案为 D，您选择了 A。", 2},
    {27, u"KJ020001", u"TBL_CHOICES", u"下列设备中，属于输入设备的有（　　）。", u"5", u"5", u"", 4},
    {26, u"KJ030001", u"TBL_YESNO", u"计算机病毒是一段能够自我复制的程序。", u"-1", u"-1", u"", 2},
    {11, u"KJ040001", u"TBL_FILL", u"十进制数 25 转换成二进制数是【1】，转换成十六进制数是【2】。", u"11001#011001@19",
     u"11001@25", u"第 [2] 空：答案错误。", 4},
    {30, u"KJ050001", u"TBL_OPERATION",
     u"在考生文件夹下完成下列操作：\n1. 新建名为“练习”的文件夹；\n2. 将文件 a.txt 复制到该文件夹中，并改名为 "
     u"b.txt；\n3. "
     u"将 b.txt 的属性设为只读。",
     u"文件夹“练习”存在，其中有只读文件 b.txt。", u"文件夹“练习”存在，其中有文件 b.txt。",
     u"文件 b.txt 的属性不是只读，扣 4 分。", 16},
};

struct Option {
    const char16_t* rec_no;
    const char16_t* letter;
    const char16_t* text;
};

constexpr Option kOptions[] = {
    {u"KJ010001", u"A", u"控制器"},
    {u"KJ010001", u"B", u"内存储器"},
    {u"KJ010001", u"C", u"运算器"},
    {u"KJ010001", u"D", u"输入设备"},
    {u"KJ010002", u"A", u"一个字节由 4 个二进制位组成"},
    {u"KJ010002", u"B", u"外存中的程序可以直接运行"},
    {u"KJ010002", u"C", u"十六进制数的基数是 15"},
    {u"KJ010002", u"D", u"内存断电后，随机存储器中的内容会丢失"},
    {u"KJ020001", u"A", u"键盘"},
    {u"KJ020001", u"B", u"打印机"},
    {u"KJ020001", u"C", u"扫描仪"},
    {u"KJ020001", u"D", u"显示器"},
};

std::u16string Quoted(std::u16string_view text) {
    std::u16string out = u"'";
    for (const char16_t unit : text) out.append(unit == u'\'' ? 2 : 1, unit);
    return out + u"'";
}

void MakePaper(const std::u16string& file) {
    CreateLocalPaperDatabase(file);
    const dao::Connection paper(file);
    const auto run = [&](const std::u16string& statement) { paper->Execute(statement); };
    for (const Question& question : kPaper) {
        const std::u16string code = std::u16string(question.rec_no).substr(2, 2);
        if (!HasRow(*paper->OpenRecordset(u"Select * From Tbl_Information Where C_TblCode='" + code + u"'"))) {
            run(u"INSERT INTO Tbl_Information VALUES ('" + code + u"', 'KJ', '" + question.table + u"')");
        }
        const std::u16string table = question.table;
        const bool operation = table == u"TBL_OPERATION";
        run(u"INSERT INTO " + table + u" (C_RecNo, C_DataCode, SubjectCode, M_Title, " +
            (operation ? u"M_Answer" : u"C_Answer") + u") VALUES ('" + question.rec_no + u"', 'KJ', " +
            ToText(kSubject) + u", " + Quoted(question.title) + u", " + Quoted(question.answer) + u")");
    }
    for (const Option& option : kOptions) {
        run(std::u16string(u"INSERT INTO Tbl_ChoiceVice VALUES ('") + option.rec_no + u"', 'KJ', " + ToText(kSubject) +
            u", '" + option.letter + u"', '" + option.text + u"')");
    }
}

void MakeLookups(const std::u16string& folder) {
    const dao::Connection client(ClientDatabase(folder));
    client->Execute(u"INSERT INTO Tbl_SetUser VALUES (1, '李明', '2805010001')");
    const std::pair<std::int32_t, const char16_t*> types[] = {
        {1, u"单项选择题"}, {27, u"多项选择题"}, {26, u"判断题"}, {11, u"填空题"}, {30, u"操作题"}};
    for (const auto& [type, name] : types) {
        client->Execute(u"INSERT INTO Tbl_QuestionType VALUES (" + ToText(type) + u", '" + name + u"', Null, '1')");
    }
}

// Scores that rise and waver.
float Got(float full, int training, int question) {
    const double skill = 0.42 + 0.035 * training + 0.16 * std::sin(training * 1.7 + question * 2.3);
    return static_cast<float>(std::round(full * std::min(1.0, std::max(0.05, skill))));
}

struct SampleNote {
    const char16_t* bank;
    const char16_t* rec_no;
    const char16_t* name;
    const char16_t* content;
};

constexpr SampleNote kNotes[] = {
    {u"KJ", u"KJ010001", u"存储器的分工",
     u"内存储器存放正在运行的程序和数据；外存中的内容要先调入内存才能执行。\r\n\r\n容易错的地方：运算器和控制器合起来叫"
     u" "
     u"CPU，都不用来存放程序。"},
    {u"KJ", u"KJ020001", u"输入设备和输出设备", u"键盘、鼠标、扫描仪是输入设备；显示器、打印机是输出设备。"},
    {u"KJ", u"KJ040001", u"进制转换：十进制到二进制用除二取余法，到十六进制可以先转成二进制再四位一组合并",
     u"25 = 16 + 8 + 1 = 11001(B) = 19(H)"},
    {u"WL", u"WL010007", u"IP 地址的分类", u"A 类首字节 1～126，B 类 128～191，C 类 192～223。"},
};

void MakeNotes(const std::u16string& folder) {
    const dao::Connection paper(InFolder(folder, u"LocalPaper.mdb"));
    paper->Execute(u"INSERT INTO Tbl_Subject VALUES ('KJ', 1, 'KJ.mdb', '计算机基础知识')");
    paper->Execute(u"INSERT INTO Tbl_Subject VALUES ('WL', 1, 'WL.mdb', '计算机网络')");
    Note note;
    note.ClientPath(folder);
    std::u16string problem;
    note.Init(problem);
    for (const SampleNote& sample : kNotes) {
        note.Add(kSubject, sample.bank, sample.rec_no, sample.name, sample.content, false, kUser);
    }
}

}  // namespace

void MakeSampleData(const std::u16string& folder, int trainings) {
    CreateClientDatabase(folder);
    MakeLookups(folder);
    MakePaper(InFolder(folder, u"LocalPaper.mdb"));
    MakeNotes(folder);
    TrainInfo train;
    train.ClientPath(folder);
    std::u16string problem;
    train.Init(problem);
    TrainResult result;
    result.ClientPath(folder);
    for (int i = 0; i < trainings; ++i) {
        const Date start = FromCivil({2005, 3, 1 + 3 * i, 8 + i % 10, 7 * i % 60, 0});
        const std::int32_t id = train.AddNewTrain(start, kUser, 1 + i % 3, i % 3 == 2 ? 1 : 0, kSubject);
        int number = 0;
        for (const Question& question : kPaper) {
            ++number;
            result.Add(id, question.type, u"KJ", question.rec_no, question.score, 0, question.answer, u"", u"", 1, 2,
                       number);
            const bool last = i + 1 == trainings;
            const float got = last ? (*question.error == u'\0' ? question.score : question.score / 2)
                                   : Got(question.score, i, number);
            result.Update(id, u"KJ", question.rec_no, got, question.student_answer, question.error, u"");
        }
        train.Update(id, Date{start.days + (900.0 + 67 * i) / 86400}, 0);
    }
}

}  // namespace qmtrain::screenshots
