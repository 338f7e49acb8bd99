#include "notes/note_editing.h"

namespace qmtrain::notes {

void NoteEditing::EndEditing() {
    modifying_ = false;
    changed_ = false;
    save_failed_ = false;
    text_locked_ = true;
    name_shown_ = false;
}

void NoteEditing::ListShown() {
    EndEditing();
    modify_enabled_ = false;
    delete_enabled_ = false;
}

void NoteEditing::NoteShown() {
    EndEditing();
    modify_enabled_ = true;
    delete_enabled_ = true;
}

void NoteEditing::Modify() {
    changed_ = false;
    save_enabled_ = false;
    modify_enabled_ = false;
    modifying_ = true;
    text_locked_ = false;
    name_shown_ = true;
}

// "Modify" stays as it was: the note must be selected anew.
void NoteEditing::Save() {
    save_enabled_ = false;
    EndEditing();
}

bool NoteEditing::Typed() {
    if (!modifying_) return false;
    changed_ = true;
    save_enabled_ = true;
    return true;
}

bool NoteEditing::Leave() {
    const bool ask = modifying_ && changed_;
    modifying_ = false;
    changed_ = false;
    return ask;
}

void NoteEditing::Deleted() {
    save_enabled_ = false;
    EndEditing();
}

}  // namespace qmtrain::notes
