// The windows, opened by a host without wxWidgets and used as a person would use them.
#include <functional>
#include <optional>
#include <thread>
#include <vector>

#include <ocidl.h>
#include <olectl.h>

#include "automation/variant.h"
#include "core/text.h"
#include "core/windows_text.h"
#include "server/qmtraininfo.h"
#include "server/server_fixture.h"

namespace qmtrain::test {
namespace {

using automation::Bstr;
using automation::ComPtr;

// What a host hears.
class Listener final : public IDispatch {
public:
    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID id, void** out) override {
        const bool known =
            IsEqualIID(id, IID_IUnknown) || IsEqualIID(id, IID_IDispatch) || IsEqualIID(id, DIID_IUITrainEvents);
        *out = known ? this : nullptr;
        return known ? S_OK : E_NOINTERFACE;
    }
    ULONG STDMETHODCALLTYPE AddRef() override { return 1; }
    ULONG STDMETHODCALLTYPE Release() override { return 1; }
    HRESULT STDMETHODCALLTYPE GetTypeInfoCount(UINT*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE GetTypeInfo(UINT, LCID, ITypeInfo**) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE GetIDsOfNames(REFIID, LPOLESTR*, UINT, LCID, DISPID*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE Invoke(DISPID id, REFIID, LCID, WORD, DISPPARAMS* passed, VARIANT*, EXCEPINFO*,
                                     UINT*) override {
        if (id != 1 || passed->cArgs != 2) return DISP_E_MEMBERNOTFOUND;
        train_ids.push_back(V_I4(&passed->rgvarg[1]));
        written.push_back(V_BOOL(&passed->rgvarg[0]) == VARIANT_TRUE);
        window_enabled = IsWindowEnabled(host_window);
        if (acts) acts();
        return S_OK;
    }

    HWND host_window = nullptr;
    std::vector<LONG> train_ids;
    std::vector<bool> written;
    bool window_enabled = false;
    std::function<void()> acts;
};

// Hears an object's events for as long as it lives.
class Connection {
public:
    Connection(IDispatch* object, Listener& listener) {
        const auto container = ComPtr<IDispatch>(object).As<IConnectionPointContainer>();
        EXPECT_TRUE(container);
        EXPECT_EQ(container->FindConnectionPoint(DIID_IUITrainEvents, point_.Out()), S_OK);
        EXPECT_EQ(point_->Advise(&listener, &cookie_), S_OK);
    }
    Connection(const Connection&) = delete;
    Connection& operator=(const Connection&) = delete;
    ~Connection() {
        EXPECT_EQ(point_->Unadvise(cookie_), S_OK);
        EXPECT_EQ(point_->Unadvise(cookie_), CONNECT_E_NOCONNECTION);
    }

private:
    ComPtr<IConnectionPoint> point_;
    DWORD cookie_ = 0;
};

HWND ChildWithText(HWND window, std::u16string_view text) {
    struct Search {
        std::wstring text;
        HWND found;
    } search{ToWide(text), nullptr};
    EnumChildWindows(
        window,
        [](HWND child, LPARAM parameter) CALLBACK -> BOOL {
            auto& wanted = *reinterpret_cast<Search*>(parameter);
            wchar_t held[256] = {};
            GetWindowTextW(child, held, 256);
            if (wanted.text != held) return TRUE;
            wanted.found = child;
            return FALSE;
        },
        reinterpret_cast<LPARAM>(&search));
    return search.found;
}

// A person before the screen: looks at the windows again and again until the last step is done. A step that does not
// succeed in time closes whatever is open, so that the test ends.
class Person {
public:
    using Step = std::function<bool()>;

    explicit Person(std::vector<Step> steps) : steps_(std::move(steps)), outer_(present) {
        present = this;
        timer_ = SetTimer(nullptr, 0, 50, &Person::OnTimer);
    }
    Person(const Person&) = delete;
    Person& operator=(const Person&) = delete;
    ~Person() {
        KillTimer(nullptr, timer_);
        present = outer_;
        EXPECT_EQ(done_, steps_.size()) << "steps were not reached";
    }

private:
    static void CALLBACK OnTimer(HWND, UINT, UINT_PTR, DWORD) { present->Look(); }
    static BOOL CALLBACK Shut(HWND window, LPARAM) { return PostMessageW(window, WM_CLOSE, 0, 0); }

    void Look() {
        if (done_ < steps_.size() && steps_[done_]()) {
            ++done_;
            looks_ = 0;
        } else if (++looks_ > 400) {
            EnumThreadWindows(GetCurrentThreadId(), &Shut, 0);
        }
    }

    static thread_local Person* present;
    std::vector<Step> steps_;
    Person* outer_;
    std::size_t done_ = 0;
    int looks_ = 0;
    UINT_PTR timer_ = 0;
};

thread_local Person* Person::present = nullptr;

Person::Step Click(std::u16string_view window_title, std::u16string_view button) {
    return [=] {
        HWND window = FindWindowW(nullptr, ToWide(window_title).c_str());
        HWND child = window == nullptr ? nullptr : ChildWithText(window, button);
        if (child == nullptr || !IsWindowEnabled(child) || !IsWindowVisible(child)) return false;
        return PostMessageW(child, BM_CLICK, 0, 0) != 0;
    };
}

Person::Step Close(std::u16string_view window_title, HWND host = nullptr) {
    return [=] {
        HWND window = FindWindowW(nullptr, ToWide(window_title).c_str());
        if (window == nullptr || !IsWindowVisible(window)) return false;
        EXPECT_FALSE(host != nullptr && IsWindowEnabled(host)) << "the window is modal";
        return PostMessageW(window, WM_CLOSE, 0, 0) != 0;
    };
}

class WindowTest : public ServerTest {
protected:
    WindowTest() {
        host_ = CreateWindowW(L"STATIC", L"host", WS_OVERLAPPEDWINDOW | WS_VISIBLE, 0, 0, 200, 100, nullptr, nullptr,
                              nullptr, nullptr);
        automation::Object train(server_.Create(CLSID_TrainInfo));
        train.Set(u"ClientPath", Path());
        EXPECT_EQ(train.Call(u"Init", u"").ToValue(), Value(true));
        train.Call(u"AddNewTrain", Date{45000}, std::int32_t{1}, std::int32_t{3}, std::int32_t{0}, std::int32_t{24});
        automation::Object result(server_.Create(CLSID_TrainResult));
        result.Set(u"ClientPath", Path());
        EXPECT_EQ(result
                      .Call(u"Add", std::int32_t{1}, std::int32_t{1}, u"D1", u"0001001", 2.0F, 1.0F, u"2", u"", u"",
                            std::int32_t{1}, std::int32_t{1}, std::int32_t{1})
                      .ToValue(),
                  Value(true));
    }
    ~WindowTest() override { DestroyWindow(host_); }

    automation::Object History() const {
        automation::Object train(server_.Create(CLSID_UITrain));
        train.Set(u"ClientPath", Path());
        train.Set(u"DataMdbPath", Path());
        train.Set(u"LocalPaperMdbPath", Path() + u"\\Paper.mdb");
        train.Set(u"IsNet", true);
        train.Set(u"UserId", std::int32_t{1});
        train.Set(u"SubjectCode", std::int32_t{24});
        return train;
    }

    HWND host_;
};

constexpr std::u16string_view kHistory = u"练习历史";
constexpr std::u16string_view kReview = u"查看试卷";
constexpr std::u16string_view kNotes = u"笔记管理";

TEST_F(WindowTest, TellsTheHostToDoAPaperAgain) {
    automation::Object train = History();
    Listener listener;
    listener.host_window = host_;
    const Connection connection(train.Get(), listener);
    for (int round = 1; round <= 2; ++round) {
        const Person person({Click(kHistory, u"重做试卷")});
        train.Call(u"ShowUI");
        ASSERT_EQ(listener.train_ids.size(), static_cast<std::size_t>(round));
        EXPECT_EQ(listener.train_ids.back(), 1);
        EXPECT_TRUE(listener.written.back());
        EXPECT_TRUE(listener.window_enabled) << "the host has its windows back when it is told";
    }
}

// A host's own modal window: its loop ends when the window is gone.
void RunHostDialog() {
    HWND window = CreateWindowW(L"STATIC", L"next paper", WS_OVERLAPPEDWINDOW | WS_VISIBLE, 0, 0, 200, 100, nullptr,
                                nullptr, nullptr, nullptr);
    const Person person({[=] { return DestroyWindow(window) != 0; }});
    MSG message;
    while (IsWindow(window) && GetMessageW(&message, nullptr, 0, 0) > 0) DispatchMessageW(&message);
}

// The exit code of the WM_QUIT that waits for the host's loop.
std::optional<WPARAM> WaitingQuit() {
    MSG message;
    while (PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE)) {
        if (message.message == WM_QUIT) return message.wParam;
        DispatchMessageW(&message);
    }
    return std::nullopt;
}

TEST_F(WindowTest, TheHostActsAtOnceWhenItIsTold) {
    automation::Object train = History();
    Listener listener;
    const Connection connection(train.Get(), listener);
    const auto tell = [&](std::function<void()> acts) {
        listener.acts = std::move(acts);
        const Person person({Click(kHistory, u"重做试卷")});
        train.Call(u"ShowUI");
    };
    tell(&RunHostDialog);
    tell([&] {
        const Person person({Close(kHistory)});
        train.Call(u"ShowUI");
    });
    EXPECT_FALSE(WaitingQuit());
    EXPECT_TRUE(IsWindowEnabled(host_));
    tell([&] {
        DestroyWindow(host_);
        PostQuitMessage(3);
    });
    EXPECT_EQ(WaitingQuit(), WPARAM{3}) << "the host's loop ends";
    EXPECT_EQ(listener.train_ids.size(), 3U);
}

TEST_F(WindowTest, AQuitOfTheHostClosesTheWindowsAndReachesItsLoop) {
    const auto quit = [](std::u16string_view title) -> Person::Step {
        return [title] {
            HWND window = FindWindowW(nullptr, ToWide(title).c_str());
            if (window == nullptr || !IsWindowVisible(window)) return false;
            PostQuitMessage(7);
            return true;
        };
    };
    automation::Object notes(server_.Create(CLSID_UIManageNotes));
    notes.Set(u"ClientPath", Path());
    automation::Object train = History();
    struct Case {
        const char* name;
        std::vector<Person::Step> steps;
        automation::Object& object;
        std::u16string_view member;
    };
    const Case cases[] = {
        {"history", {quit(kHistory)}, train, u"ShowUI"},
        {"review over the history", {Click(kHistory, u"查看试卷"), quit(kReview)}, train, u"ShowUI"},
        {"notes", {quit(kNotes)}, notes, u"ShowDlg"},
    };
    for (const Case& c : cases) {
        const Person person(c.steps);
        c.object.Call(c.member);
        EXPECT_EQ(WaitingQuit(), WPARAM{7}) << c.name;
        EXPECT_FALSE(WaitingQuit()) << c.name << ": once";
    }
}

TEST_F(WindowTest, AClientMayLetGoOfTheObjectFromItsEvent) {
    auto train = std::make_unique<automation::Object>(History());
    ComPtr<IUITrain> early = ComPtr<IDispatch>(train->Get()).As<IUITrain>();
    Listener listener;
    auto connection = std::make_unique<Connection>(train->Get(), listener);
    listener.acts = [&] {
        connection.reset();
        train.reset();
        IUITrain* last = early.Detach();
        EXPECT_EQ(last->Release(), 1U) << "the call itself holds the object";
        EXPECT_FALSE(server_.CanUnload());
    };
    const Person person({Click(kHistory, u"重做试卷")});
    EXPECT_EQ(early->ShowUI(), S_OK);
    EXPECT_EQ(listener.train_ids.size(), 1U);
    EXPECT_TRUE(server_.CanUnload());
}

// A thread of a host with its own apartment.
void OnThread(const std::function<void()>& body) {
    std::thread([&] {
        CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED);
        body();
        CoUninitialize();
    }).join();
}

TEST_F(WindowTest, OpenOnAnyThread) {
    for (int round = 0; round < 3; ++round) {
        OnThread([this] {
            automation::Object train = History();
            const Person person({Close(kHistory)});
            train.Call(u"ShowUI");
        });
    }
}

TEST_F(WindowTest, AreRefusedWhileAnotherThreadHasOne) {
    automation::Object train = History();
    const auto try_elsewhere = [this] {
        HWND window = FindWindowW(nullptr, ToWide(kHistory).c_str());
        if (window == nullptr || !IsWindowVisible(window)) return false;
        OnThread([this] {
            try {
                History().Call(u"ShowUI");
                ADD_FAILURE() << "two threads have windows";
            } catch (const AutomationError& error) {
                EXPECT_EQ(error.Number(), static_cast<std::int32_t>(0x80040002));
                EXPECT_NE(error.Description().find(u"另一个线程"), std::u16string::npos);
            }
        });
        return true;
    };
    const Person person({try_elsewhere, Close(kHistory)});
    train.Call(u"ShowUI");
}

TEST_F(WindowTest, ShowsAPaperFromTheHistory) {
    automation::Object train = History();
    const Person person({Click(kHistory, u"查看试卷"), Close(kReview, host_), Close(kHistory, host_)});
    train.Call(u"ShowUI");
    EXPECT_TRUE(IsWindowEnabled(host_));
}

TEST_F(WindowTest, ShowsTheNotesTwiceInAProcess) {
    for (int round = 0; round < 2; ++round) {
        automation::Object notes(server_.Create(CLSID_UIManageNotes));
        notes.Set(u"ClientPath", Path());
        notes.Set(u"TotalPath", Path());
        notes.Set(u"DataMdbPath", Path());
        notes.Set(u"UserId", std::int32_t{1});
        notes.Set(u"SubjectCode", std::int32_t{24});
        const Person person({Close(kNotes, host_)});
        notes.Call(u"ShowDlg");
        notes = {};
        EXPECT_TRUE(server_.CanUnload()) << "the toolkit ends, and starts again in the next round";
    }
}

}  // namespace
}  // namespace qmtrain::test
