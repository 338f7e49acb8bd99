#include "output.h"

#include <algorithm>
#include <stdexcept>

#include "core/text.h"

namespace qmtrain::jetsql {

char* Output::Room(std::size_t most) {
    if (text_.size() - size_ < most) text_.resize(std::max(2 * text_.size(), size_ + most));
    return text_.data() + size_;
}

void Output::Append(std::string_view text) {
    Took(std::copy(text.begin(), text.end(), Room(text.size())));
}

void Output::AppendLine(std::u16string_view line) {
    Append(ToUtf8(line));
    Append("\n");
    Breathe();
}

void Output::Flush() {
    const bool written = std::fwrite(text_.data(), 1, size_, file_) == size_;
    size_ = 0;
    if (!written || std::fflush(file_) != 0) throw std::runtime_error("cannot write the output");
}

}  // namespace qmtrain::jetsql
