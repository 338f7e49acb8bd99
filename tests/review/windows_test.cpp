// The history and the paper review on a display, used with mouse and keyboard.

#include <fstream>
#include <memory>

#include <wx/modalhook.h>

#include "review/frm_train.h"
#include "review/frm_view_paper.h"
#include "review/training_row.h"
#include "review/ui_train.h"
#include "review_fixture.h"
#include "ui/support/window_script.h"
#include "ui/twips.h"
#include "ui/wx_text.h"

namespace qmtrain::review {
namespace {

using test::Click;
using test::MoveTo;
using test::Press;
using test::Shown;
using test::WindowScript;

// Looks at each modal window before it is shown, and does not let it be shown.
class ModalWindows : public wxModalDialogHook {
public:
    explicit ModalWindows(std::function<void(wxDialog&)> look) : look_(std::move(look)) { Register(); }

private:
    int Enter(wxDialog* dialog) override {
        look_(*dialog);
        return wxID_CANCEL;
    }
    std::function<void(wxDialog&)> look_;
};

std::string Row(const ui::ListView& list, long row) {
    std::string text;
    for (int column = 0; column < list.GetColumnCount(); ++column) {
        text += (column == 0 ? "" : "|") + ToUtf8(ui::FromWx(list.GetItemText(row, column)));
    }
    return text;
}

std::string Cells(const ui::ListView& list, int column) {
    std::string text;
    for (long row = 0; row < list.GetItemCount(); ++row) {
        text += (row == 0 ? "" : " ") + ToUtf8(ui::FromWx(list.GetItemText(row, column)));
    }
    return text;
}

std::string Headers(const ui::ListView& list) {
    std::string text;
    for (int column = 0; column < list.GetColumnCount(); ++column) {
        wxListItem header;
        header.SetMask(wxLIST_MASK_TEXT);
        list.GetColumn(column, header);
        text += (column == 0 ? "" : "|") + ToUtf8(ui::FromWx(header.GetText()));
    }
    return text;
}

// The icons of the headers, 0 for none.
std::string HeaderIcons(const ui::ListView& list) {
    std::string icons;
    for (int column = 0; column < list.GetColumnCount(); ++column) {
        wxListItem header;
        header.SetMask(wxLIST_MASK_IMAGE);
        list.GetColumn(column, header);
        icons += std::to_string(header.GetImage() + 1);
    }
    return icons;
}

void ClickRow(const ui::ListView& list, long row) {
    wxRect area;
    list.GetItemRect(row, area);
    Click(list, {area.x + 20, area.y + area.height / 2});
}

void ClickHeader(const ui::ListView& list, int column) {
    const wxWindow* header = wxWindow::FindWindowByName("wxlistctrlcolumntitles", &list);
    ASSERT_NE(header, nullptr);
    int x = list.GetColumnWidth(column) / 2;
    for (int before = 0; before < column; ++before) x += list.GetColumnWidth(before);
    Click(*header, {x, header->GetSize().y / 2});
}

class HistoryWindowTest : public test::WithDisplay<test::ReviewTest> {
protected:
    void AddThreeTrainings() const {
        AddTraining(2, 100, 59);
        AddTraining(3, 80, 78, 1, 2);
        AddTraining(4, 9, 6, -1, 1, -1);
    }

    std::vector<std::string> FailedFunctions() const {
        std::vector<std::string> functions;
        for (const test::LogEntry& entry : Log()) functions.push_back(entry.function);
        return functions;
    }
};

TEST_F(HistoryWindowTest, ListsTrainingsNewestFirst) {
    AddThreeTrainings();
    FrmTrain window(Source(true));
    const ui::ListView& list = *window.LvTrainInfo;
    EXPECT_FALSE(window.BtnView->IsEnabled());
    WindowScript script;
    script.Do([&] {
        EXPECT_EQ(Headers(list), "日期|类型|练习时间|总分|得分|得分率(%)");
        EXPECT_EQ(Row(list, 0), "05/04/04 08:30|上机||9|6|66.7");
        EXPECT_EQ(Row(list, 1), "05/04/03 08:30|上机|01:02:05|80|78|97.5");
        EXPECT_EQ(Row(list, 2), "05/04/02 08:30|笔试|01:02:05|100|59|59.0");
        EXPECT_EQ(list.SelectedIndex(), 0);
        EXPECT_TRUE(window.BtnView->IsEnabled());
        EXPECT_TRUE(window.BtnReDo->IsEnabled());
        for (const long row : {1, 2}) {
            wxListItem item;
            item.SetId(row);
            item.SetMask(wxLIST_MASK_IMAGE);
            list.GetItem(item);
            EXPECT_EQ(item.GetImage() + 1, row == 1 ? kPassIcon : kFailIcon);
            EXPECT_EQ(item.GetTextColour() == wxColour(255, 0, 0), row == 2);
            EXPECT_EQ(item.GetFont().IsOk() && item.GetFont().GetWeight() == wxFONTWEIGHT_BOLD, row == 2);
        }
    });
    EXPECT_EQ(script.Play(window), wxID_CANCEL);
    EXPECT_EQ(FailedFunctions(), std::vector<std::string>());
}

TEST_F(HistoryWindowTest, AHostThatNamesNobodySeesAllTrainings) {
    AddThreeTrainings();
    Execute(u"UPDATE TrainInfo SET UserId=TrainID, SubjectCode=10*TrainID");
    UITrain history;
    history.ClientPath(Path());
    WindowScript script;
    script.Await("the window", [] { return Shown<FrmTrain>() != nullptr; }).Do([] {
        EXPECT_EQ(Shown<FrmTrain>()->LvTrainInfo->GetItemCount(), 3);
    });
    script.Play([&] { history.ShowUI(); });
}

TEST_F(HistoryWindowTest, HeadersSortAndTheSelectionStaysWithItsTraining) {
    AddThreeTrainings();
    FrmTrain window(Source(true));
    const ui::ListView& list = *window.LvTrainInfo;
    constexpr int kTotal = 3;
    constexpr int kGot = 4;
    WindowScript script;
    script.Do([&] { ClickRow(list, 1); })
        .Await("the second row", [&] { return list.SelectedIndex() == 1; })
        .Do([&] { ClickHeader(list, kGot); })
        .Await("sorted by points", [&] { return Cells(list, kGot) == "6 59 78"; })
        .Do([&] {
            EXPECT_EQ(list.SelectedIndex(), 2);
            EXPECT_EQ(HeaderIcons(list), "000030");  // the header's icons follow those of the rows
            ClickHeader(list, kGot);
        })
        .Await("downwards", [&] { return Cells(list, kGot) == "78 59 6"; })
        .Do([&] {
            EXPECT_EQ(list.SelectedIndex(), 0);
            EXPECT_EQ(HeaderIcons(list), "000040");
            ClickHeader(list, kTotal);
        })
        .Await("the total sorted as text", [&] { return Cells(list, kTotal) == "100 80 9"; })
        .Do([&] {
            EXPECT_EQ(HeaderIcons(list), "000300");
            EXPECT_EQ(list.SelectedRow()->key, u"NOTE2");
            ClickHeader(list, 0);
        })
        .Await("by date", [&] { return Cells(list, kTotal) == "100 80 9" && HeaderIcons(list) == "300000"; });
    script.Play(window);
}

// What stands in the place of rows.
std::string EmptyText(const ui::ListView& list) {
    for (const wxWindow* child : list.GetChildren()) {
        const auto* text = dynamic_cast<const wxStaticText*>(child);
        if (text != nullptr && text->IsShown()) return text->GetLabel().utf8_string();
    }
    return "";
}

TEST_F(HistoryWindowTest, AnEmptyListSaysWhyItIsEmpty) {
    struct Case {
        const char* name;
        std::function<void()> damage;
        const char* text;
        bool fault = true;
    };
    const Case cases[] = {
        {"no trainings", [] {}, "还没有练习记录", false},
        {"not a database", [&] { std::ofstream(ClientFile()) << std::string(9000, 'x'); }, "已损坏"},
        {"cut off", [&] { std::filesystem::resize_file(ClientFile(), 30000); }, "已损坏"},
        {"missing", [&] { std::filesystem::remove(ClientFile()); }, "找不到练习记录数据库 Client.mdb"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        c.damage();
        std::filesystem::remove(LogFile());
        FrmTrain window(Source(true));
        WindowScript script;
        script.Do([&] {
            EXPECT_EQ(window.LvTrainInfo->GetItemCount(), 0);
            EXPECT_EQ(window.MSChart->RowCount(), 0U);
            EXPECT_EQ(window.LvTrainInfo->SelectedRow(), nullptr);
            EXPECT_FALSE(window.BtnView->IsEnabled());
            EXPECT_FALSE(window.BtnReDo->IsEnabled());
            const std::string text = EmptyText(*window.LvTrainInfo);
            EXPECT_NE(text.find(c.text), std::string::npos) << text;
            EXPECT_EQ(text.find("QmTrainInfo.Log") != std::string::npos, c.fault) << text;
            ClickHeader(*window.LvTrainInfo, 4);
        });
        script.Await("the header's icon", [&] { return HeaderIcons(*window.LvTrainInfo) == "000030"; });
        script.Play(window);
        EXPECT_EQ(Log().size(), c.fault ? 1U : 0U);
    }
}

TEST_F(HistoryWindowTest, WhatTheUserDragsStays) {
    AddThreeTrainings();
    FrmTrain window(Source(true));
    ui::ListView& list = *window.LvTrainInfo;
    const int rule = list.GetTextExtent(ui::ToWx(u"类型")).x;
    int stretched = 0;
    WindowScript script;
    script
        .Do([&] {
            EXPECT_GE(list.GetColumnWidth(1), rule);
            const double share = static_cast<double>(list.GetColumnWidth(0)) / list.GetColumnWidth(1);
            EXPECT_NEAR(share, static_cast<double>(list.GetTextExtent("05-04-12 12:00").x) / rule, 0.1);
            stretched = list.GetColumnWidth(1);
            window.SetSize(window.GetSize() + wxSize(100, 0));
        })
        .Await("wider columns", [&] { return list.GetColumnWidth(1) > stretched; })
        .Do([&] {
            const wxWindow* header = wxWindow::FindWindowByName("wxlistctrlcolumntitles", &list);
            const int edge = list.GetColumnWidth(0);
            MoveTo(*header, {edge, 8});
            wxUIActionSimulator().MouseDown();
            MoveTo(*header, {edge + 10, 8});
            MoveTo(*header, {edge + 40, 8});
            wxUIActionSimulator().MouseUp();
            stretched = edge + 40;
        })
        .Await("the dragged column", [&] { return std::abs(list.GetColumnWidth(0) - stretched) < 5; })
        .Do([&] {
            stretched = list.GetColumnWidth(0);
            ClickHeader(list, 3);
            window.SetSize(window.GetSize() + wxSize(60, 20));
        })
        .Await("sorted", [&] { return HeaderIcons(list) == "000300"; })
        .Do([&] { EXPECT_EQ(list.GetColumnWidth(0), stretched); });
    script.Play(window);
}

TEST_F(HistoryWindowTest, ATrainingIsChosenInTheChart) {
    AddThreeTrainings();
    FrmTrain window(Source(true));
    const ScoreChart& chart = *window.MSChart;
    const auto chosen = [&] { return window.LvTrainInfo->SelectedRow()->key; };
    std::vector<std::int32_t> wanted;
    window.RdDoQuestionPaper = [&](std::int32_t train_id, bool) { wanted.push_back(train_id); };
    WindowScript script;
    script
        .Do([&] {
            window.Piclst->Click(kChartTab);
            EXPECT_EQ(chart.Marked(), 2U);  // the newest, which the list begins with
            window.LvTrainInfo->SelectRow(2);
        })
        .Await("the chart", [&] { return chart.IsShownOnScreen() && chart.GetSize().x > 300; })
        .Do([&] {
            EXPECT_EQ(chart.Marked(), 0U);
            Click(chart, chart.PlaceOf(1));
        })
        .Await("a bar", [&] { return chart.Marked() == 1U; })
        .Do([&] {
            EXPECT_EQ(chosen(), u"NOTE2");
            EXPECT_FALSE(chart.GetToolTipText().empty()) << "under the mouse";
            Press(WXK_RIGHT);
        })
        .Await("the next one", [&] { return chart.Marked() == 2U && chosen() == u"NOTE3"; })
        .Do([&] { Press(WXK_RIGHT); })
        .Do([&] { Press(WXK_HOME); })
        .Await("the first one", [&] { return chart.Marked() == 0U && chosen() == u"NOTE1"; })
        .DoLast([&] { Click(*window.BtnReDo); });
    script.Play(window);
    EXPECT_EQ(wanted, std::vector<std::int32_t>{1});
}

TEST_F(HistoryWindowTest, TabsSwitchPanels) {
    AddThreeTrainings();
    FrmTrain window(Source(true));
    int switches = 0;
    const auto on_switch = window.Piclst->OnSwitch;
    window.Piclst->OnSwitch = [&](int tab) {
        ++switches;
        on_switch(tab);
    };
    const auto click_tab = [&](int tab) {
        const wxRect area = window.Piclst->TabRect(tab);
        Click(*window.Piclst, {area.x + area.width / 2, area.y + area.height / 2});
    };
    const auto shown = [&](int tab) {
        return window.PicLv->IsShown() == (tab == kListTab) && window.PicChart->IsShown() == (tab == kChartTab);
    };
    WindowScript script;
    script
        .Do([&] {
            EXPECT_TRUE(shown(kListTab));
            click_tab(kListTab);  // nothing
            click_tab(kChartTab);
        })
        .Await("the chart", [&] { return shown(kChartTab); })
        .Do([&] {
            EXPECT_EQ(switches, 1);
            EXPECT_EQ(window.PicChart->GetSize(), window.PicLv->GetSize());
            const wxRect list_tab = window.Piclst->TabRect(kListTab);
            const wxRect chart_tab = window.Piclst->TabRect(kChartTab);
            EXPECT_EQ(list_tab.y - chart_tab.y, ui::ToPixels(window, kTabRise));
            EXPECT_EQ(list_tab.height, chart_tab.height) << "its caption would move by more than the tab";
            EXPECT_TRUE(window.Piclst->TabRect(kListTab).Intersects(window.Piclst->TabRect(kChartTab)));
            Press(WXK_LEFT);
        })
        .Await("the list", [&] { return shown(kListTab); })
        .Do([&] { Press(WXK_RIGHT); })
        .Await("the chart again", [&] { return shown(kChartTab); });
    script.Play(window);
    EXPECT_EQ(switches, 3);
}

TEST_F(HistoryWindowTest, ChartOptionsFollowTheNumberOfTrainings) {
    for (const bool three : {false, true}) {
        SCOPED_TRACE(three ? "three trainings" : "two trainings");
        if (three) {
            AddTraining(1, 200, 1);
        } else {
            AddTraining(3, 100, 59);
            AddTraining(4, 50, 60);
        }
        FrmTrain window(Source(true));
        const ScoreChart& chart = *window.MSChart;
        WindowScript script;
        script.Do([&] { window.Piclst->Click(kChartTab); })
            .Await("the chart", [&] { return chart.IsShownOnScreen() && chart.GetSize().x > 300; })
            .Do([&] {
                EXPECT_EQ(chart.Type(), ChartType::Bars);
                EXPECT_FALSE(window.ChkHG->IsEnabled());
                std::vector<std::u16string> rates;
                for (const ScorePoint& point : chart.Points()) rates.push_back(point.rate);
                EXPECT_EQ(rates, three ? (std::vector<std::u16string>{u".5", u"59.0", u"100.0"})
                                       : (std::vector<std::u16string>{u"59.0", u"100.0"}));
                Click(*window.OptChartType[1], {8, window.OptChartType[1]->GetSize().y / 2});
            })
            .Await("a line", [&] { return chart.Type() == ChartType::Line; })
            .Do([&] { EXPECT_EQ(window.ChkHG->IsEnabled(), three); });
        if (three) {
            script.Do([&] {
                      Click(*window.ChkHG, {8, window.ChkHG->GetSize().y / 2});
                  })
                .Await("the regression", [&] { return chart.ShowsRegression(); })
                .Do([&] {
                    Click(*window.OptChartType[0], {8, window.OptChartType[0]->GetSize().y / 2});
                })
                .Await("bars", [&] { return chart.Type() == ChartType::Bars; })
                .Do([&] {
                    EXPECT_FALSE(window.ChkHG->IsEnabled());
                    EXPECT_TRUE(window.ChkHG->GetValue());
                    Click(*window.OptChartType[1], {8, window.OptChartType[1]->GetSize().y / 2});
                })
                .Await("the line with its regression",
                       [&] { return chart.Type() == ChartType::Line && chart.ShowsRegression(); });
        }
        script.Do([&] {
                  MoveTo(chart, {chart.GetClientSize().x - 40, chart.GetClientSize().y / 2});
              })
            .Await("the last training's tip",
                   [&] { return ui::FromWx(chart.GetToolTipText()) == u"2005-04-04 08:30\n得分率：100.0%"; })
            .Do([&] {
                MoveTo(chart, {2, chart.GetClientSize().y / 2});
            })
            .Await("no tip beside the trainings", [&] { return chart.GetToolTipText().empty(); });
        script.Play(window);
    }
}

TEST_F(HistoryWindowTest, ViewOpensTheReviewOfTheSelectedTraining) {
    AddPaper();
    AddTraining(1, 100, 59);
    struct Way {
        const char* name;
        long row;
        std::function<void(FrmTrain&)> open;
    };
    const Way ways[] = {
        {"button", 0, [](FrmTrain& window) { Click(*window.BtnView); }},
        {"another row", 1, [](FrmTrain& window) { Click(*window.BtnView); }},
        {"Enter", 0, [](FrmTrain&) { Press(WXK_RETURN); }},
    };
    FrmTrain window(Source(true));
    std::vector<int> questions;
    std::unique_ptr<ModalWindows> hook;
    WindowScript script;
    std::size_t opened = 0;
    script.Do([&] {
        hook = std::make_unique<ModalWindows>([&](wxDialog& dialog) {
            const auto* review = dynamic_cast<FrmViewPaper*>(&dialog);
            ASSERT_NE(review, nullptr);
            questions.push_back(review->FlexGridQuestions->GetItemCount());
            EXPECT_EQ(review->RtfTitle->Text().PlainText() == u"请  选择", questions.back() == 6);
        });
    });
    for (const Way& way : ways) {
        ++opened;
        script.Do([&] { ClickRow(*window.LvTrainInfo, way.row); })
            .Await("the row", [&] { return window.LvTrainInfo->SelectedIndex() == way.row; })
            .Do([&] { way.open(window); })
            .Await(way.name, [&questions, opened] { return questions.size() == opened; });
    }
    script.Do([&] {
        EXPECT_TRUE(window.IsShown()) << "the history stays open";
        hook.reset();
    });
    script.Play(window);
    EXPECT_EQ(questions, (std::vector<int>{6, 1, 6}));
}

TEST_F(HistoryWindowTest, DoAgainClosesTheWindowAndTellsTheHost) {
    AddThreeTrainings();
    UITrain history;
    history.ClientPath(Path());
    history.UserId(test::kUser);
    history.SubjectCode(test::kSubject);
    std::vector<std::pair<std::int32_t, bool>> wanted;
    history.ReDoQuestionPaper = [&](std::int32_t train_id, bool written) {
        EXPECT_EQ(Shown<FrmTrain>(), nullptr) << "the window is still there";
        wanted.emplace_back(train_id, written);
        if (wanted.size() == 1) history.ShowUI();  // a host may open windows from here
    };
    const auto click_again = [](long row) {
        return [row] {
            FrmTrain& window = *Shown<FrmTrain>();
            window.LvTrainInfo->SelectRow(row);
            // Twice, as an impatient user does: the second one must not count.
            for (int i = 0; i < 2; ++i) {
                wxQueueEvent(window.BtnReDo, new wxCommandEvent(wxEVT_BUTTON, window.BtnReDo->GetId()));
            }
        };
    };
    WindowScript script;
    script.Await("the window", [] { return Shown<FrmTrain>() != nullptr; })
        .Do(click_again(2))
        .Await("the second window", [&] { return wanted.size() == 1 && Shown<FrmTrain>() != nullptr; })
        .DoLast(click_again(1));
    script.Play([&] { history.ShowUI(); });
    EXPECT_EQ(wanted, (std::vector<std::pair<std::int32_t, bool>>{{1, true}, {2, false}}));
}

TEST_F(HistoryWindowTest, ThousandsOfTrainingsAreAllThere) {
    constexpr int kTrainings = 5000;
    {
        dao::Engine::Instance().BeginTrans();
        const auto database = Open();
        const auto rows = database->OpenRecordset(u"Select * From TrainInfo");
        for (int i = 0; i < kTrainings; ++i) {
            rows->AddNew();
            rows->Fields(u"UserId").Value(test::kUser);
            rows->Fields(u"SubjectCode").Value(test::kSubject);
            rows->Fields(u"StartDate").Value(Date{38000.5 + i});
            rows->Update();
        }
        database->Execute(
            u"INSERT INTO TrainResult (TrainID, QuestionScore, AnswerScore) SELECT TrainID, 5000,"
            u" TrainID FROM TrainInfo");
        dao::Engine::Instance().CommitTrans();
    }
    FrmTrain window(Source(true));
    WindowScript script;
    script.Do([&] {
        EXPECT_EQ(window.LvTrainInfo->GetItemCount(), kTrainings);
        EXPECT_EQ(Row(*window.LvTrainInfo, kTrainings - 1), "04/01/14 12:00|上机||5000|1|0.0");
        window.LvTrainInfo->SelectRow(kTrainings - 1);
        window.Piclst->Click(kChartTab);
        ASSERT_EQ(window.MSChart->RowCount(), static_cast<std::size_t>(kTrainings));
        EXPECT_EQ(window.MSChart->Points().back().rate, u"100.0");
        EXPECT_EQ(window.MSChart->Marked(), 0U);
    });
    script.Play(window);
}

class ReviewWindowTest : public test::WithDisplay<test::ReviewTest> {
protected:
    ReviewWindowTest() { AddPaper(); }

    static std::u16string Panes(const FrmViewPaper& window) {
        std::u16string text;
        for (const ui::RichTextView* pane : {window.RtfTitle, window.RtfChoice, window.RtfAnswer, window.RtfError}) {
            text += pane->Text().PlainText() + u"|";
        }
        return text;
    }
};

TEST_F(ReviewWindowTest, RowsShowTheirQuestions) {
    FrmViewPaper window(Source(true));
    const ui::ListView& grid = *window.FlexGridQuestions;
    struct Choice {
        const char* name;
        long row;
        const char16_t* panes;
        bool options;
    };
    static const Choice choices[] = {
        {"several choices", 3, u"多选\n题干|选择项:|标准答案：AC\n考生答案：AC||", true},
        {"yes or no", 2, u"是非题干||标准答案：对\n考生答案：错||", false},
        {"operation", 4, u"操作题干||标准答案：把 a 改名\n考生答案：|扣 4 分|", false},
        {"unknown bank", 5, u"无法获得指定号试题的内容!可能题库中指定的题号不存在!||标准答案：\n考生答案：|没有题库|",
         false},
        {"choice", 0, u"请  选择|选择项:\nA. 甲、\nB. 乙 |标准答案：B\n考生答案：C|选错了|", true},
    };
    WindowScript script;
    script.Do([&] {
        EXPECT_EQ(Headers(grid), "题号|分值|考生得分|试题类型|标准答案|考生答案");
        EXPECT_EQ(Row(grid, 0), "1|2|0.5|单项选择题|B|C");
        EXPECT_EQ(Row(grid, 1), "2|4|2|填空题|a 或 b 与 c|a 与 ");
        EXPECT_EQ(Row(grid, 4), "5|16|12|简单应用题||");
        EXPECT_EQ(grid.SelectedIndex(), 0);
        EXPECT_EQ(Panes(window), choices[4].panes);
    });
    for (const Choice& choice : choices) {
        script.Do([&] { ClickRow(grid, choice.row); })
            .Await(choice.name, [&] { return Panes(window) == choice.panes; })
            .Do([&] { EXPECT_EQ(window.PicChoice->IsShown(), choice.options); });
    }
    script.Do([&] { Press(WXK_DOWN); }).Await("the next one", [&] { return grid.SelectedIndex() == 1; });
    script.DoLast([] { Press(WXK_ESCAPE); });
    EXPECT_EQ(script.Play(window), wxID_CANCEL);
}

TEST_F(ReviewWindowTest, FourColumnsAreNarrowAndAllBeginAtTheLeft) {
    FrmViewPaper window(Source(true));
    const ui::ListView& grid = *window.FlexGridQuestions;
    WindowScript script;
    script.Do([&] {
        for (int column = 0; column < grid.GetColumnCount(); ++column) {
            wxListItem header;
            header.SetMask(wxLIST_MASK_FORMAT);
            grid.GetColumn(column, header);
            EXPECT_EQ(header.GetAlign(), wxLIST_FORMAT_LEFT) << column;
            EXPECT_EQ(grid.GetColumnWidth(column) > grid.GetColumnWidth(0), column > 0) << column;
        }
        EXPECT_EQ(grid.GetColumnWidth(1), grid.GetColumnWidth(4));
        EXPECT_GT(grid.GetColumnWidth(4), grid.GetColumnWidth(5));
    });
    script.Play(window);
}

TEST_F(ReviewWindowTest, ATrainingWithoutQuestionsLeavesThePanesEmpty) {
    PaperSource source = Source(true);
    source.train_id = 99;
    FrmViewPaper window(source);
    WindowScript script;
    script.Do([&] {
        EXPECT_EQ(window.FlexGridQuestions->GetItemCount(), 0);
        EXPECT_EQ(Panes(window), u"||||");
    });
    script.Play(window);
}

TEST_F(ReviewWindowTest, BarsAreDraggedWithinTheirLimits) {
    auto window = std::make_unique<FrmViewPaper>(Source(true));
    const wxWindow& grid = *window->FlexGridQuestions;
    const ui::SplitterBar& across = *window->PicLeftRight;
    const ui::SplitterBar& down = *window->PicTopBottom;
    const auto left = [&] { return across.GetPosition().x - grid.GetPosition().x; };
    const auto top = [&] { return down.GetPosition().y; };
    const auto held = [](const ui::SplitterBar& bar) { return bar.GetBackgroundColour() == wxColour(128, 128, 128); };
    wxUIActionSimulator mouse;
    int start = 0;
    WindowScript script;
    script
        .Do([&] {
            const int margin = ui::ToTwips(*window, grid.GetPosition().x);
            across.OnDrag(margin + 1500);
            across.OnDrag(margin + 600);
            EXPECT_EQ(left(), 100);
            across.OnDrag(margin + 601);
            EXPECT_EQ(left(), 40);
            across.OnDrag(margin + 4500);
            across.OnDrop();
            start = left();
            MoveTo(across, {2, 50});
            mouse.MouseDown();
        })
        .Await("the bar is held", [&] { return held(across); })
        .Do([&] {
            MoveTo(*window, {across.GetPosition().x - 50, 90});
        })
        .Await("dragged to the left", [&] { return left() == start - 50; })
        .Do([&] {
            EXPECT_EQ(grid.GetSize().x, start);                // the panes wait until the bar is released
            MoveTo(*window, {grid.GetPosition().x + 40, 90});  // 600 twips: refused
            MoveTo(*window, {grid.GetPosition().x + 41, 90});
        })
        .Await("the least width", [&] { return left() == 41; })
        .Do([&] { mouse.MouseUp(); })
        .Await("the bar is free", [&] { return !held(across); })
        .Do([&] {
            EXPECT_EQ(grid.GetSize().x, 41);
            const int right = window->PicRight->GetPosition().x + window->PicRight->GetSize().x;
            EXPECT_EQ(right + grid.GetPosition().x, window->GetClientSize().x);
            start = top();
            MoveTo(down, {90, 2});
            mouse.MouseDown();
        })
        .Await("the other bar is held", [&] { return held(down); })
        .Do([&] {
            MoveTo(*window->PicRight, {90, 2});  // beyond the limit
            MoveTo(*window->PicRight, {90, start + 30});
        })
        .Await("dragged down", [&] { return top() == start + 30; });
    script.Play(*window);
    window.reset();  // with the button still held
    mouse.MouseUp();
}

TEST_F(ReviewWindowTest, WidthHasALimitHeightHasNone) {
    FrmViewPaper window(Source(true));
    const wxSize wanted(ui::ToPixels(window, 8000), ui::ToPixels(window, 5000));
    const int least = ui::ToPixels(window, 9600);
    WindowScript script;
    script.Do([&] { window.SetSize(wanted); })
        .Await("snapped back", [&] { return window.GetSize() == wxSize(least, wanted.y); })
        .Do([&] { window.SetSize(least + 100, wanted.y + 100); })
        .Await("larger", [&] { return window.GetSize() == wxSize(least + 100, wanted.y + 100); });
    script.Play(window);
}

TEST_F(ReviewWindowTest, TheQuestionStandsBesideOrBelowTheList) {
    FrmViewPaper window(Source(true));
    const wxWindow& grid = *window.FlexGridQuestions;
    const wxWindow& question = *window.PicRight;
    const auto beside = [&] {
        return question.GetPosition().x > grid.GetPosition().x + grid.GetSize().x &&
               question.GetPosition().y == grid.GetPosition().y;
    };
    const auto below = [&] {
        return question.GetPosition().y > grid.GetPosition().y + grid.GetSize().y &&
               question.GetPosition().x == grid.GetPosition().x;
    };
    WindowScript script;
    script.Do([&] {
        EXPECT_TRUE(beside());
        window.mnuViewArr_Click();
        EXPECT_TRUE(below());
        const int margin = ui::ToTwips(window, grid.GetPosition().y);
        window.PicLeftRight->OnDrag(margin + 1500);
        window.PicLeftRight->OnDrop();
        EXPECT_EQ(grid.GetSize().y, 100);
        window.mnuViewArr_Click();
        EXPECT_TRUE(beside());
    });
    script.Play(window);
}

}  // namespace
}  // namespace qmtrain::review
