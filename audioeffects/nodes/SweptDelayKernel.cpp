#include "nodes/SweptDelayKernel.h"

#include <cmath>

namespace ostrana::extensions::audioeffects {

float SweptDelayKernel::readWrapped(const audio::CircularBuffer& line, float position) {
    return line.interpolate(std::fmod(position, static_cast<float>(line.getSize())));
}

}  // namespace ostrana::extensions::audioeffects
