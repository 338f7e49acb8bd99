// The structures of empty question banks and of their catalogue.
#pragma once

#include <string_view>

namespace qmtrain {

// Each makes an empty database. Raises DatabaseExists when the file is there, and leaves nothing behind when anything
// fails.

// Total.mdb in the folder: the catalogue of the stand-alone edition.
void CreateCatalogue(std::u16string_view folder);

// A bank of the stand-alone edition: the table directory and the five kinds of questions.
void CreateQuestionBank(std::u16string_view file);

// The local paper database of the network edition: a bank and a catalogue in one.
void CreateLocalPaperDatabase(std::u16string_view file);

}  // namespace qmtrain
