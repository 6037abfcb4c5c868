#pragma once

#include <vector>

#include <ostrana/sdk/AudioBus.h>
#include <ostrana/sdk/AudioBusFormat.h>
#include <ostrana/sdk/LanguageVersion.h>

namespace ostrana {

// The buses handed to a node's process, one entry per bus; the caller owns the buses.
using AudioBusList = std::vector<AudioBus*>;
// The formats handed to a node's setBusFormats, one entry per bus.
using AudioBusFormatList = std::vector<AudioBusFormat>;

}  // namespace ostrana
