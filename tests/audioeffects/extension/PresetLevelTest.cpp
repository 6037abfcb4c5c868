// Every factory preset keeps the level of what it is given: pink noise through each comes out
// with an RMS within 3 dB of the input's. The table is printed, preset by preset.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <cstdio>
#include <memory>
#include <vector>

#include <ostrana/audioeffects/EffectCatalogue.h>
#include <ostrana/sdk/AudioBus.h>
#include <ostrana/sdk/AudioBusFormat.h>
#include <ostrana/sdk/SingleBusAudioProcessorNode.h>
#include <ostrana/sdk/XVAnyMap.h>

namespace ostrana::extensions::audioeffects {
namespace {

constexpr unsigned int kRate = 48000;
constexpr unsigned int kBlock = 512;
constexpr unsigned int kSettle = kRate;        // the echoes and the sweep under way first
constexpr unsigned int kMeasured = 4 * kRate;  // then four seconds measured

// Pink noise at about -20 dBFS RMS: white noise from a fixed seed through Paul Kellet's
// economy filter (three poles, within 0.5 dB of -3 dB an octave above 40 Hz at 48 kHz).
class PinkNoise {
  public:
    explicit PinkNoise(std::uint32_t seed) : state_(seed) {}
    float next() {
        state_ = state_ * 1664525u + 1013904223u;
        const double white = static_cast<double>(state_) / 4294967296.0 * 2.0 - 1.0;
        b0_ = 0.99765 * b0_ + white * 0.0990460;
        b1_ = 0.96300 * b1_ + white * 0.2965164;
        b2_ = 0.57000 * b2_ + white * 1.0526913;
        return static_cast<float>((b0_ + b1_ + b2_ + white * 0.1848) * 0.05);
    }

  private:
    std::uint32_t state_;
    double b0_ = 0.0, b1_ = 0.0, b2_ = 0.0;
};

double decibels(double power) {
    return 10.0 * std::log10(power);
}

// The output's RMS over the input's, in dB, for stereo pink noise (each channel its own
// noise) through a node of the entry with the preset applied.
double levelChangeOf(const NodeTypeEntry& entry, const Preset& preset) {
    std::unique_ptr<Node> made(entry.create(XVAnyMap{}));
    EffectCatalogue::applyPreset(preset, *made);
    auto& node = dynamic_cast<SingleBusAudioProcessorNode&>(*made);
    AudioBusFormat input{2, kRate, 0};
    AudioBusFormat output{2, kRate, 0};
    EXPECT_TRUE(node.setBusFormat(input, output));
    PinkNoise left(1), right(2);
    AudioBus in(2, kBlock, kRate);
    AudioBus out(2, kBlock);
    double inPower = 0.0, outPower = 0.0;
    for (unsigned int start = 0; start < kSettle + kMeasured; start += kBlock) {
        for (unsigned int f = 0; f < kBlock; ++f) {
            in.buffer.getChannel(0)[f] = left.next();
            in.buffer.getChannel(1)[f] = right.next();
        }
        node.process(in, out);
        if (start < kSettle) continue;
        for (unsigned int c = 0; c < 2; ++c) {
            for (unsigned int f = 0; f < kBlock; ++f) {
                const double x = in.buffer.getChannel(c)[f];
                const double y = out.buffer.getChannel(c)[f];
                inPower += x * x;
                outPower += y * y;
            }
        }
    }
    return decibels(outPower) - decibels(inPower);
}

TEST(PresetLevels, EveryPresetKeepsPinkNoiseWithin3dB) {
    std::printf("| node | preset | RMS out - in (dB) |\n|---|---|---:|\n");
    for (const Preset& preset : EffectCatalogue::presets()) {
        const NodeTypeEntry* entry = EffectCatalogue::find(preset.nodeType);
        ASSERT_NE(entry, nullptr);
        const double change = levelChangeOf(*entry, preset);
        std::printf("| %s | %s | %+.2f |\n", std::string(preset.nodeType).c_str(),
                    std::string(preset.name).c_str(), change);
        EXPECT_LE(std::fabs(change), 3.0) << preset.nodeType << " " << preset.name;
    }
}

}  // namespace
}  // namespace ostrana::extensions::audioeffects
