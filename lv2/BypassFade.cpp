#include "BypassFade.h"

#include <algorithm>
#include <cmath>

namespace ostrana::lv2 {

BypassFade::BypassFade(unsigned int sampleRate)
    : length_(std::max<std::uint32_t>(
          1, static_cast<std::uint32_t>(std::lround(kSeconds * sampleRate)))),
      position_(length_),
      target_(length_) {}

void BypassFade::jumpTo(bool processed) {
    target_ = processed ? length_ : 0;
    position_ = target_;
}

}  // namespace ostrana::lv2
