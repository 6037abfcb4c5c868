#include "nodes/SweptDelayRenderer.h"

#include <ostrana/audio/LaneChoice.h>

namespace ostrana::extensions::audioeffects {

SweptDelayRenderer::Lanes SweptDelayRenderer::lanesInUse() {
    return audio::LaneChoice::inUse() >= 8 ? Lanes::kEight : Lanes::kFour;
}

}  // namespace ostrana::extensions::audioeffects
