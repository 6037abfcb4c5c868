#include <gtest/gtest.h>

#include <ostrana/sdk/AudioBus.h>
#include <ostrana/sdk/AudioBusFormat.h>

using ostrana::AudioBuffer;
using ostrana::AudioBus;
using ostrana::AudioBusFormat;

namespace {

void fillRamp(AudioBus& bus, float start) {
    for (unsigned c = 0; c < bus.buffer.getNumberOfChannels(); ++c) {
        for (unsigned f = 0; f < bus.buffer.getNumberOfFrames(); ++f) {
            bus.buffer.setSample(c, f, start + static_cast<float>(c * 1000 + f));
        }
    }
}

}  // namespace

TEST(AudioBuffer, AddressesSamplesByChannelAndFrame) {
    AudioBuffer<float> buffer(2, 4, 48000);
    EXPECT_EQ(buffer.getNumberOfChannels(), 2u);
    EXPECT_EQ(buffer.getNumberOfFrames(), 4u);
    EXPECT_EQ(buffer.getSampleRate(), 48000u);
    EXPECT_EQ(buffer.getSample(1, 3), 0.0f);
    buffer.setSample(1, 3, 0.25f);
    buffer.setSample(0, 3, -0.5f);
    EXPECT_EQ(buffer.getSample(1, 3), 0.25f);
    EXPECT_EQ(buffer.getSample(0, 3), -0.5f);
    EXPECT_EQ(buffer.getChannel(1)[3], 0.25f);
}

TEST(AudioBuffer, FrameCountChangesOnlyWithinCapacity) {
    AudioBuffer<float> buffer(1, 8);
    EXPECT_TRUE(buffer.setNumberOfFrames(3));
    EXPECT_EQ(buffer.getNumberOfFrames(), 3u);
    EXPECT_FALSE(buffer.setNumberOfFrames(9));
    EXPECT_EQ(buffer.getNumberOfFrames(), 3u);
    EXPECT_EQ(buffer.getFrameCapacity(), 8u);
}

TEST(AudioBus, CopyFromCopiesEverySampleRateAndFrameCount) {
    AudioBus in(2, 16, 44100);
    fillRamp(in, 0.5f);
    in.buffer.setNumberOfFrames(10);
    AudioBus out(2, 16, 0);
    out.copyFrom(in);
    EXPECT_EQ(out.buffer.getSampleRate(), 44100u);
    EXPECT_EQ(out.buffer.getNumberOfFrames(), 10u);
    for (unsigned c = 0; c < 2; ++c) {
        for (unsigned f = 0; f < 10; ++f)
            EXPECT_EQ(out.buffer.getSample(c, f), in.buffer.getSample(c, f));
    }
}

TEST(AudioBus, CopyFromCopiesOnlyWhatFits) {
    AudioBus in(3, 8, 48000);
    fillRamp(in, 1.0f);
    AudioBus out(2, 4, 0);
    out.copyFrom(in);
    EXPECT_EQ(out.buffer.getNumberOfFrames(), 4u);
    EXPECT_EQ(out.buffer.getSample(1, 3), in.buffer.getSample(1, 3));
}

TEST(AudioBuffer, AViewReadsAndWritesTheCallersMemory) {
    float left[4] = {1.0f, 2.0f, 3.0f, 4.0f};
    float right[4] = {};
    AudioBuffer<float> view = AudioBuffer<float>::view(2, 4, 44100);
    view.attachChannel(0, left);
    view.attachChannel(1, right);
    EXPECT_TRUE(view.isView());
    EXPECT_EQ(view.getChannel(0), left);
    EXPECT_EQ(view.getSample(0, 2), 3.0f);
    view.setSample(1, 1, -0.5f);
    EXPECT_EQ(right[1], -0.5f);
    EXPECT_TRUE(view.setNumberOfFrames(2));
    EXPECT_FALSE(view.setNumberOfFrames(5));
    view.clear();
    EXPECT_EQ(left[3], 0.0f);
}

TEST(AudioBuffer, ACopyOfAViewSharesTheMemoryAndACopyOfOwnStorageDoesNot) {
    float samples[2] = {0.25f, 0.5f};
    AudioBuffer<float> view = AudioBuffer<float>::view(1, 2);
    view.attachChannel(0, samples);
    const AudioBuffer<float> viewCopy = view;
    EXPECT_EQ(viewCopy.getChannel(0), samples);

    AudioBuffer<float> own(1, 2);
    own.setSample(0, 1, 7.0f);
    AudioBuffer<float> ownCopy = own;
    EXPECT_FALSE(ownCopy.isView());
    EXPECT_NE(ownCopy.getChannel(0), own.getChannel(0));
    EXPECT_EQ(ownCopy.getSample(0, 1), 7.0f);
    ownCopy.setSample(0, 1, 8.0f);
    EXPECT_EQ(own.getSample(0, 1), 7.0f);
}

TEST(AudioBus, CopyFromBetweenViewsOfTheSameMemoryKeepsTheSamples) {
    float samples[3] = {0.1f, 0.2f, 0.3f};
    AudioBus in;
    in.buffer = AudioBuffer<float>::view(1, 3, 48000);
    in.buffer.attachChannel(0, samples);
    AudioBus out;
    out.buffer = AudioBuffer<float>::view(1, 3);
    out.buffer.attachChannel(0, samples);
    out.copyFrom(in);
    EXPECT_EQ(out.buffer.getSampleRate(), 48000u);
    EXPECT_EQ(samples[0], 0.1f);
    EXPECT_EQ(samples[2], 0.3f);
}

TEST(AudioBusFormat, ZeroFieldsTakeTheOthersValue) {
    AudioBusFormat a{2, 0, 256};
    AudioBusFormat b{0, 48000, 0};
    EXPECT_TRUE(AudioBusFormat::matchBusFormats(a, b));
    EXPECT_EQ(a.numberOfChannels, 2u);
    EXPECT_EQ(b.numberOfChannels, 2u);
    EXPECT_EQ(a.sampleRate, 48000u);
    EXPECT_EQ(b.numberOfFrames, 256u);
}

TEST(AudioBusFormat, DifferentNonZeroValuesDoNotMatchAndChangeNothing) {
    AudioBusFormat a{2, 48000, 0};
    AudioBusFormat b{0, 44100, 128};
    EXPECT_FALSE(AudioBusFormat::matchBusFormats(a, b));
    EXPECT_EQ(a.numberOfFrames, 0u);
    EXPECT_EQ(b.numberOfChannels, 0u);
    AudioBusFormat c{1, 0, 0};
    AudioBusFormat d{2, 0, 0};
    EXPECT_FALSE(AudioBusFormat::matchBusFormats(c, d));
}

TEST(AudioBusFormat, EqualFormatsMatch) {
    AudioBusFormat a{2, 48000, 512};
    AudioBusFormat b = a;
    EXPECT_TRUE(AudioBusFormat::matchBusFormats(a, b));
}
