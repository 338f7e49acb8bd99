// The automation classes of notes.
#pragma once

#include "notes/note.h"
#include "notes/ui_manage_notes.h"
#include "server/class.h"

namespace qmtrain::server {

template <>
const Class& ClassOf<Note>();
template <>
const Class& ClassOf<UIManageNotes>();

}  // namespace qmtrain::server
