// Where the score chart's bars, points and lines go. Measures are pixels.
#pragma once

#include <cstddef>
#include <optional>

namespace qmtrain::review {

struct PlotArea {
    double left = 0;
    double top = 0;
    double width = 0;
    double height = 0;
};

// `count` trainings side by side over an axis from 0 to 100 percent.
class ChartGeometry {
public:
    ChartGeometry(PlotArea area, std::size_t count) : area_(area), count_(count) {}

    const PlotArea& Area() const { return area_; }

    // The middle of a training's band.
    double X(double place) const { return area_.left + (place + 0.5) * Band(); }
    double Y(double percent) const { return area_.top + area_.height * (1 - percent / 100); }

    // At least a pixel, so that hundreds of bars stay visible; at most `widest`.
    double BarWidth(double widest) const;

    // Every how many trainings one may be labelled, so that labels of that width do not touch.
    std::size_t LabelStep(double label_width) const;

    // The training whose band holds the place.
    std::optional<std::size_t> At(double x) const;

private:
    double Band() const { return count_ == 0 ? area_.width : area_.width / static_cast<double>(count_); }

    PlotArea area_;
    std::size_t count_;
};

}  // namespace qmtrain::review
