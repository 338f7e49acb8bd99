#include "host/options.h"

#include <algorithm>
#include <array>
#include <cmath>

#include "core/convert.h"
#include "core/error.h"
#include "core/text.h"
#include "host/data_folder.h"

namespace qmtrain::host {
namespace {

constexpr std::array<const char*, 7> kCommands = {"init", "seed", "list", "papers", "practice", "history", "notes"};

std::int32_t Number(const std::string& option, const std::string& text, int least) {
    const auto number = ParseNumber(FromUtf8(text));
    if (!number || *number < least || *number > 1e6 || *number != std::floor(*number)) {
        RaiseComponentError(u"qmtrain", FromUtf8(option) + u" 后面应当是一个整数：" + FromUtf8(text));
    }
    return static_cast<std::int32_t>(*number);
}

bool IsCommand(const std::string& word) {
    return std::find(kCommands.begin(), kCommands.end(), word) != kCommands.end();
}

}  // namespace

const char* const kHelp =
    "用法：qmtrain [命令] [选项]\n"
    "\n"
    "不带命令时打开主窗口。命令：\n"
    "  init [文件夹]  建立空的数据库；已有的文件不变\n"
    "  seed           建立示例题库和试卷，并加入练习记录\n"
    "  list           列出练习历史，与窗口中显示的一致\n"
    "  papers         列出试卷及其试卷号\n"
    "  practice       练习一份试卷\n"
    "  history        打开练习历史窗口\n"
    "  notes          打开笔记管理窗口\n"
    "  import         把文件中的试题导入题库；export：导出题库（各有 --help）\n"
    "  paper          组卷、打包成网络版试卷库、印成 PDF 或网页（make、pack、print）\n"
    "  export-history | export-paper | export-notes\n"
    "                 导出练习历史、一份试卷的回顾、笔记（--help 列出选项）\n"
    "  server         把考生数据库放到 PostgreSQL 服务器上（init、copy、link；--help 列出选项）\n"
    "\n"
    "选项：\n"
    "  --data 文件夹      数据库所在的文件夹\n"
    "  --user N           考生（默认 1；主窗口默认为上次的考生）；查看和导出历史、笔记时 -1 表示所有考生\n"
    "  --subject N        科目，-1 表示所有科目（默认 1；主窗口默认为上次的科目）\n"
    "  --net              网络版\n"
    "  --paper N          practice：试卷号（见 papers；默认为科目的第一份试卷）\n"
    "  --exercise         practice：练习方式，不计时，每题作答后显示答案\n"
    "  --trainings N      seed：加入的练习次数（默认 12）\n"
    "  --csv | --json     list：输出格式\n"
    "  --screenshot 文件  把窗口存成 PNG 图片后退出\n"
    "  --version          显示版本\n";

const char* const kVersion = "qmtrain " QMTRAIN_VERSION "\n";
const char* const kVersionNumber = QMTRAIN_VERSION;

Options ParseOptions(const std::vector<std::string>& arguments) {
    Options options;
    options.data = UserDataFolder();
    bool folder_named = false;
    const auto name_folder = [&](const std::string& folder) {
        if (folder_named) {
            RaiseComponentError(u"qmtrain", u"只能有一个文件夹：" + options.data + u"、" + FromUtf8(folder));
        }
        options.data = FromUtf8(folder);
        folder_named = true;
    };
    for (std::size_t i = 0; i < arguments.size(); ++i) {
        const std::string& word = arguments[i];
        const auto value = [&]() -> const std::string& {
            if (i + 1 >= arguments.size()) RaiseComponentError(u"qmtrain", FromUtf8(word) + u" 后面缺少内容。");
            return arguments[++i];
        };
        if (word == "--help" || word == "-h") {
            options.help = true;
        } else if (word == "--version") {
            options.version = true;
        } else if (word == "--data") {
            name_folder(value());
        } else if (word == "--user") {
            options.user = Number(word, value(), -1);
            options.user_named = true;
        } else if (word == "--subject") {
            options.subject = Number(word, value(), -1);
            options.subject_named = true;
        } else if (word == "--paper") {
            options.paper = Number(word, value(), 1);
        } else if (word == "--trainings") {
            options.trainings = Number(word, value(), 0);
        } else if (word == "--screenshot") {
            options.screenshot = value();
        } else if (word == "--exercise") {
            options.exercise = true;
        } else if (word == "--net") {
            options.net = true;
        } else if (word == "--csv") {
            options.output = Options::Output::Csv;
        } else if (word == "--json") {
            options.output = Options::Output::Json;
        } else if (options.command.empty() && IsCommand(word)) {
            options.command = word;
        } else if (options.command == "init" && !word.starts_with("-")) {
            name_folder(word);
        } else {
            RaiseComponentError(u"qmtrain", u"不认识的参数：" + FromUtf8(word));
        }
    }
    return options;
}

}  // namespace qmtrain::host
