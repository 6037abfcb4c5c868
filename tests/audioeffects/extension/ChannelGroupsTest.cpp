#include <gtest/gtest.h>

#include <stdexcept>
#include <vector>

#include <ostrana/audioeffects/ChannelGroups.h>
#include <ostrana/audioeffects/EffectCatalogue.h>

using namespace ostrana::extensions::audioeffects;

namespace {

const NodeTypeEntry& entryOf(const char* shortName) {
    const NodeTypeEntry* entry = EffectCatalogue::find(shortName);
    if (entry == nullptr) throw std::invalid_argument(shortName);
    return *entry;
}

}  // namespace

TEST(ChannelGroupsTest, ChannelsOneNodeTakesNeedNoGroups) {
    EXPECT_TRUE(channelGroups(entryOf("delay"), 1).empty());
    EXPECT_TRUE(channelGroups(entryOf("delay"), 2).empty());
}

TEST(ChannelGroupsTest, MoreChannelsRunAsPairsAndALoneLastChannel) {
    EXPECT_EQ(channelGroups(entryOf("chorus"), 3), (std::vector<unsigned int>{2, 1}));
    EXPECT_EQ(channelGroups(entryOf("delay"), 6), (std::vector<unsigned int>{2, 2, 2}));
    EXPECT_EQ(channelGroups(entryOf("flanger"), 7), (std::vector<unsigned int>{2, 2, 2, 1}));
}

TEST(ChannelGroupsTest, ATypeOfExactlyTwoCannotTakeALoneChannel) {
    EXPECT_EQ(channelGroups(entryOf("ping-pong-delay"), 4), (std::vector<unsigned int>{2, 2}));
    EXPECT_TRUE(channelGroups(entryOf("ping-pong-delay"), 5).empty());
    EXPECT_TRUE(channelGroups(entryOf("ping-pong-delay"), 1).empty());
}
