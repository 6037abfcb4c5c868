#include <gtest/gtest.h>

#include <ostrana/sdk/SingleBusAudioProcessorNode.h>

using ostrana::AudioBus;
using ostrana::AudioBusFormat;
using ostrana::AudioBusFormatList;
using ostrana::AudioBusList;
using ostrana::SingleBusAudioProcessorNode;

namespace {

// Accepts up to maxChannels and halves every sample; records what reached it.
class HalvingNode : public SingleBusAudioProcessorNode {
  public:
    using SingleBusAudioProcessorNode::process;
    explicit HalvingNode(unsigned maxChannels) : maxChannels(maxChannels) {}

    bool setBusFormat(AudioBusFormat& in, AudioBusFormat& out) override {
        ++formatCalls;
        return AudioBusFormat::matchBusFormats(in, out) && in.numberOfChannels <= maxChannels;
    }
    bool process(AudioBus& in, AudioBus& out) override {
        ++processCalls;
        out.copyFrom(in);
        for (unsigned c = 0; c < in.buffer.getNumberOfChannels(); ++c) {
            for (unsigned f = 0; f < in.buffer.getNumberOfFrames(); ++f) {
                out.buffer.setSample(c, f, in.buffer.getSample(c, f) * 0.5f);
            }
        }
        return true;
    }

    unsigned maxChannels;
    int formatCalls = 0;
    int processCalls = 0;
};

bool offer(HalvingNode& node, unsigned channels) {
    AudioBusFormatList in{AudioBusFormat{channels, 48000, 0}};
    AudioBusFormatList out{AudioBusFormat{}};
    return node.setBusFormats(in, out);
}

}  // namespace

TEST(AudioNode, HasOneInputAndOneOutputAndEmptyHooks) {
    HalvingNode node(2);
    EXPECT_EQ(node.getNumberOfInputs(), 1u);
    EXPECT_EQ(node.getNumberOfOutputs(), 1u);
    node.onGraphStart();
    node.onGraphStop();
    EXPECT_FALSE(node.getDisplayName().empty());
    EXPECT_EQ(node.processCalls, 0);
}

TEST(SingleBusAudioProcessorNode, ForwardsFormatsToTheSingleBusForm) {
    HalvingNode node(2);
    EXPECT_TRUE(offer(node, 2));
    EXPECT_EQ(node.formatCalls, 1);
    EXPECT_TRUE(node.hasAcceptedFormat());
    EXPECT_EQ(node.getAcceptedChannels(), 2u);
    EXPECT_FALSE(offer(node, 3));
    EXPECT_FALSE(node.hasAcceptedFormat());
}

TEST(SingleBusAudioProcessorNode, RefusesFormatListsWithoutExactlyOneBusEach) {
    HalvingNode node(2);
    AudioBusFormatList none;
    AudioBusFormatList one{AudioBusFormat{1, 0, 0}};
    AudioBusFormatList two{AudioBusFormat{1, 0, 0}, AudioBusFormat{1, 0, 0}};
    EXPECT_FALSE(node.setBusFormats(none, one));
    EXPECT_FALSE(node.setBusFormats(two, one));
    EXPECT_FALSE(node.setBusFormats(one, two));
    EXPECT_EQ(node.formatCalls, 0);
}

TEST(SingleBusAudioProcessorNode, ForwardsBlocksToTheSingleBusForm) {
    HalvingNode node(2);
    ASSERT_TRUE(offer(node, 2));
    AudioBus in(2, 4, 48000);
    in.buffer.setSample(1, 2, 0.5f);
    AudioBus out(2, 4);
    AudioBusList ins{&in};
    AudioBusList outs{&out};
    EXPECT_TRUE(node.process(ins, outs));
    EXPECT_EQ(node.processCalls, 1);
    EXPECT_EQ(out.buffer.getSample(1, 2), 0.25f);
}

TEST(SingleBusAudioProcessorNode, RefusesBlocksItDidNotAgreeTo) {
    HalvingNode node(2);
    AudioBus stereo(2, 4, 48000);
    AudioBus mono(1, 4, 48000);
    AudioBus three(3, 4, 48000);
    AudioBus shortOut(2, 2, 48000);
    AudioBusList ins{&stereo};
    AudioBusList outs{&stereo};
    EXPECT_FALSE(node.process(ins, outs)) << "no format accepted yet";

    ASSERT_TRUE(offer(node, 2));
    AudioBusList threeIn{&three};
    AudioBusList stereoOut{&stereo};
    EXPECT_FALSE(node.process(threeIn, stereoOut)) << "more channels than accepted";
    AudioBusList stereoIn{&stereo};
    AudioBusList monoOut{&mono};
    EXPECT_FALSE(node.process(stereoIn, monoOut)) << "output has too few channels";
    AudioBusList shortOuts{&shortOut};
    EXPECT_FALSE(node.process(stereoIn, shortOuts)) << "output has too few frames";
    AudioBusList empty;
    EXPECT_FALSE(node.process(empty, stereoOut));
    AudioBusList nullIn{nullptr};
    EXPECT_FALSE(node.process(nullIn, stereoOut));
    EXPECT_EQ(node.processCalls, 0);

    AudioBusList monoIn{&mono};
    EXPECT_TRUE(node.process(monoIn, stereoOut)) << "fewer channels than accepted";
    EXPECT_EQ(node.processCalls, 1);
}
