// The structures of empty question banks and of their catalogue.
#pragma once

#include <string_view>

#include "dao/new_database.h"

namespace qmtrain {

// Each makes a database, empty but for what `fill` puts in. Raises DatabaseExists when the file is there, and leaves
// nothing behind when anything fails.

// Total.mdb in the folder: the catalogue of the stand-alone edition.
void CreateCatalogue(std::u16string_view folder, const dao::DatabaseFill& fill = {},
                     const jet::NewDatabase& settings = {});

// A bank of the stand-alone edition: the table directory and the five kinds of questions.
void CreateQuestionBank(std::u16string_view file, const dao::DatabaseFill& fill = {},
                        const jet::NewDatabase& settings = {});

// The local paper database of the network edition: a bank and a catalogue in one.
void CreateLocalPaperDatabase(std::u16string_view file, const dao::DatabaseFill& fill = {},
                              const jet::NewDatabase& settings = {});

// Adds what the component itself does not read, where it is missing: explanations (M_Analysis), categories (C_Category)
// and difficulties (I_Difficulty) of all questions, and keywords by which operation questions are marked (M_Keywords).
// Requires: the tables of one of the databases above.
void AddTeachingColumns(dao::Database& database);

}  // namespace qmtrain
