// Questions of every kind and shape, from a seed.
#pragma once

#include <random>
#include <vector>

#include "exchange/checks.h"
#include "shown.h"

namespace qmtrain::exchange {

class RandomQuestions {
public:
    explicit RandomQuestions(unsigned seed) : random_(seed) {}

    // What a format cannot hold is left out: `several_blanks`, and `more` than stem, options, answer and analysis.
    std::vector<Question> Make(int count, bool several_blanks, bool more) {
        std::vector<Question> questions;
        for (int i = 0; i < count; ++i) questions.push_back(One(several_blanks, more));
        return questions;
    }

private:
    int Number(int least, int most) { return std::uniform_int_distribution<int>(least, most)(random_); }

    std::u16string Word() {
        static constexpr const char16_t* kWords[] = {
            u"栈",          u"队列是",
            u"a<b && c>d",  u"%d\\n",
            u"{x: 1}",      u"~=#:",
            u"“引号”\"'",   u"#include <stdio.h>",
            u"线性表",      u"^p",
            u"，",          u"->",
            u"100%",        u"[html]",
            u"A. 甲",       u"C:\\dir\\name",
            u"𠮷",          u"&amp;",
            u"]]>",         u"<b>x</b>",
            u"//",          u"$CATEGORY: x",
            u"::",          u"a;b,c\td",
            u"T",           u"\u200B零",
            u"é",           u"【x】",
            u"**",          u"*",
            u"  两格",      u"{1:SA:=x}",
            u"=SUM(A1:B2)", u"'@a",
            u"-1+2",        u"''+3",
            u"a ->  b",     u"[x]  y",
            u"f( ) 和",     u"（　）",
            u"a__b__",      u"\"引\"号",
        };
        return kWords[Number(0, std::size(kWords) - 1)];
    }

    document::CharacterFormat RandomFormat() {
        document::CharacterFormat format;
        if (Number(0, 2) != 0) return format;
        format.bold = Number(0, 2) == 0;
        format.italic = Number(0, 3) == 0;
        format.underline = Number(0, 4) == 0;
        format.strike_out = Number(0, 6) == 0;
        if (Number(0, 4) == 0)
            format.script = Number(0, 1) == 0 ? document::Script::Superscript : document::Script::Subscript;
        if (Number(0, 4) == 0) format.font = kProgramFont;
        return format;
    }

    document::RichText Text() {
        const bool plain = Number(0, 1) == 0;
        document::RichText text;
        for (int line = Number(1, 3); line > 0; --line) {
            document::ParagraphFormat paragraph;
            static constexpr const char16_t* kBullets[] = {u"•", u"1.", u"2.", u"c.", u"iv.", u"v.", u"1)", u"◆"};
            if (!plain && Number(0, 2) == 0) {
                paragraph.bullet = kBullets[Number(0, std::size(kBullets) - 1)];
                paragraph.left_indent = 360 * Number(1, 3);
            }
            text.SetParagraphFormat(paragraph);
            for (int run = Number(1, 3); run > 0; --run) {
                text.AppendText(Word(), plain ? document::CharacterFormat{} : RandomFormat());
                if (!plain && Number(0, 9) == 0) {
                    text.AppendPicture(
                        {document::Picture::Kind::Png, DotBytes(), 15 * Number(1, 90), 15 * Number(1, 90)});
                }
            }
            if (line > 1) text.EndParagraph();
        }
        text = Canonical(text);
        if (IsEmpty(text)) text.AppendText(u"空");
        return text;
    }

    std::u16string Answer() {
        std::u16string answer = Word() + Word();
        std::erase_if(answer, [](char16_t unit) { return unit == u'@' || unit == u'#' || unit == u'\t'; });
        answer = Typed(answer);
        return answer.empty() ? u"答" : answer;
    }

    Question One(bool several_blanks, bool more) {
        Question question;
        question.kind = static_cast<QuestionKind>(Number(0, 4));
        question.stem = Text();
        if (Number(0, 2) == 0) question.analysis = Text();
        static constexpr const char16_t* kCategories[] = {
            u"数据结构/A", u"top/B", u"$x$", u"$course$/top/C", u"I／O", u"／/／x", u"//", u"a/top", u"top"};
        if (Number(0, 2) == 0)
            question.category = CanonicalCategory(kCategories[Number(0, std::size(kCategories) - 1)]);
        if (more && Number(0, 1) == 0) question.difficulty = Number(1, 3);
        switch (question.kind) {
            case QuestionKind::Single:
            case QuestionKind::Multiple:
                for (int i = Number(2, 6); i > 0; --i)
                    question.options.push_back({Text(), question.kind == QuestionKind::Multiple && Number(0, 1) == 0});
                question.options[Number(0, static_cast<int>(question.options.size()) - 1)].right = true;
                break;
            case QuestionKind::YesNo: question.is_true = Number(0, 1) == 0; break;
            case QuestionKind::Fill:
                for (int i = several_blanks ? Number(1, 3) : 1; i > 0; --i) {
                    Blank blank = {Answer()};
                    if (Number(0, 1) == 0) {
                        if (std::u16string other = Answer(); other != blank[0]) blank.push_back(std::move(other));
                    }
                    question.blanks.push_back(std::move(blank));
                }
                // Sometimes with none, or not so many.
                for (std::size_t i = 0; Number(0, 3) != 0 && i < question.blanks.size(); ++i)
                    question.stem.AppendText(u"，" + BlankText(i + 1));
                break;
            case QuestionKind::Operation:
                if (more) question.requirements = u"要求" + Answer();
                if (more && Number(0, 1) == 0) question.keywords = u"要点#" + Answer();
                break;
            case QuestionKind::Unknown: break;
        }
        return question;
    }

    std::mt19937 random_;
};

}  // namespace qmtrain::exchange
