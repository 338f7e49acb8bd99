#include "jet/kept_journal.h"

#include <array>
#include <utility>

#include "core/error.h"
#include "jet/journal_format.h"

namespace qmtrain::jet {

void KeptJournal::Keep(std::unique_ptr<File> file, bool writable, bool named) {
    file_ = std::move(file);
    writable_ = writable;
    named_ = named;
}

bool KeptJournal::IsEnded() {
    if (!file_) return false;
    if (file_->IsAt(path_)) {
        std::array<std::uint8_t, 1> first = journal::kVoid;  // and so is one that was not begun
        file_->ReadAt(0, first);
        if (first == journal::kVoid) return true;
    }
    file_.reset();
    return false;
}

std::unique_ptr<File> KeptJournal::Take() {
    std::unique_ptr<File> known = std::move(file_);
    if (!known || !known->IsAt(path_)) return nullptr;
    if (writable_) return known;
    try {
        std::unique_ptr<File> file = system_.OpenPlain(path_, OpenMode::ReadWrite);
        if (file->IsAt(path_) && known->IsAt(path_)) return file;
    } catch (const AutomationError&) {
        // It is another account's.
    }
    return nullptr;
}

void KeptJournal::Remove() {
    if (IsEnded()) system_.Remove(path_);
    file_.reset();
}

}  // namespace qmtrain::jet
