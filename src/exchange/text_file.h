// Text files as people have them: in UTF-8, UTF-16 or GBK, with or without a byte order mark.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace qmtrain::exchange {

// The file's bytes. Raises the component's error when it cannot be read or is beyond 512 MB.
std::string ReadBytes(std::u16string_view file);

// The text, with LF for every line end. Raises the component's error, with the line, for bytes that are text in none of
// the encodings.
std::u16string DecodeText(std::string_view bytes);

// The same for a look at the text: what cannot be read is U+FFFD.
std::u16string DecodeLoosely(std::string_view bytes);

// DecodeText in UTF-8. Takes the bytes, and works in them where they are in UTF-8: a large file is not there twice.
std::string DecodeToUtf8(std::string bytes);

// The number of the line, from 1, in which the position lies.
std::size_t LineAt(std::u16string_view text, std::size_t position);

}  // namespace qmtrain::exchange
