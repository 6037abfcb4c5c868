#include "EffectPlugin.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstring>
#include <limits>
#include <utility>
#include <variant>

#include <ostrana/sdk/AudioBusFormat.h>
#include <ostrana/sdk/ExtensionManager.h>
#include <ostrana/sdk/XVAnyMap.h>

#include "FlushDenormals.h"
#include "NoteDivision.h"
#include "PluginList.h"

namespace ostrana::lv2 {

namespace {

// A sample rate as the nodes take it: a finite positive rate rounded to the nearest whole
// number of hertz (1 at least), or 0 when the rate is not finite and positive or is beyond
// what a node takes.
unsigned int wholeSampleRate(double sampleRate) {
    const bool usable = std::isfinite(sampleRate) && sampleRate > 0.0 &&
                        sampleRate < std::numeric_limits<unsigned int>::max();
    return usable ? std::max(1u, static_cast<unsigned int>(std::lround(sampleRate))) : 0;
}

// The parameters that feed a line's output back into it (the delays' feedbackLevel, the chorus's
// and flanger's feedback); held at none while the plug-in is bypassed, so that the lines empty.
constexpr std::string_view kFeedbackLevel = "feedbackLevel";
constexpr std::string_view kFeedback = "feedback";

float asFloat(const extensions::audioeffects::ParameterValue& value) {
    return std::visit([](auto v) { return static_cast<float>(v); }, value);
}

bool sameBits(float a, float b) {
    return std::bit_cast<std::uint32_t>(a) == std::bit_cast<std::uint32_t>(b);
}

// Whether frames samples from a and from b share memory.
bool overlap(const float* a, const float* b, std::uint32_t frames) {
    const auto start = [](const float* p) { return reinterpret_cast<std::uintptr_t>(p); };
    const std::uintptr_t bytes = static_cast<std::uintptr_t>(frames) * sizeof(float);
    return start(a) < start(b) + bytes && start(b) < start(a) + bytes;
}

}  // namespace

std::unique_ptr<EffectPlugin> EffectPlugin::create(const PluginVariant& variant, double sampleRate,
                                                   const LV2_Feature* const* features) {
    const unsigned int rate = wholeSampleRate(sampleRate);
    if (rate == 0) return nullptr;
    std::unique_ptr<EffectPlugin> plugin(new EffectPlugin(variant, rate, features));
    if (!plugin->adoptNode(plugin->makeNode())) return nullptr;
    return plugin;
}

EffectPlugin::EffectPlugin(const PluginVariant& variant, unsigned int sampleRate,
                           const LV2_Feature* const* features)
    : variant_(variant),
      sampleRate_(sampleRate),
      inputs_(variant.inputs, nullptr),
      outputs_(variant.channels, nullptr),
      controls_(variant.controls.size(), nullptr),
      rawControls_(variant.controls.size(), 0.0f),
      portValues_(variant.controls.size(), 0.0f),
      sentControls_(variant.controls.size(), 0.0f),
      switchIndex_(variant.controls.size()),
      fade_(sampleRate),
      tempo_(features),
      syncIndex_(controlIndex("sync")),
      divisionIndex_(controlIndex("division")),
      delayTimeIndex_(controlIndex(PluginList::kDelayTime)),
      feedbackIndex_(std::min(controlIndex(kFeedbackLevel), controlIndex(kFeedback))),
      scratch_(variant.channels, kChunkFrames, sampleRate),
      inputViewList_{&inputView_},
      outputViewList_{&outputView_},
      scratchList_{&scratch_} {
    inputView_.buffer = AudioBuffer<float>::view(variant.channels, kChunkFrames, sampleRate);
    outputView_.buffer = AudioBuffer<float>::view(variant.channels, kChunkFrames, sampleRate);
    for (std::size_t index = 0; index < variant.controls.size(); ++index) {
        if (variant.controls[index].parameter == variant.entry->onOffSwitch()) {
            switchIndex_ = index;
        }
    }
}

EffectPlugin::~EffectPlugin() = default;

std::size_t EffectPlugin::controlIndex(std::string_view symbol) const {
    for (std::size_t index = 0; index < variant_.controls.size(); ++index) {
        if (variant_.controls[index].symbol == symbol) return index;
    }
    return variant_.controls.size();
}

std::unique_ptr<Node> EffectPlugin::makeNode() const {
    Result<std::unique_ptr<Node>> created =
        ExtensionManager::getInstance().createNode(variant_.typeName, XVAnyMap());
    if (!created.isOk()) return nullptr;
    std::unique_ptr<Node> node = std::move(created).value();
    auto* processor = dynamic_cast<SingleBusAudioProcessorNode*>(node.get());
    if (processor == nullptr) return nullptr;
    AudioBusFormatList inputFormats{AudioBusFormat{variant_.channels, sampleRate_, 0}};
    AudioBusFormatList outputFormats{AudioBusFormat{variant_.channels, sampleRate_, 0}};
    if (!processor->setBusFormats(inputFormats, outputFormats)) return nullptr;
    return node;
}

bool EffectPlugin::adoptNode(std::unique_ptr<Node> node) {
    if (node == nullptr) return false;
    node_ = std::move(node);
    processor_ = dynamic_cast<SingleBusAudioProcessorNode*>(node_.get());
    nodeHasRun_ = false;
    controlsSent_ = false;
    return true;
}

void EffectPlugin::connectPort(std::uint32_t port, void* data) noexcept {
    if (port < variant_.audioOutputPort(0)) {
        inputs_[port] = static_cast<float*>(data);
    } else if (port < variant_.controlPort(0)) {
        outputs_[port - variant_.audioOutputPort(0)] = static_cast<float*>(data);
    } else if (port < variant_.controlPort(controls_.size())) {
        controls_[port - variant_.controlPort(0)] = static_cast<const float*>(data);
    } else if (variant_.tempoSync && port == variant_.timePort()) {
        timeInput_ = static_cast<const LV2_Atom_Sequence*>(data);
    }
}

void EffectPlugin::activate() {
    if (nodeHasRun_) adoptNode(makeNode());
    controlsSent_ = false;
}

bool EffectPlugin::portsConnected() const {
    const auto connected = [](const auto* pointer) { return pointer != nullptr; };
    // The plug-in's own controls may stay unconnected: they then keep their defaults.
    const std::size_t parameters = variant_.entry->parameters.size();
    return std::all_of(inputs_.begin(), inputs_.end(), connected) &&
           std::all_of(outputs_.begin(), outputs_.end(), connected) &&
           std::all_of(controls_.begin(), controls_.begin() + parameters, connected);
}

bool EffectPlugin::readControls() noexcept {
    bool changed = !controlsSent_;
    for (std::size_t index = 0; index < controls_.size(); ++index) {
        const ControlPort& port = variant_.controls[index];
        const float* value = controls_[index];
        const float raw = value == nullptr ? port.defaultValue : *value;
        // A value read before stands for what it stood for then.
        if (controlsSent_ && sameBits(raw, rawControls_[index])) continue;
        rawControls_[index] = raw;
        const float previous = controlsSent_ ? portValues_[index] : port.defaultValue;
        portValues_[index] = port.sanitized(raw, previous);
        changed = true;
    }
    return changed;
}

void EffectPlugin::followSwitch() noexcept {
    if (switchIndex_ == controls_.size()) return;
    const bool on = portValues_[switchIndex_] > 0.0f;
    if (!controlsSent_) {
        fade_.jumpTo(on);
        resting_ = !on;
    } else {
        fade_.fadeTo(on);
        if (on) resting_ = false;
    }
}

float EffectPlugin::nodeValue(std::size_t control) const noexcept {
    if (resting_ && control == feedbackIndex_) {
        // No feedback: 0, or the nearest the range allows.
        const auto& parameter = *variant_.controls[control].parameter;
        return std::clamp(0.0f, asFloat(parameter.minimum), asFloat(parameter.maximum));
    }
    if (control == delayTimeIndex_) {
        const float synced = syncedDelayTime();
        if (synced >= 0.0f) return variant_.controls[control].toParameter(synced);
    }
    return variant_.controls[control].toParameter(portValues_[control]);
}

float EffectPlugin::syncedDelayTime() const noexcept {
    if (syncIndex_ == controls_.size() || portValues_[syncIndex_] <= 0.0f || !tempo_.known()) {
        return -1.0f;
    }
    const auto division = static_cast<std::size_t>(portValues_[divisionIndex_]);
    const double seconds =
        NoteDivisions::all()[division].seconds(tempo_.beatsPerMinute(), tempo_.beatUnit());
    // A whole number of milliseconds, within the delay time's range.
    const ControlPort& delayTime = variant_.controls[delayTimeIndex_];
    return std::clamp(static_cast<float>(std::round(seconds * 1000.0)), delayTime.minimum,
                      delayTime.maximum);
}

void EffectPlugin::sendChangedControls() noexcept {
    for (std::size_t index = 0; index < controls_.size(); ++index) {
        const extensions::audioeffects::NodeParameter* parameter =
            variant_.controls[index].parameter;
        if (parameter == nullptr || index == switchIndex_) continue;
        const float value = nodeValue(index);
        if (controlsSent_ && sameBits(value, sentControls_[index])) continue;
        sentControls_[index] = value;
        parameter->write(*node_, parameter->fromNumber(value));
    }
    controlsSent_ = true;
}

bool EffectPlugin::outputsOverlapOtherInputs(std::uint32_t frames) const {
    for (unsigned int out = 0; out < variant_.channels; ++out) {
        for (unsigned int in = 0; in < variant_.channels; ++in) {
            const float* input = inputs_[variant_.inputOf(in)];
            const bool sameChannelInPlace = in == out && outputs_[out] == input;
            if (!sameChannelInPlace && overlap(outputs_[out], input, frames)) return true;
        }
    }
    return false;
}

void EffectPlugin::processChunk(std::uint32_t offset, std::uint32_t frames,
                                bool throughScratch) noexcept {
    AudioBusList& inputs = throughScratch ? scratchList_ : inputViewList_;
    AudioBuffer<float>& input = inputs.front()->buffer;
    AudioBuffer<float>& output = outputView_.buffer;
    for (unsigned int channel = 0; channel < variant_.channels; ++channel) {
        float* source = inputs_[variant_.inputOf(channel)] + offset;
        if (throughScratch) {
            std::memcpy(input.getChannel(channel), source, frames * sizeof(float));
        } else {
            input.attachChannel(channel, source);
        }
        output.attachChannel(channel, outputs_[channel] + offset);
    }
    input.setNumberOfFrames(frames);
    output.setNumberOfFrames(frames);
    processor_->process(inputs, outputViewList_);
}

void EffectPlugin::crossfadeChunk(std::uint32_t offset, std::uint32_t frames) noexcept {
    const AudioBuffer<float>& dry = scratch_.buffer;
    if (fade_.fullyDry()) {
        for (unsigned int channel = 0; channel < variant_.channels; ++channel) {
            std::memcpy(outputs_[channel] + offset, dry.getChannel(channel),
                        frames * sizeof(float));
        }
        return;
    }
    for (std::uint32_t frame = 0; frame < frames; ++frame) {
        const float gain = fade_.processedGain();
        for (unsigned int channel = 0; channel < variant_.channels; ++channel) {
            float& out = outputs_[channel][offset + frame];
            out = out * gain + dry.getChannel(channel)[frame] * (1.0f - gain);
        }
        fade_.advance();
    }
}

void EffectPlugin::run(std::uint32_t frames) noexcept {
    if (processor_ == nullptr || !portsConnected()) return;
    const FlushDenormals flushing;
    // The node's values change only with a control, the host's tempo or the bypass's rest.
    const bool tempoChanged = timeInput_ != nullptr && tempo_.read(*timeInput_);
    const bool controlsChanged = readControls();
    followSwitch();
    if (controlsChanged || tempoChanged || resting_ != sentResting_) {
        sendChangedControls();
        sentResting_ = resting_;
    }
    if (frames == 0) return;
    nodeHasRun_ = true;
    // A fade needs the dry input after the node has written the outputs.
    const bool fading = !fade_.fullyProcessed();
    const bool throughScratch = fading || outputsOverlapOtherInputs(frames);
    for (std::uint32_t offset = 0; offset < frames; offset += kChunkFrames) {
        const std::uint32_t chunk = std::min(kChunkFrames, frames - offset);
        processChunk(offset, chunk, throughScratch);
        if (fading) crossfadeChunk(offset, chunk);
    }
    if (fade_.fullyDry()) resting_ = true;
}

}  // namespace ostrana::lv2
