// One main window for a data folder: who opens it again sees the one that is open.
#pragma once

#include <memory>
#include <string_view>

class wxWindow;

namespace qmtrain::host {

class SingleInstance {
public:
    // Claims the folder until the object's end, unless another program of the same user has it.
    explicit SingleInstance(std::u16string_view folder);
    SingleInstance(const SingleInstance&) = delete;
    SingleInstance& operator=(const SingleInstance&) = delete;
    ~SingleInstance();

    bool IsFirst() const;

    // Brings the window of the one that has the folder to the front, waiting for it when it is just opening. False when
    // it does not answer. Requires: !IsFirst().
    bool ShowFirst() const;

    // This window, or the one that is open on top of it, is what others bring to the front from now on.
    // Requires: IsFirst().
    void Serve(wxWindow& window);

private:
    struct Claim;
    std::unique_ptr<Claim> claim_;
};

}  // namespace qmtrain::host
