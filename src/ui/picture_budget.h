// How many pixels of pictures are decoded for one text or report, so that a hostile one cannot keep the user waiting.
#pragma once

#include <cstdint>
#include <map>

#include "document/picture.h"
#include "ui/picture_decoder.h"

namespace qmtrain::ui {

class PictureBudget {
public:
    explicit PictureBudget(std::int64_t most_pixels) : most_pixels_(most_pixels) {}

    // Whether the picture, which must outlive the budget, may be decoded: as often as it is drawn, once it has been
    // counted. Not when those before it have used up what there is.
    bool Allows(const document::Picture& picture) {
        const auto [known, is_new] = known_.try_emplace(&picture, false);
        if (!is_new) return known->second;
        const document::PixelSize size = document::SizeInPixels(picture).value_or(document::PixelSize{});
        const std::int64_t pixels = std::int64_t{size.width} * size.height;
        known->second = pixels <= document::kMostPixels && pixels_ + pixels <= most_pixels_;
        if (known->second) pixels_ += pixels;
        return known->second;
    }

    // The pictures are gone.
    void Forget() {
        known_.clear();
        pixels_ = 0;
    }

private:
    std::int64_t most_pixels_;
    std::int64_t pixels_ = 0;
    std::map<const document::Picture*, bool> known_;
};

}  // namespace qmtrain::ui
