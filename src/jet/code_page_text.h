// Texts of Jet 3: bytes of the file's code page.
#pragma once

#include <string>
#include <string_view>

#include "core/error.h"
#include "jet/bytes.h"
#include "jet/table_definition.h"

namespace qmtrain::jet {

// That of a column's texts.
inline int CodePageOf(const StoredColumn& column, const Header& header) {
    return column.code_page != 0 ? column.code_page : header.code_page;
}

std::u16string FromStored(const ByteView& bytes, int code_page);

// "“龘”（U+9F98）", the first character of the text that the code page lacks; empty when it lacks none.
std::u16string CharacterLackingIn(int code_page, std::u16string_view text);

// Raises `error` when the code page lacks a character: its details are `what` and a sentence that names the character.
std::string ToStored(std::u16string_view text, int code_page, ErrorNumber error, std::u16string_view what);

}  // namespace qmtrain::jet
