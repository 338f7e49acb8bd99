// What can be pressed and typed in the notes manager, as clicks and keys change it.
#pragma once

#include <cstdint>

namespace qmtrain::notes {

class NoteEditing {
public:
    // The root or a bank was selected; a note was.
    void ListShown() { state_ = State::List; }
    void NoteShown() { state_ = State::Shown; }

    // It could not be loaded: what the pane shows is another note's, which must not be saved under this one.
    void NoteNotLoaded() { state_ = State::NotEditable; }

    // The tool bar's buttons.
    void Modify();
    void Save();

    // A key in the note or its name; false when nothing came of it.
    bool Typed();

    // Another node is about to be selected: whether the user is to be asked about the changes. They are discarded then,
    // unless the answer is to save them.
    bool Leave();
    void SavedOnLeaving() { save_enabled_ = false; }

    // What was typed could not be saved, so that it can be changed and saved again.
    void SaveFailed() { state_ = State::SaveFailed; }

    // Whether closing the window would drop what was typed into the note.
    bool Unsaved() const {
        return state_ == State::SaveFailed || state_ == State::Changed || state_ == State::ModifyingUnsaved;
    }

    // The note has been deleted and another node takes its place.
    void Deleted() { Save(); }

    bool ModifyEnabled() const { return state_ == State::Shown || state_ == State::SaveFailed; }
    bool SaveEnabled() const { return save_enabled_; }
    bool DeleteEnabled() const { return state_ != State::List; }
    bool TextLocked() const { return !IsModifying(); }
    bool NameShown() const { return IsModifying(); }

private:
    enum class State : std::uint8_t {
        List,
        Shown,
        NotEditable,  // it was not loaded, or it was saved: it must be selected anew
        Modifying,
        Changed,
        SaveFailed,
        ModifyingUnsaved,  // "Modify" after a failed save: what was typed before is still there
    };
    bool IsModifying() const {
        return state_ == State::Modifying || state_ == State::Changed || state_ == State::ModifyingUnsaved;
    }

    State state_ = State::List;
    bool save_enabled_ = false;  // stays on where a changed note is left without saving
};

}  // namespace qmtrain::notes
