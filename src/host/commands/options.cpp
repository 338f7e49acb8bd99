#include "host/commands/options.h"

#include <utility>

#include "core/error.h"
#include "core/text.h"
#include "host/commands/command_line.h"
#include "host/data/data_folder.h"

namespace qmtrain::host {
namespace {

constexpr std::int32_t kMostNumber = 1000000;

constexpr const char* kOtherCommands =
    "其他命令（各有 --help）：\n"
    "  import, export              把文件中的试题导入题库；导出题库\n"
    "  paper                       组卷、打包成网络版试卷库、印成 PDF 或网页（make、pack、print）\n"
    "  export-history, export-paper, export-notes\n"
    "                              导出练习历史、一份试卷的回顾、笔记\n"
    "  server                      把考生数据库放到 PostgreSQL 服务器上（init、copy、link）";

template <class Set>
void AddNumber(CLI::App& app, const std::string& name, std::int32_t least, Set set, const std::string& description) {
    app.add_option_function<std::string>(
           name, [=](const std::string& text) { set(NumberAfter(name, text, least, kMostNumber)); }, description)
        ->type_name("整数")
        ->take_last();
}

}  // namespace

const char* const kVersionNumber = QMTRAIN_VERSION;

void AddCommonOptions(CLI::App& app, Options& options, std::vector<std::string>& folders) {
    app.add_option("--data", folders, "数据库所在的文件夹")->type_name("文件夹")->allow_extra_args(false);
    const auto set_user = [&options](std::int32_t number) {
        options.user = number;
        options.user_named = true;
    };
    AddNumber(app, "--user", -1, set_user,
              "考生（默认 1；主窗口默认为上次的考生）；查看和导出历史、笔记时 -1 表示所有考生");
    const auto set_subject = [&options](std::int32_t number) {
        options.subject = number;
        options.subject_named = true;
    };
    AddNumber(app, "--subject", -1, set_subject, "科目，-1 表示所有科目（默认 1；主窗口默认为上次的科目）");
    app.add_flag("--net", options.net, "网络版");
}

std::u16string OnlyFolder(const std::vector<std::string>& folders) {
    if (folders.empty()) return UserDataFolder();
    if (folders.size() > 1) {
        RaiseComponentError(u"qmtrain", u"只能有一个文件夹：" + FromUtf8(folders[0]) + u"、" + FromUtf8(folders[1]));
    }
    return FromUtf8(folders.front());
}

Options ParseOptions(const std::vector<std::string>& arguments) {
    Options options;
    CLI::App app("不带命令时打开主窗口。", "qmtrain");
    app.require_subcommand(0, 1);
    app.footer(kOtherCommands);
    for (const auto& [name, description] : {std::pair{"init", "建立空的数据库；已有的文件不变"},
                                            {"seed", "建立示例题库和试卷，并加入练习记录"},
                                            {"list", "列出练习历史，与窗口中显示的一致"},
                                            {"papers", "列出试卷及其试卷号"},
                                            {"practice", "练习一份试卷"},
                                            {"history", "打开练习历史窗口"},
                                            {"notes", "打开笔记管理窗口"}}) {
        app.add_subcommand(name, description)->fallthrough();  // options may stand before the command and after it
    }
    std::vector<std::string> folders;
    std::vector<std::string> made;
    AddCommonOptions(app, options, folders);
    app.get_subcommand("init")->add_option("文件夹", made, "数据库所在的文件夹")->type_name("");
    AddNumber(
        app, "--paper", 1, [&](std::int32_t number) { options.paper = number; },
        "practice：试卷号（见 papers；默认为科目的第一份试卷）");
    app.add_flag("--exercise", options.exercise, "practice：练习方式，不计时，每题作答后显示答案");
    AddNumber(
        app, "--trainings", 0, [&](std::int32_t number) { options.trainings = number; },
        "seed：加入的练习次数（默认 12）");
    app.add_flag_callback(
        "--csv", [&] { options.output = Options::Output::Csv; }, "list：输出格式");
    app.add_flag_callback(
        "--json", [&] { options.output = Options::Output::Json; }, "list：输出格式");
    app.add_option("--screenshot", options.screenshot, "把窗口存成 PNG 图片后退出")->type_name("文件")->take_last();
    app.add_flag("--version", options.version, "显示版本");
    options.help = ParseWords(app, arguments).value_or("");
    for (const CLI::App* command : app.get_subcommands()) options.command = command->get_name();
    folders.insert(folders.end(), made.begin(), made.end());
    options.data = OnlyFolder(folders);
    return options;
}

}  // namespace qmtrain::host
