// Formatted text as question files have it: HTML in, HTML out. Nothing that it names is fetched or run.
#pragma once

#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "core/value.h"
#include "document/rich_text.h"

namespace qmtrain::exchange {

// Deeper elements are reported and not read: the parsers take time or stack for each level.
inline constexpr int kDeepestElement = 256;
inline constexpr const char16_t* kTooDeep = u"元素嵌套太深。";

// What came of a text, for the user; each line once, a hundred of them at most.
struct TextNotes {
    std::vector<std::u16string> changed;
    std::vector<std::u16string> errors;

    void Changed(std::u16string text);
    void Error(std::u16string text);
};

// The bytes of a picture under the name that a text gives it; nothing when there are none.
using PictureFiles = std::function<std::optional<Bytes>(std::u16string_view name)>;

// Bold, italic, underlined, struck out, super- and subscript, programs in kProgramFont; lists with bullets; the cells
// of tables with tabs between them; PNG, JPEG, BMP and WMF, from data: addresses and "@@PLUGINFILE@@/name"; links as
// text. What has no place is named in `notes`.
document::RichText FromHtml(std::u16string_view html, const PictureFiles& files, TextNotes& notes);

// Whether a text that may be either has tags in it: "a < b" and "#include <stdio.h>" have none.
bool HasTags(std::u16string_view text);

struct PictureFile {
    std::string name;
    Bytes bytes;
};

// FromHtml makes a text of it whose Canonical is that of this one. Pictures are put into `files`, or into the text
// itself when there are none.
std::u16string ToHtml(const document::RichText& text, std::vector<PictureFile>* files = nullptr);

std::u16string EscapedHtml(std::u16string_view text);

}  // namespace qmtrain::exchange
