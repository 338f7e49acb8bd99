// The least size of the paper review window. Measures are twips.
#pragma once

namespace qmtrain::review {

struct FormSize {
    int width = 0;
    int height = 0;
    bool operator==(const FormSize&) const = default;
};

// What a size asked for becomes: not narrower than 9600. The height is compared with 7000 for being just that, which
// leaves it as it is.
constexpr FormSize AllowedSize(FormSize wanted) {
    constexpr int kLeastWidth = 9600;
    constexpr int kComparedHeight = 7000;
    if (wanted.width <= kLeastWidth) wanted.width = kLeastWidth;
    if (wanted.height == kComparedHeight) wanted.height = kComparedHeight;
    return wanted;
}

}  // namespace qmtrain::review
