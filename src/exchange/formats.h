// Files of questions in the formats of other programs.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "exchange/question.h"

namespace qmtrain::exchange {

enum class QuestionFormat : std::uint8_t { Gift, Aiken, MoodleXml, Csv };

std::u16string_view NameOf(QuestionFormat format);
std::optional<QuestionFormat> FormatCalled(std::u16string_view name);  // "gift", "aiken", "xml", "csv"

// By the ending of the name, then by the content, in whatever encoding. Raises the component's error, with what the
// file seems to be, when it is none of them.
QuestionFormat DetectFormat(std::u16string_view file_name, std::string_view bytes);

// Whether the text begins with the headings of a sheet of questions.
bool IsSheet(std::u16string_view text);

// Every reader takes any bytes: what cannot be read is named in the notices, and so is a file without questions. Raise
// the component's error when nothing of it can be read, Cancelled when `progress` says so.
Import ReadQuestions(std::string bytes, QuestionFormat format, const Progress& progress = {});
Import ReadGift(std::u16string_view text, const Progress& progress = {});
Import ReadAiken(std::u16string_view text, const Progress& progress = {});
Import ReadCsv(std::u16string_view text, const Progress& progress = {});
Import ReadMoodleXml(std::string bytes, const Progress& progress = {});

// The format is given, or found out.
Import ReadFile(std::u16string_view file, std::optional<QuestionFormat> format = {}, const Progress& progress = {});

// In UTF-8. What the format has no place for is reported in `notices`. Reading the result gives the same questions,
// without that. Aiken is not written: it holds too little. Requires: any other format.
std::string WriteQuestions(std::span<const Question> questions, QuestionFormat format, std::vector<Notice>& notices,
                           const Progress& progress = {});
// "18 题", "18 题，另有 2 题没有导出": what came of so many questions, by the writer's notices.
std::u16string WrittenSummary(std::size_t questions, std::span<const Notice> notices);
std::string WriteGift(std::span<const Question> questions, std::vector<Notice>& notices, const Progress& progress = {});
std::string WriteCsv(std::span<const Question> questions, std::vector<Notice>& notices, const Progress& progress = {});
std::string WriteMoodleXml(std::span<const Question> questions, std::vector<Notice>& notices,
                           const Progress& progress = {});

// A sheet with the headings and a question of each kind, to be filled in.
std::string CsvTemplate();

}  // namespace qmtrain::exchange
