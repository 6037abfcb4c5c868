#include "nodes/SweptDelayRenderer.h"

#include <ostrana/audio/LaneChoice.h>

namespace ostrana::extensions::audioeffects {

SweptDelayRenderer::Lanes SweptDelayRenderer::lanesInUse() {
    const unsigned int lanes = audio::LaneChoice::inUse();
    if (lanes >= 16) return Lanes::kSixteen;
    return lanes >= 8 ? Lanes::kEight : Lanes::kFour;
}

}  // namespace ostrana::extensions::audioeffects
