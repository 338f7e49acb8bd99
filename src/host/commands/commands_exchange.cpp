#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <functional>
#include <iostream>

#include "core/convert.h"
#include "core/error.h"
#include "core/files.h"
#include "core/log.h"
#include "core/system.h"
#include "core/text.h"
#include "core/whole_file.h"
#include "exchange/bank_file.h"
#include "exchange/formats.h"
#include "host/commands/command_line.h"
#include "host/commands/commands.h"
#include "host/data/data_folder.h"
#include "host/papers/outcome.h"
#include "host/papers/paper_rules.h"
#include "host/papers/paper_sheet.h"
#include "host/papers/question_use.h"

namespace qmtrain::host {
namespace {

using exchange::Notice;

[[noreturn]] void Refuse(std::u16string text) {
    RaiseComponentError(u"qmtrain", std::move(text));
}

void Say(std::u16string_view line) {
    std::fputs((ToUtf8(line) + "\n").c_str(), stdout);
}

// Parses the words after the command and runs what they say.
int Parse(CLI::App& app, const CommandWords& words, const std::function<int()>& run) {
    if (const auto help = ParseWords(app, {words.begin() + 1, words.end()})) {
        std::fputs(help->c_str(), stdout);
        return 0;
    }
    try {
        return run();
    } catch (const exchange::Cancelled&) {
        std::fputs("qmtrain: 已经停止，没有改动。\n", stderr);
        return 1;
    }
}

// A line on a terminal that shows how far long work has come; elsewhere a few lines. Ctrl+C stops the work at its next
// step.
class TerminalProgress {
public:
    explicit TerminalProgress(std::u16string_view what) : what_(ToUtf8(what)) {
        before_ = std::signal(SIGINT, [](int) { stopped_ = 1; });
    }
    TerminalProgress(const TerminalProgress&) = delete;
    TerminalProgress& operator=(const TerminalProgress&) = delete;
    ~TerminalProgress() {
        std::signal(SIGINT, before_);
        if (shown_ >= 0 && on_terminal_) std::fputs("\n", stderr);
    }

    exchange::Progress Of() {
        return [this](std::size_t done, std::size_t all) {
            if (stopped_ != 0) return false;
            const auto exact = static_cast<int>(all == 0 ? 100 : done * 100 / all);
            const int percent = on_terminal_ ? exact : exact / kStepOfLog * kStepOfLog;
            if (percent == shown_ || std::chrono::steady_clock::now() - start_ < std::chrono::milliseconds(500))
                return true;
            shown_ = percent;
            std::fprintf(stderr, on_terminal_ ? "\r%s %d%% " : "%s %d%%\n", what_.c_str(), percent);
            return true;
        };
    }

private:
    static inline volatile std::sig_atomic_t stopped_ = 0;
    static constexpr int kStepOfLog = 20;  // percent

    std::string what_;
    bool on_terminal_ = IsTerminal(stderr);
    void (*before_)(int) = nullptr;
    std::chrono::steady_clock::time_point start_ = std::chrono::steady_clock::now();
    int shown_ = -1;
};

struct ImportOptions {
    std::vector<std::string> files;
    std::string bank, name, data, format, template_file;
    std::int32_t subject = 0;
    bool dry_run = false, keep_going = false, replace = false, yes = false;
};

DataFolder FolderOf(const std::string& data) {
    DataFolder folder{data.empty() ? UserDataFolder() : FromUtf8(data)};
    SetComponentFolder(ToNativePath(folder.path));  // where the log goes
    return folder;
}

std::optional<exchange::QuestionFormat> FormatOf(const std::string& name) {
    if (name.empty()) return std::nullopt;
    const auto format = exchange::FormatCalled(FromUtf8(name));
    if (!format) Refuse(u"没有格式“" + FromUtf8(name) + u"”；可以是 gift、aiken、xml、csv。");
    return format;
}

exchange::Import ReadFiles(const ImportOptions& options) {
    exchange::Import all;
    for (const std::string& file : options.files) {
        exchange::Import one;
        try {
            TerminalProgress progress(u"正在读文件");
            one = exchange::ReadFile(FromUtf8(file), FormatOf(options.format), progress.Of());
        } catch (const AutomationError& error) {
            if (!options.keep_going) throw;
            one.AddNotice(Notice::Kind::Error, std::size_t{0}, error.Description());
        }
        Say(u"文件 " + FromUtf8(file) + u"：读出 " + ToText(one.questions.size()) + u" 题。");
        for (const Notice& notice : one.notices) Say(u"  " + notice.Text());
        all.Append(std::move(one), options.files.size() > 1 ? FromUtf8(file) : u"");
    }
    return all;
}

bool Confirmed(const ImportOptions& options) {
    if (options.yes) return true;
    std::fputs("这些试题将从题库中删除。继续吗？(y/N) ", stdout);
    std::fflush(stdout);
    std::string answer;
    std::getline(std::cin, answer);
    return answer == "y" || answer == "Y" || answer == "是";
}

int Import(const ImportOptions& options) {
    if (!options.template_file.empty()) {
        WriteWholeFile(FromUtf8(options.template_file), exchange::CsvTemplate());
        Say(u"已写出 " + FromUtf8(options.template_file) + u"。");
        return 0;
    }
    if (options.files.empty()) Refuse(u"请指明要导入的文件。");
    if (options.bank.empty()) Refuse(u"请用 --bank 指明题库代码。");
    const DataFolder folder = FolderOf(options.data);
    const exchange::Import import = ReadFiles(options);
    const exchange::BankEntry wanted{FromUtf8(options.bank), FromUtf8(options.name), u"", options.subject};
    const exchange::ImportPlan plan = [&] {
        TerminalProgress progress(u"正在与题库比较");
        return exchange::PlanImport(folder.Banks(), wanted, import.questions, progress.Of());
    }();
    std::size_t errors = import.Count(Notice::Kind::Error);
    for (const Notice& notice : plan.notices) {
        Say(u"  " + notice.Text());
        if (notice.kind == Notice::Kind::Error) ++errors;
    }
    const std::u16string bank = u"题库“" + plan.bank.name + u"”（" + plan.bank.code + u"）";
    for (std::size_t i = 0; i < import.questions.size(); ++i) {
        const exchange::Recognised& one = plan.recognition.questions[i];
        if (one.as != exchange::Recognised::As::Changed) continue;
        Say(u"  试题 " + plan.existing[one.existing].rec_no + u" 有改动：" + one.changes + u"。");
    }
    if (errors > 0 && options.replace) Refuse(u"文件中有错误，不能同时删除题库中的试题。");
    const std::size_t dropped = options.replace ? plan.recognition.not_found.size() : 0;
    for (std::size_t i = 0; i < dropped; ++i) {
        const exchange::Question& gone = plan.existing[plan.recognition.not_found[i]];
        Say(u"  文件中没有试题 " + gone.rec_no + u"“" + exchange::Brief(gone.stem.PlainText()) + u"”，将删除。");
    }
    Say(bank + (plan.is_new ? u"将新建：" : u"：") + plan.recognition.Summary() +
        (options.replace ? u"，" + RemovalSummary(folder, plan) : u"") + u"。");
    if (errors > 0 && !options.keep_going) {
        Say(u"有 " + ToText(errors) + u" 处错误，没有写入任何内容；--keep-going 只导入其余的试题。");
        return 1;
    }
    if (plan.Possible() == 0) Refuse(u"没有可以导入的试题。");
    if (options.dry_run) {
        Say(u"只是预览，没有写入任何内容。");
        return errors > 0 ? 1 : 0;
    }
    if (dropped > 0 && !Confirmed(options)) {
        Say(u"没有写入任何内容。");
        return 1;
    }
    MakeEmptyFolder(folder.path);
    {
        TerminalProgress progress(u"正在写入题库");
        exchange::CarryOut(folder.Banks(), plan, import.questions,
                           {options.replace, NumbersInUse(folder, plan.bank.code)}, progress.Of());
    }
    Say(u"已写入" + bank + u"。");
    RequireSubject(folder, plan.bank.subject, plan.bank.name);
    return errors > 0 ? 1 : 0;
}

int Export(const std::string& bank, const std::string& file, const std::string& format_name, const std::string& data) {
    const DataFolder folder = FolderOf(data);
    std::optional<exchange::QuestionFormat> format = FormatOf(format_name);
    if (!format) {
        const std::u16string ending = ToLower(FromUtf8(file.substr(std::min(file.rfind('.'), file.size()))));
        format = exchange::FormatCalled(ending == u".txt" ? u"gift" : ending.substr(ending.empty() ? 0 : 1));
    }
    if (!format || *format == exchange::QuestionFormat::Aiken) Refuse(u"可以导出为 .gift、.xml 和 .csv 文件。");
    std::vector<exchange::Question> questions;
    {
        TerminalProgress progress(u"正在读题库");
        questions = exchange::ReadBank(folder.Banks(), FromUtf8(bank), progress.Of());
    }
    std::vector<Notice> notices;
    {
        TerminalProgress progress(u"正在导出");
        WriteWholeFile(FromUtf8(file), exchange::WriteQuestions(questions, *format, notices, progress.Of()));
    }
    for (const Notice& notice : notices) Say(u"  " + notice.Text());
    Say(u"已导出到 " + FromUtf8(file) + u"：" + exchange::WrittenSummary(questions.size(), notices) + u"。");
    return 0;
}

Paper PaperOf(const DataFolder& folder, std::int32_t number) {
    auto paper = FindPaper(folder, number);
    if (!paper) Refuse(u"没有试卷号为 " + ToText(number) + u" 的试卷；qmtrain papers 列出所有试卷。");
    return *std::move(paper);
}

report::ReportFormat SheetFormat(const std::string& file) {
    const std::pair<const char*, report::ReportFormat> endings[] = {{".pdf", report::ReportFormat::Pdf},
                                                                    {".html", report::ReportFormat::Html},
                                                                    {".csv", report::ReportFormat::Csv}};
    for (const auto& [ending, format] : endings) {
        if (ToUtf8(ToLower(FromUtf8(file))).ends_with(ending)) return format;
    }
    Refuse(u"可以印成 .pdf、.html 和 .csv 文件：" + FromUtf8(file));
}

// "JC:JC010001=2", "JC010001" for the bank of the record number's first characters.
ChosenQuestion ChosenOf(const std::string& word) {
    ChosenQuestion chosen;
    std::u16string text = FromUtf8(word);
    if (const std::size_t points = text.find(u'='); points != std::u16string::npos) {
        const auto number = ParseNumber(text.substr(points + 1));
        if (!number || *number <= 0) Refuse(u"分数无法识别：" + text);
        chosen.points = static_cast<float>(*number);
        text.resize(points);
    }
    const std::size_t colon = text.find(u':');
    chosen.data_code = colon == std::u16string::npos ? text.substr(0, 2) : text.substr(0, colon);
    chosen.rec_no = colon == std::u16string::npos ? text : text.substr(colon + 1);
    return chosen;
}

}  // namespace

int ImportCommand(const CommandWords& words) {
    CLI::App app("把 GIFT、Aiken、Moodle XML、CSV 文件中的试题导入题库", "qmtrain import");
    ImportOptions options;
    app.add_option("文件", options.files, "要导入的文件");
    app.add_option("--bank", options.bank, "题库代码；没有这个题库时新建");
    app.add_option("--name", options.name, "新题库的名称");
    app.add_option("--subject", options.subject, "新题库的科目");
    app.add_option("--data", options.data, "数据库所在的文件夹");
    app.add_option("--format", options.format, "文件格式：gift、aiken、xml、csv（默认自动识别）");
    app.add_option("--template", options.template_file, "写出一个带例题的 CSV 表格后退出");
    app.add_flag("--dry-run", options.dry_run, "只列出要做的改动，不写入");
    app.add_flag("--keep-going", options.keep_going, "有错误的试题略过，导入其余的试题");
    app.add_flag("--replace", options.replace, "删除题库中有而文件中没有的试题");
    app.add_flag("--yes", options.yes, "删除试题时不再询问");
    return Parse(app, words, [&] { return Import(options); });
}

int ExportBankCommand(const CommandWords& words) {
    CLI::App app("把题库中的试题导出为 GIFT、Moodle XML 或 CSV 文件", "qmtrain export");
    std::string bank, file, format, data;
    app.add_option("文件", file, "要写出的文件")->required();
    app.add_option("--bank", bank, "题库代码")->required();
    app.add_option("--format", format, "文件格式：gift、xml、csv（默认按文件名）");
    app.add_option("--data", data, "数据库所在的文件夹");
    return Parse(app, words, [&] { return Export(bank, file, format, data); });
}

int PaperCommand(const CommandWords& words) {
    CLI::App app("组卷、打包和打印试卷", "qmtrain paper");
    app.require_subcommand(1);
    std::string data, title, file, category;
    std::vector<std::string> banks, questions;
    std::vector<std::int32_t> papers;
    std::int32_t printed = 0;
    PaperRules rules;
    bool answers = false, net = false;

    CLI::App* make = app.add_subcommand("make", "按规则组卷，或者由指定的试题组卷");
    make->add_option("--title", title, "试卷名称")->required();
    make->add_option("--minutes", rules.minutes, "考试时间（分钟，默认 60）");
    make->add_option("--bank", banks, "题库代码，可以有几个")->delimiter(',')->allow_extra_args(false);
    const std::pair<const char*, QuestionKind> kinds[] = {{"single", QuestionKind::Single},
                                                          {"multiple", QuestionKind::Multiple},
                                                          {"yesno", QuestionKind::YesNo},
                                                          {"fill", QuestionKind::Fill},
                                                          {"operation", QuestionKind::Operation}};
    for (const auto& [word, kind] : kinds) {
        const std::string name = ToUtf8(KindName(kind));
        make->add_option(std::string("--") + word, rules.parts[kind].count, name + "题数");
        make->add_option(std::string("--") + word + "-points", rules.parts[kind].points, name + "每题的分数");
    }
    make->add_option("--least-difficulty", rules.least_difficulty, "最低难度（1 到 3）");
    make->add_option("--most-difficulty", rules.most_difficulty, "最高难度（1 到 3）");
    make->add_option("--category", category, "只要分类以此开头的试题");
    make->add_flag("--seldom-first", rules.seldom_first, "先选练习次数少的试题");
    make->add_flag("--not-from-last", rules.none_from_last, "不选这个科目上一份试卷的试题");
    make->add_option("--seed", rules.seed, "随机数；同样的规则和随机数得到同样的试卷（默认 1）");
    make->add_option("--questions", questions, "指定的试题，例如 JC:JC010001=2")
        ->delimiter(',')
        ->allow_extra_args(false);

    CLI::App* pack = app.add_subcommand("pack", "把试卷的试题写入网络版的试卷库");
    pack->add_option("--paper", papers, "试卷号，可以有几个")->delimiter(',')->allow_extra_args(false)->required();
    pack->add_option("文件", file, "试卷库文件（默认为数据文件夹中的 LocalPaper.mdb）");

    CLI::App* print = app.add_subcommand("print", "把试卷印成 PDF 或网页");
    print->add_option("--paper", printed, "试卷号")->required();
    print->add_option("文件", file, ".pdf、.html 或 .csv 文件")->required();
    print->add_flag("--answers", answers, "带答案和解析");
    print->add_flag("--net", net, "网络版");
    for (CLI::App* one : {make, pack, print}) one->add_option("--data", data, "数据库所在的文件夹");

    return Parse(app, words, [&] {
        const DataFolder folder = FolderOf(data);
        if (make->parsed()) {
            std::int32_t number = 0;
            if (!questions.empty()) {
                std::vector<ChosenQuestion> chosen;
                chosen.reserve(questions.size());
                for (const std::string& word : questions) chosen.push_back(ChosenOf(word));
                number = MakePaper(folder, FromUtf8(title), rules.minutes, chosen);
            } else {
                rules.title = FromUtf8(title);
                rules.category = FromUtf8(category);
                for (const std::string& bank : banks) rules.banks.push_back(FromUtf8(bank));
                TerminalProgress progress(u"正在读题库");
                number = MakePaper(folder, rules, progress.Of());
            }
            const Paper paper = PaperOf(folder, number);
            Say(u"已组成试卷 " + ToText(number) + u"“" + paper.title + u"”：" + ToText(paper.questions.size()) +
                u" 题，" + ToText(Value(paper.FullScore())) + u" 分。");
        } else if (pack->parsed()) {
            const std::u16string target = file.empty() ? folder.LocalPaper() : FromUtf8(file);
            TerminalProgress progress(u"正在写入试卷库");
            const std::size_t count = PackPapers(folder, papers, target, progress.Of());
            Say(u"已写入 " + FromNativePath(ToNativePath(target)) + u"：" + ToText(count) + u" 题。");
        } else {
            const report::ReportFormat format = SheetFormat(file);
            TerminalProgress progress(u"正在读试题");
            const report::Report sheet =
                PaperSheet(folder, net ? Edition::Network : Edition::StandAlone, PaperOf(folder, printed),
                           answers ? Answers::With : Answers::Without, progress.Of());
            WriteReportFile(sheet, format, FromUtf8(file));
            Say(u"已印成 " + FromUtf8(file) + u"。");
        }
        return 0;
    });
}

}  // namespace qmtrain::host
