#include <ostrana/audioeffects/ChannelGroups.h>

namespace ostrana::extensions::audioeffects {

std::vector<unsigned int> channelGroups(const NodeTypeEntry& entry, unsigned int channels) {
    if (entry.maxChannels == 0 || channels <= entry.maxChannels) return {};
    std::vector<unsigned int> sizes(channels / entry.maxChannels, entry.maxChannels);
    if (channels % entry.maxChannels != 0) sizes.push_back(channels % entry.maxChannels);
    for (unsigned int size : sizes) {
        if (!entry.acceptsChannels(size)) return {};
    }
    return sizes;
}

}  // namespace ostrana::extensions::audioeffects
