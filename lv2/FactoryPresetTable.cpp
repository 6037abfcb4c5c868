#include "FactoryPresetTable.h"

namespace ostrana::lv2 {

namespace {

constexpr PresetSetting kSlapback[] = {
    {"delayMs", 110}, {"feedbackLevel", 0.05}, {"dryMix", 0.8}, {"wetMix", 0.5}};
constexpr PresetSetting kLongEcho[] = {
    {"delayMs", 700}, {"feedbackLevel", 0.55}, {"dryMix", 0.75}, {"wetMix", 0.4}};
constexpr PresetSetting kBounce[] = {
    {"delayMs", 140}, {"feedbackLevel", 0.15}, {"dryMix", 0.8}, {"wetMix", 0.45}};
constexpr PresetSetting kLongBounce[] = {
    {"delayMs", 600}, {"feedbackLevel", 0.6}, {"dryMix", 0.7}, {"wetMix", 0.45}};
constexpr PresetSetting kSubtleChorus[] = {{"sweepWidth", 0.006}, {"frequency", 0.3}};
constexpr PresetSetting kDeepChorus[] = {{"sweepWidth", 0.04}, {"frequency", 0.8}};
constexpr PresetSetting kJet[] = {{"sweepWidth", 0.008}, {"frequency", 0.1}};
constexpr PresetSetting kQuickFlange[] = {{"sweepWidth", 0.002}, {"frequency", 1.5}};
constexpr PresetSetting kGentleVibrato[] = {{"sweepWidth", 0.002}, {"frequency", 5}};
constexpr PresetSetting kDeepVibrato[] = {{"sweepWidth", 0.008}, {"frequency", 6.5}};

constexpr FactoryPreset kPresets[] = {
    {"delay", "slapback", "Slapback", kSlapback},
    {"delay", "long-echo", "Long echo", kLongEcho},
    {"ping-pong-delay", "bounce", "Short bounce", kBounce},
    {"ping-pong-delay", "long-echo", "Long echo", kLongBounce},
    {"chorus", "subtle", "Subtle chorus", kSubtleChorus},
    {"chorus", "deep", "Deep chorus", kDeepChorus},
    {"flanger", "jet", "Jet flanger", kJet},
    {"flanger", "quick", "Quick flanger", kQuickFlange},
    {"vibrato", "gentle", "Gentle vibrato", kGentleVibrato},
    {"vibrato", "deep", "Deep vibrato", kDeepVibrato},
};

}  // namespace

std::span<const FactoryPreset> FactoryPresetTable::all() {
    return kPresets;
}

std::vector<const FactoryPreset*> FactoryPresetTable::presetsFor(std::string_view shortName) {
    std::vector<const FactoryPreset*> presets;
    for (const FactoryPreset& preset : kPresets) {
        if (preset.shortName == shortName) presets.push_back(&preset);
    }
    return presets;
}

}  // namespace ostrana::lv2
