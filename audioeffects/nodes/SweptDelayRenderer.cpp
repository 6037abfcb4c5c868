#include "nodes/SweptDelayRenderer.h"

#include <ostrana/audio/LaneChoice.h>

namespace ostrana::extensions::audioeffects {

SweptDelayRenderer::Lanes SweptDelayRenderer::lanesInUse() {
    using audio::LaneChoice;
    const bool eight = LaneChoice::limit() >= 8 && LaneChoice::widestOnThisProcessor() >= 8;
    return eight ? Lanes::kEight : Lanes::kFour;
}

}  // namespace ostrana::extensions::audioeffects
