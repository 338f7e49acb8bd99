#include "review/chart_geometry.h"

#include <algorithm>
#include <cmath>

namespace qmtrain::review {
namespace {

constexpr double kBarShare = 0.6;  // of a band

}  // namespace

double ChartGeometry::BarWidth(double widest) const {
    return std::clamp(Band() * kBarShare, 1.0, std::max(1.0, widest));
}

std::size_t ChartGeometry::LabelStep(double label_width) const {
    return std::max<std::size_t>(1, static_cast<std::size_t>(std::ceil(label_width / std::max(Band(), 1e-6))));
}

std::optional<std::size_t> ChartGeometry::At(double x) const {
    if (count_ == 0 || x < area_.left || x >= area_.left + area_.width) return std::nullopt;
    return std::min(count_ - 1, static_cast<std::size_t>((x - area_.left) / Band()));
}

}  // namespace qmtrain::review
