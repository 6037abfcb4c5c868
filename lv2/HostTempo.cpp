#include "HostTempo.h"

#include <lv2/atom/util.h>
#include <lv2/time/time.h>

#include <cmath>
#include <cstring>

namespace ostrana::lv2 {

namespace {

const LV2_URID_Map* findMap(const LV2_Feature* const* features) {
    for (; features != nullptr && *features != nullptr; ++features) {
        if (std::strcmp((*features)->URI, LV2_URID__map) == 0) {
            return static_cast<const LV2_URID_Map*>((*features)->data);
        }
    }
    return nullptr;
}

}  // namespace

HostTempo::HostTempo(const LV2_Feature* const* features) {
    const LV2_URID_Map* map = findMap(features);
    if (map == nullptr) return;
    const auto urid = [map](const char* uri) { return map->map(map->handle, uri); };
    atomObject_ = urid(LV2_ATOM__Object);
    atomBlank_ = urid(LV2_ATOM__Blank);
    atomFloat_ = urid(LV2_ATOM__Float);
    atomDouble_ = urid(LV2_ATOM__Double);
    atomInt_ = urid(LV2_ATOM__Int);
    atomLong_ = urid(LV2_ATOM__Long);
    timePosition_ = urid(LV2_TIME__Position);
    timeBeatsPerMinute_ = urid(LV2_TIME__beatsPerMinute);
    timeBeatUnit_ = urid(LV2_TIME__beatUnit);
    mapped_ = true;
}

bool HostTempo::read(const LV2_Atom_Sequence& sequence) noexcept {
    if (!mapped_) return false;
    bool positioned = false;
    LV2_ATOM_SEQUENCE_FOREACH(&sequence, event) {
        const LV2_Atom& atom = event->body;
        if (atom.type != atomObject_ && atom.type != atomBlank_) continue;
        const auto& object = reinterpret_cast<const LV2_Atom_Object&>(atom);
        if (object.body.otype != timePosition_) continue;
        readPosition(object);
        positioned = true;
    }
    return positioned;
}

void HostTempo::readPosition(const LV2_Atom_Object& position) noexcept {
    const LV2_Atom* tempo = nullptr;
    const LV2_Atom* unit = nullptr;
    lv2_atom_object_get(&position, timeBeatsPerMinute_, &tempo, timeBeatUnit_, &unit, 0);
    const double beatsPerMinute = numberOf(tempo);
    if (std::isfinite(beatsPerMinute) && beatsPerMinute > 0.0) beatsPerMinute_ = beatsPerMinute;
    const double beatUnit = numberOf(unit);
    if (std::isfinite(beatUnit) && beatUnit >= 1.0) beatUnit_ = beatUnit;
}

double HostTempo::numberOf(const LV2_Atom* atom) const noexcept {
    if (atom == nullptr) return 0.0;
    if (atom->type == atomFloat_) return reinterpret_cast<const LV2_Atom_Float*>(atom)->body;
    if (atom->type == atomDouble_) return reinterpret_cast<const LV2_Atom_Double*>(atom)->body;
    if (atom->type == atomInt_) return reinterpret_cast<const LV2_Atom_Int*>(atom)->body;
    if (atom->type == atomLong_) {
        return static_cast<double>(reinterpret_cast<const LV2_Atom_Long*>(atom)->body);
    }
    return 0.0;
}

}  // namespace ostrana::lv2
