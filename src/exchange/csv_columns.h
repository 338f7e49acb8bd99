// The columns of a sheet of questions.
#pragma once

#include <cstdint>
#include <string_view>

namespace qmtrain::exchange {

enum class SheetColumn : std::uint8_t {
    RecNo,
    Type,
    Category,
    Stem,
    Options,  // all of them in one cell, a line for each
    Answer,
    Analysis,
    Difficulty,
    Requirements,
    Keywords,
    FirstOption,  // the next ones follow
};

struct Heading {
    SheetColumn column;
    std::u16string_view chinese;  // as we write it
    std::u16string_view others;   // separated by "|", in small letters
};

inline constexpr Heading kHeadings[] = {
    {SheetColumn::RecNo, u"编号", u"题号|id|number"},
    {SheetColumn::Type, u"题型", u"类型|试题类型|type|question type|kind"},
    {SheetColumn::Category, u"分类", u"知识点|章节|category|topic"},
    {SheetColumn::Stem, u"题干", u"题目|试题|问题|题目内容|stem|question|question text"},
    {SheetColumn::Options, u"选项", u"选择项|备选项|options|choices"},
    {SheetColumn::Answer, u"答案", u"正确答案|标准答案|参考答案|answer|correct answer|key"},
    {SheetColumn::Analysis, u"解析", u"答案解析|说明|analysis|explanation|feedback"},
    {SheetColumn::Difficulty, u"难度", u"difficulty|level"},
    {SheetColumn::Requirements, u"要求", u"评分要求|requirements|grading"},
    {SheetColumn::Keywords, u"要点", u"关键词|评分要点|keywords"},
};

// What a cell begins with that holds HTML.
inline constexpr std::u16string_view kHtmlCell = u"[html]";

}  // namespace qmtrain::exchange
