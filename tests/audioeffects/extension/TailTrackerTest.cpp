#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <memory>
#include <stdexcept>
#include <vector>

#include <ostrana/audioeffects/EffectCatalogue.h>
#include <ostrana/audioeffects/TailTracker.h>
#include <ostrana/sdk/XVAnyMap.h>

using namespace ostrana;
using namespace ostrana::extensions::audioeffects;

namespace {

// At 1000 Hz the quiet run and the fade are 50 frames each.
constexpr unsigned int kRate = 1000;

// Feeds a mono tail whose output is level(frame), in chunks of chunkFrames; returns the kept
// output.
template <typename Level>
std::vector<float> runTail(TailTracker& tracker, Level level, std::size_t chunkFrames) {
    std::vector<float> kept;
    std::uint64_t frame = 0;
    while (std::size_t frames = tracker.framesToFeed(chunkFrames)) {
        std::vector<float> output(frames);
        for (float& sample : output) sample = level(frame++);
        float* rows[] = {output.data()};
        const std::size_t keep = tracker.take(rows, 1, frames);
        kept.insert(kept.end(), output.begin(), output.begin() + static_cast<long>(keep));
        if (keep < frames) break;
    }
    return kept;
}

}  // namespace

TEST(TailTrackerTest, AutomaticTailEndsAfterFiftyQuietMilliseconds) {
    for (std::size_t chunk : {1, 7, 64, 4096}) {
        TailTracker tracker = TailTracker::automatic(kRate);
        const auto kept = runTail(
            tracker, [](std::uint64_t frame) { return frame < 120 ? 0.5f : 0.9e-5f; }, chunk);
        EXPECT_EQ(kept.size(), 170u) << "chunks of " << chunk;
        EXPECT_TRUE(tracker.complete());
        EXPECT_FALSE(tracker.capped());
        EXPECT_EQ(tracker.frames(), 170u);
        EXPECT_EQ(tracker.framesToFeed(100), 0u);
        EXPECT_EQ(kept[119], 0.5f);
        EXPECT_EQ(kept[169], 0.9e-5f);
    }
}

TEST(TailTrackerTest, ALoudSampleRestartsTheQuietRun) {
    TailTracker tracker = TailTracker::automatic(kRate);
    // -100 dBFS itself is not below -100 dBFS, and not a number is not quiet either.
    const auto kept = runTail(
        tracker,
        [](std::uint64_t frame) {
            if (frame == 30) return 1e-5f;
            if (frame == 70) return std::numeric_limits<float>::quiet_NaN();
            return 0.0f;
        },
        16);
    EXPECT_EQ(kept.size(), 71u + 50u);
}

TEST(TailTrackerTest, EveryChannelMustBeQuiet) {
    TailTracker tracker = TailTracker::automatic(kRate);
    std::vector<float> left(200, 0.0f);
    std::vector<float> right(200, 0.0f);
    right[40] = -0.25f;
    float* rows[] = {left.data(), right.data()};
    EXPECT_EQ(tracker.take(rows, 2, 200), 91u);
}

TEST(TailTrackerTest, CappedTailIsFadedOverItsLastFiftyMilliseconds) {
    TailTracker tracker = TailTracker::automatic(kRate, 1.0);
    const auto kept = runTail(
        tracker, [](std::uint64_t) { return 0.5f; }, 333);
    ASSERT_EQ(kept.size(), 1000u);
    EXPECT_TRUE(tracker.capped());
    EXPECT_EQ(kept[949], 0.5f);
    for (std::size_t frame = 950; frame < 1000; ++frame) {
        const float gain = static_cast<float>((999.0 - static_cast<double>(frame)) / 50.0);
        EXPECT_EQ(kept[frame], 0.5f * gain) << "frame " << frame;
    }
    EXPECT_EQ(kept[999], 0.0f);
}

TEST(TailTrackerTest, FixedTailIsExactlyItsLengthUntouched) {
    TailTracker tracker = TailTracker::fixed(kRate, 0.25);
    const auto kept = runTail(
        tracker, [](std::uint64_t frame) { return frame < 3 ? 1.0f : 0.0f; }, 100);
    ASSERT_EQ(kept.size(), 250u);
    EXPECT_EQ(kept[249], 0.0f);
    EXPECT_FALSE(tracker.capped());
    TailTracker loud = TailTracker::fixed(kRate, 0.25);
    const auto loudKept = runTail(
        loud, [](std::uint64_t) { return 0.5f; }, 100);
    EXPECT_EQ(loudKept.back(), 0.5f);
    EXPECT_FALSE(loud.capped());
}

TEST(TailTrackerTest, NoTailIsCompleteAtOnce) {
    TailTracker tracker = TailTracker::fixed(kRate, 0.0);
    EXPECT_TRUE(tracker.complete());
    EXPECT_EQ(tracker.framesToFeed(512), 0u);
}

TEST(TailTrackerTest, InterleavedFramesGiveThePlanarResult) {
    TailTracker planar = TailTracker::automatic(kRate, 0.5);
    TailTracker interleaved = TailTracker::automatic(kRate, 0.5);
    std::vector<float> left(500), right(500), both(1000);
    for (std::size_t frame = 0; frame < 500; ++frame) {
        left[frame] = std::sin(0.1f * static_cast<float>(frame));
        right[frame] = 0.5f * left[frame];
        both[2 * frame] = left[frame];
        both[2 * frame + 1] = right[frame];
    }
    float* rows[] = {left.data(), right.data()};
    EXPECT_EQ(planar.take(rows, 2, 500), 500u);
    EXPECT_EQ(interleaved.takeInterleaved(both.data(), 2, 500), 500u);
    EXPECT_TRUE(planar.capped() && interleaved.capped());
    for (std::size_t frame = 0; frame < 500; ++frame) {
        EXPECT_EQ(both[2 * frame], left[frame]);
        EXPECT_EQ(both[2 * frame + 1], right[frame]);
    }
}

TEST(TailTrackerTest, RefusesLengthsThatAreNoLengths) {
    EXPECT_THROW(TailTracker::fixed(kRate, -1.0), std::invalid_argument);
    EXPECT_THROW(TailTracker::fixed(kRate, std::nan("")), std::invalid_argument);
    EXPECT_THROW(TailTracker::automatic(kRate, std::numeric_limits<double>::infinity()),
                 std::invalid_argument);
    EXPECT_THROW(TailTracker::automatic(0), std::invalid_argument);
}

TEST(TailTrackerTest, LongerQuietStretchesWaitOutTheGapsBetweenEchoes) {
    // A 300 ms echo every 300 ms: silence between them is no end.
    TailTracker tracker = TailTracker::automatic(kRate, 30.0, 0.3);
    const auto kept = runTail(
        tracker, [](std::uint64_t frame) { return frame % 300 == 0 && frame < 3000 ? 0.5f : 0.0f; },
        512);
    EXPECT_EQ(kept.size(), 2701u + 300u);
}

TEST(TailTrackerTest, QuietStretchFollowsTheLongestDelayOfANode) {
    const NodeTypeEntry* delay = EffectCatalogue::find("delay");
    const NodeTypeEntry* flanger = EffectCatalogue::find("flanger");
    ASSERT_NE(delay, nullptr);
    ASSERT_NE(flanger, nullptr);
    std::unique_ptr<Node> delayNode(delay->create(XVAnyMap()));
    std::unique_ptr<Node> flangerNode(flanger->create(XVAnyMap()));
    delay->findParameter("delayMs")->write(*delayNode, 750u);
    EXPECT_EQ(TailTracker::quietSecondsAfter(*delay, *delayNode), 0.75);
    delay->findParameter("delayMs")->write(*delayNode, 20u);
    EXPECT_EQ(TailTracker::quietSecondsAfter(*delay, *delayNode), TailTracker::kQuietSeconds);
    EXPECT_EQ(TailTracker::quietSecondsAfter(*flanger, *flangerNode), TailTracker::kQuietSeconds);
}

TEST(TailTrackerTest, QuietStretchAtARateWaitsOutTheSweptLinesOwnDelay) {
    const NodeTypeEntry* chorus = EffectCatalogue::find("chorus");
    const NodeTypeEntry* flanger = EffectCatalogue::find("flanger");
    const NodeTypeEntry* delay = EffectCatalogue::find("delay");
    ASSERT_NE(chorus, nullptr);
    ASSERT_NE(flanger, nullptr);
    ASSERT_NE(delay, nullptr);
    std::unique_ptr<Node> chorusNode(chorus->create(XVAnyMap()));
    std::unique_ptr<Node> flangerNode(flanger->create(XVAnyMap()));
    std::unique_ptr<Node> delayNode(delay->create(XVAnyMap()));
    // The chorus reads up to its 1002-sample base delay and one neighbour beyond its sweep.
    chorus->findParameter("sweepWidth")->write(*chorusNode, 0.05f);
    const double width = static_cast<double>(0.05f);
    EXPECT_EQ(TailTracker::quietSecondsAfter(*chorus, *chorusNode, 48000), width + 1003.0 / 48000);
    EXPECT_EQ(TailTracker::quietSecondsAfter(*chorus, *chorusNode, 8000), width + 1003.0 / 8000);
    // At its default 25 ms sweep the chorus at 48 kHz stays under the 50 ms floor; at 8 kHz its
    // line alone is 125 ms.
    chorus->findParameter("sweepWidth")->write(*chorusNode, 0.025f);
    EXPECT_EQ(TailTracker::quietSecondsAfter(*chorus, *chorusNode, 48000),
              TailTracker::kQuietSeconds);
    EXPECT_GT(TailTracker::quietSecondsAfter(*chorus, *chorusNode, 8000), 0.125);
    // The flanger and the delay add a few samples or none.
    flanger->findParameter("sweepWidth")->write(*flangerNode, 0.01f);
    EXPECT_EQ(TailTracker::quietSecondsAfter(*flanger, *flangerNode, 48000),
              TailTracker::kQuietSeconds);
    EXPECT_EQ(TailTracker::quietSecondsAfter(*flanger, *flangerNode, 50),
              static_cast<double>(0.01f) + 3.0 / 50);
    delay->findParameter("delayMs")->write(*delayNode, 750u);
    EXPECT_EQ(TailTracker::quietSecondsAfter(*delay, *delayNode, 48000), 0.75);
    EXPECT_THROW(TailTracker::quietSecondsAfter(*delay, *delayNode, 0), std::invalid_argument);
}
