// Notes with the questions they were written on, as a report that is exported and printed.
#pragma once

#include "notes/note_lists.h"
#include "report/report.h"

namespace qmtrain::notes {

// Raises the component's error when the notes cannot be read.
report::Report NotesReport(const NotesSource& source);

}  // namespace qmtrain::notes
