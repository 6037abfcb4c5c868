#pragma once

#include <cstdint>
#include <memory>
#include <string_view>
#include <vector>

#include <ostrana/sdk/AudioBus.h>
#include <ostrana/sdk/AudioBusList.h>
#include <ostrana/sdk/Node.h>
#include <ostrana/sdk/SingleBusAudioProcessorNode.h>

#include "BypassFade.h"
#include "HostTempo.h"
#include "PluginVariant.h"

namespace ostrana::lv2 {

// One instance of a plug-in: a node of the variant's type, created by type name through the
// host library, and the port buffers it is run on. The LV2 binary is one more host of the
// extension; it drives the node through the same bus contract as every other host.
//
// instantiate, activate and the destructor may allocate (LV2's instantiation class). run
// never allocates, locks, logs or throws: it reads every control port once, makes each value
// safe (ControlPort::sanitized), passes the values that changed to the node, and processes
// the port buffers where they lie.
//
// The on/off switch is the plug-in's own bypass and never reaches the node, which always
// runs: switching crossfades between its output and the dry input (BypassFade), starting at
// the first frame of the block in which the port changed. Bypassed, the node goes on being
// fed the input, with its feedback held at none (0 where the range allows): once the bypass
// has lasted longer than the delay, the lines hold only what came in during it, so nothing
// from before the bypass comes back when the effect is switched on again, at any feedback.
class EffectPlugin {
  public:
    // Frames processed per call of the node's process; a longer run goes in chunks of this.
    static constexpr unsigned int kChunkFrames = 4096;

    // An instance at this sample rate rounded to whole hertz, or nullptr when the rate is not
    // finite and positive, or the node cannot be made.
    static std::unique_ptr<EffectPlugin> create(const PluginVariant& variant, double sampleRate,
                                                const LV2_Feature* const* features);

    EffectPlugin(const EffectPlugin&) = delete;
    EffectPlugin& operator=(const EffectPlugin&) = delete;
    ~EffectPlugin();

    void connectPort(std::uint32_t port, void* data) noexcept;
    // Starts from a node as fresh as a new one (a new node, if the current one has run), and
    // passes every control value to it on the next run.
    void activate();
    void run(std::uint32_t frames) noexcept;

  private:
    EffectPlugin(const PluginVariant& variant, unsigned int sampleRate,
                 const LV2_Feature* const* features);
    // The index among the controls of the one with this symbol, or the number of controls.
    std::size_t controlIndex(std::string_view symbol) const;
    // The delay time a synced delay takes from the host's tempo, in the port's unit; or a
    // negative number when it is not synced or the host has sent no tempo yet.
    float syncedDelayTime() const noexcept;

    // A new node of the variant's type with its format agreed, or nullptr.
    std::unique_ptr<Node> makeNode() const;
    bool adoptNode(std::unique_ptr<Node> node);
    bool portsConnected() const;
    // Reads the control ports; whether any value differs from the last run's.
    bool readControls() noexcept;
    void followSwitch() noexcept;
    // The value the node is given for the control at this index (not the switch).
    float nodeValue(std::size_t control) const noexcept;
    void sendChangedControls() noexcept;
    // Whether an output shares memory with the input of another channel (a mono-to-stereo
    // plug-in's one input feeds both), or with its own input displaced. Then the node would
    // overwrite input it has yet to read, so the inputs are copied first, chunk by chunk (exact for
    // hosts that connect ports to whole buffers, as LV2 hosts do).
    bool outputsOverlapOtherInputs(std::uint32_t frames) const;
    void processChunk(std::uint32_t offset, std::uint32_t frames, bool throughScratch) noexcept;
    // Replaces the processed output of a chunk with the fade's mix of it and the dry input,
    // which processChunk left in the scratch bus.
    void crossfadeChunk(std::uint32_t offset, std::uint32_t frames) noexcept;

    const PluginVariant& variant_;
    unsigned int sampleRate_;
    std::unique_ptr<Node> node_;
    SingleBusAudioProcessorNode* processor_ = nullptr;
    bool nodeHasRun_ = false;

    std::vector<float*> inputs_;
    std::vector<float*> outputs_;
    std::vector<const float*> controls_;
    // The controls' values as read from the ports, as the plug-in takes them (sanitised), and
    // as last passed to the node; all valid once controlsSent_ is set.
    std::vector<float> rawControls_;
    std::vector<float> portValues_;
    std::vector<float> sentControls_;
    bool controlsSent_ = false;

    // The index of the on/off switch among the controls, or the number of controls.
    std::size_t switchIndex_;
    BypassFade fade_;
    // Set once a fade to dry has finished: the feedback is then held off. The node's values
    // were last sent with sentResting_.
    bool resting_ = false;
    bool sentResting_ = false;

    // Tempo sync: the time port (optional), the host's tempo read from it, and where the
    // controls it involves are (the number of controls when the plug-in has none).
    const LV2_Atom_Sequence* timeInput_ = nullptr;
    HostTempo tempo_;
    std::size_t syncIndex_;
    std::size_t divisionIndex_;
    std::size_t delayTimeIndex_;
    std::size_t feedbackIndex_;

    // Views of the port buffers, and a bus of the instance's own to copy the inputs into when
    // an output aliases another channel's input.
    AudioBus inputView_;
    AudioBus outputView_;
    AudioBus scratch_;
    AudioBusList inputViewList_;
    AudioBusList outputViewList_;
    AudioBusList scratchList_;
};

}  // namespace ostrana::lv2
