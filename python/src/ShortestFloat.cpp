#include "ShortestFloat.h"

#include <charconv>
#include <cmath>

namespace ostrana::python {

double ShortestFloat::toDouble(float value) {
    if (!std::isfinite(value)) return static_cast<double>(value);
    char text[64];
    const auto written = std::to_chars(text, text + sizeof text, value);
    double shortest = 0.0;
    std::from_chars(text, written.ptr, shortest);
    return shortest;
}

}  // namespace ostrana::python
