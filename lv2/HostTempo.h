#pragma once

#include <lv2/atom/atom.h>
#include <lv2/core/lv2.h>
#include <lv2/urid/urid.h>

namespace ostrana::lv2 {

// The host's tempo, as the time:Position objects on the plug-in's time port carry it. Without
// the host's urid:map feature the plug-in cannot read them, and the tempo stays unknown.
class HostTempo {
  public:
    explicit HostTempo(const LV2_Feature* const* features);

    // Reads every time:Position object of a sequence, keeping the last tempo and beat unit
    // given; whether there was one. Never allocates.
    bool read(const LV2_Atom_Sequence& sequence) noexcept;
    bool known() const { return beatsPerMinute_ > 0.0; }
    double beatsPerMinute() const { return beatsPerMinute_; }
    double beatUnit() const { return beatUnit_; }

  private:
    void readPosition(const LV2_Atom_Object& position) noexcept;
    // A number atom's value, or 0 for any other atom.
    double numberOf(const LV2_Atom* atom) const noexcept;

    bool mapped_ = false;
    LV2_URID atomObject_ = 0;
    LV2_URID atomBlank_ = 0;
    LV2_URID atomFloat_ = 0;
    LV2_URID atomDouble_ = 0;
    LV2_URID atomInt_ = 0;
    LV2_URID atomLong_ = 0;
    LV2_URID timePosition_ = 0;
    LV2_URID timeBeatsPerMinute_ = 0;
    LV2_URID timeBeatUnit_ = 0;
    double beatsPerMinute_ = 0.0;
    double beatUnit_ = 4.0;
};

}  // namespace ostrana::lv2
