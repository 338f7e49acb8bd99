// The claim is a socket whose name, of the kind that stands in no folder, ends with its process.
#include <cerrno>
#include <chrono>
#include <cstddef>
#include <functional>
#include <string>

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>
#include <wx/evtloop.h>
#include <wx/evtloopsrc.h>
#include <wx/toplevel.h>
#include <wx/weakref.h>

#include "core/files.h"
#include "host/app/single_instance.h"

namespace qmtrain::host {
namespace {

constexpr auto kPatience = std::chrono::seconds(30);  // for a program that is just starting, on a machine that is busy
constexpr char kShown = '.';

class Socket {
public:
    explicit Socket(int number) : number_(number) {}
    Socket(const Socket&) = delete;
    Socket& operator=(const Socket&) = delete;
    ~Socket() {
        if (number_ >= 0) close(number_);
    }
    int Number() const { return number_; }

private:
    int number_;
};

struct Address {
    sockaddr_un name{};
    socklen_t length = 0;
    const sockaddr* Get() const { return reinterpret_cast<const sockaddr*>(&name); }
};

// Of one user and one folder, whatever way leads to it.
Address AddressOf(std::u16string_view folder) {
    const std::string real = absolute(FileSystem::Native().RealPath(ToNativePath(folder))).string();
    const std::string text =
        "qmtrain-" + std::to_string(getuid()) + "-" + std::to_string(std::hash<std::string>()(real));
    Address address;
    address.name.sun_family = AF_UNIX;
    text.copy(address.name.sun_path + 1, sizeof address.name.sun_path - 1);  // the zero before it keeps it off the disk
    address.length = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + 1 + text.size());
    return address;
}

bool IsOwn(int connection) {
    ucred other{};
    socklen_t length = sizeof other;
    return getsockopt(connection, SOL_SOCKET, SO_PEERCRED, &other, &length) == 0 && other.uid == getuid();
}

// The window opened last.
void BringToFront(wxWindow& window) {
    wxWindow* top = &window;
    for (wxWindow* one : wxTopLevelWindows) {
        if (one->IsShown()) top = one;
    }
    auto* frame = wxDynamicCast(top, wxTopLevelWindow);
    if (frame == nullptr) return;
    if (frame->IsIconized()) frame->Restore();
    frame->Raise();
    frame->RequestUserAttention(wxUSER_ATTENTION_INFO);
}

}  // namespace

struct SingleInstance::Claim : wxEventLoopSourceHandler {
    explicit Claim(std::u16string_view folder) : address(AddressOf(folder)) {}

    void OnReadWaiting() override {
        const Socket connection(accept4(listener.Number(), nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK));
        if (connection.Number() < 0 || !IsOwn(connection.Number())) return;
        if (!window) return;
        BringToFront(*window);
        send(connection.Number(), &kShown, 1, MSG_NOSIGNAL);
    }
    void OnWriteWaiting() override {}
    void OnExceptionWaiting() override {}

    Address address;
    Socket listener{socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0)};
    bool first = false;
    wxWeakRef<wxWindow> window;
    std::unique_ptr<wxEventLoopSource> source;
};

SingleInstance::SingleInstance(std::u16string_view folder) : claim_(std::make_unique<Claim>(folder)) {
    const int listener = claim_->listener.Number();
    constexpr int kWaiting = 8;
    claim_->first = bind(listener, claim_->address.Get(), claim_->address.length) != 0
                        ? errno != EADDRINUSE
                        : listen(listener, kWaiting) == 0;
}

SingleInstance::~SingleInstance() = default;

bool SingleInstance::IsFirst() const {
    return claim_->first;
}

bool SingleInstance::ShowFirst() const {
    const Socket connection(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
    timeval patience{};
    patience.tv_sec = std::chrono::seconds(kPatience).count();
    setsockopt(connection.Number(), SOL_SOCKET, SO_RCVTIMEO, &patience, sizeof patience);
    char answer = 0;
    return connect(connection.Number(), claim_->address.Get(), claim_->address.length) == 0 &&
           IsOwn(connection.Number()) && recv(connection.Number(), &answer, 1, 0) == 1 && answer == kShown;
}

void SingleInstance::Serve(wxWindow& window) {
    claim_->window = &window;
    claim_->source.reset(
        wxEventLoopBase::AddSourceForFD(claim_->listener.Number(), claim_.get(), wxEVENT_SOURCE_INPUT));
}

}  // namespace qmtrain::host
