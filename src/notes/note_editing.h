// What can be pressed and typed in the notes manager, as clicks and keys change it.
#pragma once

namespace qmtrain::notes {

class NoteEditing {
public:
    // The root or a bank was selected; a note was.
    void ListShown();
    void NoteShown();

    // It could not be loaded: what the pane shows is another note's, which must not be saved under this one.
    void NoteNotLoaded() { modify_enabled_ = false; }

    // The tool bar's buttons.
    void Modify();
    void Save();

    // A key in the note or its name; false when nothing came of it.
    bool Typed();

    // Another node is about to be selected: whether the changes are to be asked for. They are given up then, unless the
    // answer is to save them.
    bool Leave();
    void SavedOnLeaving() { save_enabled_ = false; }

    // What was typed could not be saved, so that it can be changed and saved again.
    void SaveFailed() {
        modify_enabled_ = true;
        save_failed_ = true;
    }

    // Whether closing the window would drop what was typed into the note.
    bool Unsaved() const { return save_failed_ || (modifying_ && changed_); }

    // The note has been deleted and another node takes its place.
    void Deleted();

    bool ModifyEnabled() const { return modify_enabled_; }
    bool SaveEnabled() const { return save_enabled_; }
    bool DeleteEnabled() const { return delete_enabled_; }
    bool TextLocked() const { return text_locked_; }
    bool NameShown() const { return name_shown_; }

private:
    void EndEditing();

    bool modify_enabled_ = false;
    bool save_enabled_ = false;
    bool delete_enabled_ = false;
    bool text_locked_ = true;
    bool name_shown_ = false;
    bool modifying_ = false;
    bool changed_ = false;
    bool save_failed_ = false;
};

}  // namespace qmtrain::notes
