#include "host_pictures.h"

#include <cstdio>
#include <fstream>
#include <functional>
#include <string>
#include <vector>

#include <wx/app.h>
#include <wx/prntbase.h>
#include <wx/timer.h>

#include "core/files.h"
#include "core/log.h"
#include "core/text.h"
#include "dao/dao.h"
#include "host/app/main_window.h"
#include "host/app/people_dialogs.h"
#include "host/banks/bank_window.h"
#include "host/banks/import_dialog.h"
#include "host/banks/question_editor.h"
#include "host/learning/analysis_window.h"
#include "host/learning/review_window.h"
#include "host/learning/wrong_window.h"
#include "host/papers/compose_dialog.h"
#include "host/papers/paper_sheet.h"
#include "host/papers/rules_dialog.h"
#include "host/practice/hand_in_dialog.h"
#include "host/practice/keys_dialog.h"
#include "host/practice/practice_window.h"
#include "host/samples/sample_data.h"
#include "host/widgets/note_dialog.h"
#include "report/printing.h"
#include "ui/screenshot.h"

namespace qmtrain::screenshots {
namespace {

using namespace host;
namespace fs = std::filesystem;

// Takes one step at a time, with time for drawing between them; they may open windows that wait for the next ones.
class Player : public wxTimer {
public:
    explicit Player(fs::path pictures, std::string suffix)
        : pictures_(std::move(pictures)), suffix_(std::move(suffix)) {}

    void Do(std::function<void()> step) { steps_.push_back(std::move(step)); }
    void Picture(const std::string& name, std::function<wxWindow*()> window) {
        Do([] {});
        Do([this, name, window = std::move(window)] {
            const fs::path file = pictures_ / (name + suffix_ + ".png");
            wxWindow* shown = window();
            if (shown == nullptr || !ui::SaveScreenshot(*shown, file)) std::fprintf(stderr, "no %s\n", file.c_str());
        });
    }
    void Play(const std::function<void()>& show) {
        constexpr int kDrawing = 400;  // milliseconds
        Start(kDrawing);
        show();
        Stop();
        steps_.clear();
        next_ = 0;
    }
    void Notify() override {
        if (next_ < steps_.size()) steps_[next_++]();
    }

private:
    fs::path pictures_;
    std::string suffix_;
    std::vector<std::function<void()>> steps_;
    std::size_t next_ = 0;
};

template <class Window>
Window* Shown() {
    for (wxWindow* window : wxTopLevelWindows) {
        auto* found = dynamic_cast<Window*>(window);
        if (found != nullptr && found->IsShown()) return found;
    }
    return nullptr;
}

template <class Window>
void Close() {
    if (auto* window = Shown<Window>()) window->EndModal(wxID_CANCEL);
}

void Press(wxButton& button) {
    wxCommandEvent click(wxEVT_BUTTON, button.GetId());
    click.SetEventObject(&button);
    button.ProcessWindowEvent(click);
}

void Size(wxTopLevelWindow& window, bool small) {
    if (small) window.SetClientSize(window.GetMinClientSize());
}

void Practising(Player& player, const DataFolder& folder, bool small) {
    Practice practice(folder, FindPaper(folder, 104).value(), {1});
    practice.Answer(0, u"4");
    practice.Answer(1, u"3");
    practice.Answer(3, u"控制器@");
    practice.Answer(4, u"md LX\r\ncopy a.txt LX\\b.txt\r\n");
    practice.SetMarked(1, true);
    PracticeWindow window(nullptr, folder, practice);
    Size(window, small);
    const auto picture = [&](const std::string& name) { player.Picture(name, [&window] { return &window; }); };
    const char* kinds[] = {"single", "multiple", "yesno", "fill", "operation"};
    for (std::size_t i = 0; i < 5; ++i) {
        player.Do([&window, i] { window.GoTo(i); });
        picture(std::string("practice-") + kinds[i]);
    }
    player.Do([&window] { window.CallAfter([&window] { Press(*window.BtnHandIn); }); });
    player.Picture("practice-handin", [] { return Shown<HandInDialog>(); });
    player.Do([] { Close<HandInDialog>(); });
    player.Do([&window] { window.CallAfter([&window] { Press(*window.BtnHelp); }); });
    player.Picture("practice-keys", [] { return Shown<KeysDialog>(); });
    player.Do([] { Close<KeysDialog>(); });
    player.Do([&window] { window.CallAfter([&window] { Press(*window.BtnNote); }); });
    player.Picture("practice-note", [] { return Shown<NoteDialog>(); });
    player.Do([] { Close<NoteDialog>(); });
    player.Do([&window] { window.CallAfter([&window] { Press(*window.BtnHandIn); }); });
    player.Do([] { Shown<HandInDialog>()->EndModal(wxID_OK); });
    picture("result");
    for (std::size_t i = 0; i < 5; ++i) {
        player.Do([&window, i] { window.GoTo(i); });
        picture(std::string("result-") + kinds[i]);
    }
    player.Do([&window] { window.EndModal(wxID_OK); });
    player.Play([&window] { window.ShowModal(); });
}

void Exercise(Player& player, const DataFolder& folder, bool small) {
    Practice practice(folder, FindPaper(folder, 101).value(), {1, Edition::StandAlone, Mode::Exercise});
    practice.Answer(9, u"1");
    practice.Current(9);
    practice.Check(9);
    PracticeWindow window(nullptr, folder, practice);
    Size(window, small);
    player.Picture("practice-checked", [&window] { return &window; });
    player.Do([&window] { window.EndModal(wxID_CANCEL); });
    player.Play([&window] { window.ShowModal(); });
    practice.Pause();
}

// A long title, many questions and many blanks.
void Crowded(Player& player, const DataFolder& folder, bool small) {
    Paper paper = FindPaper(folder, 101).value();
    paper.title = u"一份名称特别长的试卷，用来看看窗口里放不下的时候会怎么样，是不是还能看见后面的内容";
    const std::size_t twenty = paper.questions.size();
    Paper other = FindPaper(folder, 102).value();
    for (const PaperQuestion& question : other.questions) {
        const bool there = std::any_of(paper.questions.begin(), paper.questions.begin() + static_cast<long>(twenty),
                                       [&](const PaperQuestion& one) { return one.rec_no == question.rec_no; });
        if (!there) paper.questions.push_back(question);
    }
    Practice practice(folder, paper, {1});
    PracticeWindow window(nullptr, folder, practice);
    Size(window, small);
    player.Picture("practice-crowded", [&window] { return &window; });
    player.Do([&window] { window.EndModal(wxID_CANCEL); });
    player.Play([&window] { window.ShowModal(); });
    practice.Pause();
}

void Main(Player& player, const DataFolder& folder, bool small, const std::string& name) {
    auto* window = new MainWindow(folder, {});
    Size(*window, small);
    window->Show();
    player.Picture(name, [window] { return window; });
    player.Do([window] { window->Close(true); });
    player.Play([] {
        wxTheApp->SetExitOnFrameDelete(true);
        wxTheApp->OnRun();
    });
}

// What the candidate learns, and what the teacher sees of everybody.
void Learning(Player& player, const DataFolder& folder, bool small, const std::string& suffix) {
    WrongWindow wrong(nullptr, folder, Edition::StandAlone, 1, 1, false);
    Size(wrong, small);
    player.Picture("wrong" + suffix, [&wrong] { return &wrong; });
    player.Do([&wrong] { wrong.EndModal(wxID_CANCEL); });
    player.Play([&wrong] { wrong.ShowModal(); });
    ReviewWindow review(nullptr, folder, Edition::StandAlone, 1, 1, false);
    Size(review, small);
    player.Picture("today" + suffix, [&review] { return &review; });
    player.Do([&review] { review.EndModal(wxID_CANCEL); });
    player.Play([&review] { review.ShowModal(); });
    for (const std::int32_t user : {1, -1}) {
        AnalysisWindow analysis(nullptr, folder, Edition::StandAlone, user, user, false);
        Size(analysis, small);
        const std::string name = (user == -1 ? "analysis-all" : "analysis") + suffix;
        player.Picture(name, [&analysis] { return &analysis; });
        if (user == -1) {
            player.Do([&analysis] { analysis.Pages->SetSelection(1); });
            player.Picture(name + "-candidates", [&analysis] { return &analysis; });
            player.Do([&analysis] { analysis.Pages->SetSelection(2); });
            player.Picture(name + "-items", [&analysis] { return &analysis; });
        } else {
            player.Do([&analysis] {
                auto* page = static_cast<wxScrolledWindow*>(analysis.PicDays->GetParent());
                page->Scroll(0, 1000);
            });
            player.Picture(name + "-below", [&analysis] { return &analysis; });
        }
        player.Do([&analysis] { analysis.EndModal(wxID_CANCEL); });
        player.Play([&analysis] { analysis.ShowModal(); });
    }
}

void Forms(Player& player, const DataFolder& folder) {
    ComposeDialog compose(nullptr, folder, BanksOf(folder, Edition::StandAlone));
    player.Picture("compose", [&compose] { return &compose; });
    player.Do([&compose] { compose.EndModal(wxID_CANCEL); });
    player.Play([&compose] { compose.ShowModal(); });
    SubjectDialog subject(nullptr, folder, SubjectsOf(folder).front());
    player.Picture("subject", [&subject] { return &subject; });
    player.Do([&subject] { subject.EndModal(wxID_CANCEL); });
    player.Play([&subject] { subject.ShowModal(); });
}

// A file with a good question, two that change on the way, and two that cannot be taken.
constexpr std::string_view kFileToImport =
    "::栈:: 栈的特点是{~先进先出 =先进后出 ~随机存取}\n\n"
    "十进制数 30 转换成二进制数是{#11110:1}\n\n"
    "下列属于输入设备的有{~%70%键盘 ~%30%鼠标 ~打印机}\n\n"
    "邮箱地址的格式是{=name@host}\n\n"
    "没有结束的题{=甲 ~乙\n\n"
    "在 GB 2312 编码中，一个汉字用 1 个字节表示。{T}\n";

void Banks(Player& player, const DataFolder& folder, const fs::path& pictures, bool small) {
    BankWindow window(nullptr, folder, false);
    if (small) window.SetClientSize(window.GetMinClientSize());
    player.Do([&window] { window.Select(u"JC010009"); });
    player.Picture("banks", [&window] { return &window; });
    player.Do([&] {
        const Paper paper = FindPaper(folder, 101).value();
        report::ShowPreview(&window, PaperSheet(folder, Edition::StandAlone, paper, Answers::Without));
    });
    for (int i = 0; i < 5; ++i) player.Do([] {});  // the page is drawn when there is nothing else to do
    player.Picture("preview", [] { return Shown<wxPreviewFrame>(); });
    player.Do([] { Shown<wxPreviewFrame>()->Close(true); });
    player.Do([&window] { window.EndModal(wxID_CANCEL); });
    player.Play([&window] { window.ShowModal(); });

    BankEditing editing(folder);
    editing.Open(u"CX");
    for (const auto& [name, rec_no] :
         {std::pair{"question-choice", u"CX010004"}, std::pair{"question-fill", u"CX040003"}}) {
        QuestionEditor editor(nullptr, editing, *editing.Find(rec_no));
        if (small) editor.SetSize(editor.FromDIP(wxSize(720, 480)));
        player.Picture(name, [&editor] { return &editor; });
        player.Do([&editor] { editor.EndModal(wxID_CANCEL); });
        player.Play([&editor] { editor.ShowModal(); });
    }

    const fs::path file = pictures / "import.gift";
    std::ofstream(file) << kFileToImport;
    ImportDialog import(nullptr, folder, u"JC");
    if (small) import.SetSize(import.FromDIP(wxSize(620, 460)));
    import.Read({FromNativePath(file)});
    player.Picture("import", [&import] { return &import; });
    player.Do([&import] { import.EndModal(wxID_CANCEL); });
    player.Play([&import] { import.ShowModal(); });

    RulesDialog rules(nullptr, folder);
    player.Picture("rules", [&rules] { return &rules; });
    player.Do([&rules] { rules.EndModal(wxID_CANCEL); });
    player.Play([&rules] { rules.ShowModal(); });
}

}  // namespace

void TakeHostPictures(const fs::path& pictures, bool small) {
    const fs::path data = pictures / "host-data";
    const fs::path empty = pictures / "host-empty";
    for (const fs::path& one : {data, empty}) fs::remove_all(one);
    fs::create_directories(data);
    SetComponentFolder(data);
    const DataFolder folder{FromNativePath(data)};
    MakeSampleData(folder.path);
    SeedHistory(folder.path, 1, 1, 12, 1);
    const DataFolder nothing{FromNativePath(empty)};
    MakeEmptyFolder(nothing.path);
    Player player(pictures, small ? "-small" : "");
    Main(player, folder, small, "main");
    Practising(player, folder, small);
    Exercise(player, folder, small);
    Crowded(player, folder, small);
    Main(player, folder, small, "main-unfinished");
    Main(player, nothing, small, "main-empty");
    Learning(player, folder, small, "");
    Learning(player, nothing, small, "-empty");
    Forms(player, folder);
}

void TakeBankPictures(const fs::path& pictures, bool small) {
    const fs::path data = pictures / "bank-data";
    fs::remove_all(data);
    fs::create_directories(data);
    SetComponentFolder(data);
    const DataFolder folder{FromNativePath(data)};
    MakeSampleData(folder.path);
    SeedHistory(folder.path, 1, 1, 12, 1);
    Player player(pictures, small ? "-small" : "");
    Banks(player, folder, pictures, small);
}

}  // namespace qmtrain::screenshots
