// The factory presets: a few settings per effect that a person would reach for first. Every
// front end reads them from here (ostrana-fx render --preset, Python's Effect.preset, the LV2
// bundle's presets.ttl). Keep each type's presets together, the types in the catalogue's order.
#include <ostrana/audioeffects/EffectCatalogue.h>

namespace ostrana::extensions::audioeffects {

namespace {

constexpr PresetSetting kSlapback[] = {
    {"delayMs", 110u}, {"feedbackLevel", 0.05f}, {"dryMix", 0.8f}, {"wetMix", 0.5f}};
constexpr PresetSetting kLongEcho[] = {
    {"delayMs", 700u}, {"feedbackLevel", 0.55f}, {"dryMix", 0.75f}, {"wetMix", 0.4f}};
constexpr PresetSetting kShortBounce[] = {
    {"delayMs", 140u}, {"feedbackLevel", 0.15f}, {"dryMix", 0.8f}, {"wetMix", 0.45f}};
constexpr PresetSetting kLongBounce[] = {
    {"delayMs", 600u}, {"feedbackLevel", 0.6f}, {"dryMix", 0.7f}, {"wetMix", 0.45f}};
constexpr PresetSetting kLeftRight[] = {{"delayMs", 250u},
                                        {"feedbackLevel", 0.45f},
                                        {"dryMix", 0.8f},
                                        {"wetMix", 0.5f},
                                        {"bounce", true}};
constexpr PresetSetting kGentleVibrato[] = {{"sweepWidth", 0.002f}, {"frequency", 5.0f}};
constexpr PresetSetting kDeepVibrato[] = {{"sweepWidth", 0.008f}, {"frequency", 6.5f}};
// The flanger's comb adds about 5 to 6 dB on broadband material: its presets take it back off.
constexpr PresetSetting kJet[] = {{"sweepWidth", 0.008f}, {"frequency", 0.1f}, {"level", -5.0f}};
constexpr PresetSetting kQuickFlange[] = {
    {"sweepWidth", 0.002f}, {"frequency", 1.5f}, {"level", -6.5f}};
constexpr PresetSetting kUnityFlanger[] = {{"level", -5.8f}};
constexpr PresetSetting kSubtleChorus[] = {{"sweepWidth", 0.006f}, {"frequency", 0.3f}};
constexpr PresetSetting kDeepChorus[] = {{"sweepWidth", 0.04f}, {"frequency", 0.8f}};
constexpr PresetSetting kSubtleBlend[] = {
    {"sweepWidth", 0.006f}, {"frequency", 0.3f}, {"mix", 0.5f}};

constexpr Preset kFactoryPresets[] = {
    {"delay", "slapback", "Slapback", kSlapback},
    {"delay", "long-echo", "Long echo", kLongEcho},
    {"ping-pong-delay", "bounce", "Short bounce", kShortBounce},
    {"ping-pong-delay", "long-echo", "Long echo", kLongBounce},
    {"ping-pong-delay", "left-right", "Left-right bounce", kLeftRight},
    {"vibrato", "gentle", "Gentle vibrato", kGentleVibrato},
    {"vibrato", "deep", "Deep vibrato", kDeepVibrato},
    {"flanger", "jet", "Jet flanger", kJet},
    {"flanger", "quick", "Quick flanger", kQuickFlange},
    {"flanger", "unity", "Flanger at unity level", kUnityFlanger},
    {"chorus", "subtle", "Subtle chorus", kSubtleChorus},
    {"chorus", "deep", "Deep chorus", kDeepChorus},
    {"chorus", "subtle-blend", "Subtle chorus, half mix", kSubtleBlend},
};

}  // namespace

std::span<const Preset> EffectCatalogue::presets() {
    return kFactoryPresets;
}

}  // namespace ostrana::extensions::audioeffects
