#include "NoteDivision.h"

namespace ostrana::lv2 {

namespace {

constexpr double kDotted = 1.5;
constexpr double kTriplet = 2.0 / 3.0;

constexpr NoteDivision kDivisions[] = {
    {"1/1", 1.0},
    {"1/1 dotted", kDotted},
    {"1/1 triplet", kTriplet},
    {"1/2", 0.5},
    {"1/2 dotted", 0.5 * kDotted},
    {"1/2 triplet", 0.5 * kTriplet},
    {"1/4", 0.25},
    {"1/4 dotted", 0.25 * kDotted},
    {"1/4 triplet", 0.25 * kTriplet},
    {"1/8", 0.125},
    {"1/8 dotted", 0.125 * kDotted},
    {"1/8 triplet", 0.125 * kTriplet},
    {"1/16", 0.0625},
    {"1/16 dotted", 0.0625 * kDotted},
    {"1/16 triplet", 0.0625 * kTriplet},
    {"1/32", 0.03125},
    {"1/32 dotted", 0.03125 * kDotted},
    {"1/32 triplet", 0.03125 * kTriplet},
};

}  // namespace

std::span<const NoteDivision> NoteDivisions::all() {
    return kDivisions;
}

std::size_t NoteDivisions::defaultIndex() {
    return 9;
}

}  // namespace ostrana::lv2
