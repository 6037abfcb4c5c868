#pragma once

#include <vector>

#include <ostrana/audioeffects/Export.h>
#include <ostrana/audioeffects/NodeTypeEntry.h>

namespace ostrana::extensions::audioeffects {

// How a front end runs a node type on audio of more channels than one node takes: as several
// nodes of the type with the same settings, each on its own group of neighbouring channels, as
// many groups of the type's largest count as fit and then the rest (pairs for the types that
// take two, a lone last channel on its own where the type takes one). Returns the groups'
// channel counts in order; empty when one node takes the channels, or when they cannot be
// split so (the rest is a count the type does not take).
OSTRANA_AUDIOEFFECTS_EXPORT std::vector<unsigned int> channelGroups(const NodeTypeEntry& entry,
                                                                    unsigned int channels);

}  // namespace ostrana::extensions::audioeffects
