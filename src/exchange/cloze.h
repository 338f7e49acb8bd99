// Answers inside a stem, as the cloze questions of Moodle have them: "{1:SHORTANSWER:=北京~Beijing}".
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "exchange/html.h"
#include "exchange/question.h"

namespace qmtrain::exchange {

// Reads the stem and its blanks from the HTML of a cloze question. A field becomes the mark of a blank, unless it
// stands in <span class="blank">: then the mark stands in the text already.
void ReadCloze(std::u16string_view html, const PictureFiles& files, Question& question, TextNotes& notes);

// The stem in HTML with a field for each blank: after its mark, or at the end when there are too few marks.
std::u16string WriteCloze(const Question& question, std::vector<PictureFile>* files);

}  // namespace qmtrain::exchange
