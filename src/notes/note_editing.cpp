#include "notes/note_editing.h"

namespace qmtrain::notes {

void NoteEditing::Modify() {
    save_enabled_ = false;
    state_ = state_ == State::SaveFailed ? State::ModifyingUnsaved : State::Modifying;
}

void NoteEditing::Save() {
    save_enabled_ = false;
    if (IsModifying()) state_ = State::NotEditable;
    if (state_ == State::SaveFailed) state_ = State::Shown;
}

bool NoteEditing::Typed() {
    if (!IsModifying()) return false;
    state_ = State::Changed;
    save_enabled_ = true;
    return true;
}

bool NoteEditing::Leave() {
    if (state_ != State::Changed) return false;
    state_ = State::Modifying;
    return true;
}

}  // namespace qmtrain::notes
