// A \pict group while it is read.
#pragma once

#include <optional>
#include <string_view>

#include "document/picture.h"

namespace qmtrain::document {

// How large pictures can be, and how far text can be moved: 22 inches.
constexpr int kMostTwips = 31680;

class RtfPicture {
public:
    struct Size {
        int raw = 0;      // \picw: pixels, hundredths of a millimetre in metafiles
        int goal = 0;     // \picwgoal: twips
        int scale = 100;  // \picscalex: percent
    };

    std::optional<Picture::Kind> kind;  // none: not one that we know
    Size width;
    Size height;

    void AddHex(std::u16string_view digits);
    void AddBinary(std::u16string_view bytes);

    // The picture, with a size in any case; nothing when its kind is unknown or its data missing. A metafile that draws
    // a bitmap becomes that bitmap.
    std::optional<Picture> Take();

private:
    Bytes bytes_;
    int high_digit_ = -1;
};

}  // namespace qmtrain::document
