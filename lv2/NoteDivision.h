#pragma once

#include <cstddef>
#include <span>
#include <string_view>

namespace ostrana::lv2 {

// A note value a tempo-synced delay can follow: its label and its length in whole notes.
struct NoteDivision {
    std::string_view label;
    double wholeNotes;

    // Its length in seconds at a tempo of beatsPerMinute beats of 1/beatUnit note each.
    double seconds(double beatsPerMinute, double beatUnit) const {
        return wholeNotes * beatUnit * 60.0 / beatsPerMinute;
    }
};

// The divisions of the delays' division port, by its value: 1/1 to 1/32, each straight, dotted
// and as a triplet.
class NoteDivisions {
  public:
    static std::span<const NoteDivision> all();
    // The port's default: 1/8.
    static std::size_t defaultIndex();
};

}  // namespace ostrana::lv2
