// Opens the component's windows on made-up data and writes a picture of each:
//   screenshots FOLDER [host | host-small | banks | banks-small]
// With "host" it takes those of the host's windows instead, with "host-small" at their least size.
// Needs ImageMagick and a display; "xvfb-run -a -s '-screen 0 1600x1200x24' screenshots FOLDER" has one that nobody
// sees.

#include <cstdio>
#include <filesystem>
#include <functional>
#include <string>

#include <wx/timer.h>

#include "bank/client_folder.h"
#include "core/files.h"
#include "core/log.h"
#include "dao/dao.h"
#include "host_pictures.h"
#include "notes/frm_notes.h"
#include "review/frm_train.h"
#include "review/frm_view_paper.h"
#include "sample_data.h"
#include "ui/screenshot.h"
#include "ui/toolkit.h"

namespace {

using namespace qmtrain;
namespace fs = std::filesystem;

void Save(const wxWindow& window, const fs::path& file) {
    if (!ui::SaveScreenshot(window, file)) std::fputs("screenshots: ImageMagick's import failed\n", stderr);
    std::printf("%s\n", file.c_str());
}

// Shows the window, runs the steps with time for drawing between them, and closes it.
template <class Window>
void Play(Window& window, std::vector<std::function<void()>> steps) {
    constexpr int kDrawing = 400;  // milliseconds
    std::size_t next = 0;
    wxTimer timer;
    timer.Bind(wxEVT_TIMER, [&](wxTimerEvent&) {
        if (next < steps.size()) return steps[next++]();
        timer.Stop();
        window.EndModal(wxID_CANCEL);
    });
    timer.Start(kDrawing);
    window.ShowModal();
}

struct Scene {
    fs::path pictures;
    std::u16string data;
};

PracticeSource SourceOf(const Scene& scene) {
    return {scene.data, u"", InFolder(scene.data, u"LocalPaper.mdb"), true, 1, 1};
}

void History(const Scene& scene) {
    review::FrmTrain window(SourceOf(scene));
    const auto picture = [&](const char* name) {
        return [&window, &scene, name] { Save(window, scene.pictures / name); };
    };
    Play(window,
         {picture("history-list.png"), [&] { window.Piclst->Click(review::kChartTab); }, picture("history-bars.png"),
          [&] {
              window.OptChartType[1]->SetValue(true);
              wxCommandEvent choice(wxEVT_RADIOBUTTON);
              window.OptChartType[1]->GetEventHandler()->ProcessEvent(choice);
              window.ChkHG->SetValue(true);
              wxCommandEvent check(wxEVT_CHECKBOX);
              window.ChkHG->GetEventHandler()->ProcessEvent(check);
          },
          picture("history-line.png")});
}

void Review(const Scene& scene) {
    review::FrmViewPaper window({SourceOf(scene), 1});
    const auto show = [&](long row) { return [&window, row] { window.FlexGridQuestions->SelectRow(row); }; };
    const auto picture = [&](const char* name) {
        return [&window, &scene, name] { Save(window, scene.pictures / name); };
    };
    Play(window, {picture("review-choice.png"), show(2), picture("review-fill.png"), show(5),
                  picture("review-operation.png"), [&] { window.mnuViewArr_Click(); }, picture("review-below.png")});
}

void Notes(const Scene& scene) {
    notes::FrmNotes window({SourceOf(scene), u""});
    const auto show = [&](const char16_t* key) { return [&window, key] { window.SelectKey(key); }; };
    const auto picture = [&](const char* name) {
        return [&window, &scene, name] { Save(window, scene.pictures / name); };
    };
    Play(window,
         {picture("notes-root.png"), show(u"DataKJ"), picture("notes-bank.png"), show(u"Note1"),
          picture("notes-note.png"), [&] { window.ToolbarNotes_ButtonClick(u"Modify"); }, picture("notes-modify.png"),
          [&] {
              window.TxtNote->AppendText("...");
              dao::Connection(ClientDatabase(scene.data))->Execute(u"DELETE FROM Notes WHERE NoteID=1");
              window.ToolbarNotes_ButtonClick(u"Save");
          },
          picture("notes-failed.png")});
}

void Empty(const Scene& scene) {
    review::FrmTrain window;
    Play(window, {[&] { Save(window, scene.pictures / "history-empty.png"); }});
    notes::FrmNotes notes({});
    Play(notes, {[&] { Save(notes, scene.pictures / "notes-empty.png"); }});
}

}  // namespace

int main(int argc, char** argv) {
    const std::string what = argc == 3 ? argv[2] : "";
    if (argc < 2 || argc > 3 ||
        (argc == 3 && what != "host" && what != "host-small" && what != "banks" && what != "banks-small")) {
        std::fputs("usage: screenshots FOLDER [host | host-small | banks | banks-small]\n", stderr);
        return 2;
    }
    if (!ui::StartToolkit(u"screenshots")) {
        std::fputs("screenshots: no display\n", stderr);
        return 1;
    }
    const fs::path folder = argv[1];
    if (what.starts_with("banks")) {
        screenshots::TakeBankPictures(folder, what == "banks-small");
        return 0;
    }
    if (!what.empty()) {
        screenshots::TakeHostPictures(folder, what == "host-small");
        return 0;
    }
    const fs::path data = folder / "data";
    fs::remove_all(data);
    fs::create_directories(data);
    SetComponentFolder(data);
    const Scene scene{folder, FromNativePath(data)};
    screenshots::MakeSampleData(scene.data, 14);
    History(scene);
    Review(scene);
    Notes(scene);
    Empty(scene);
    return 0;
}
