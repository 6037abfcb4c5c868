// The functions the browser package calls. An effect is a handle to a GroupedEffect; the page
// writes a quantum of input into its input buffers, calls ostrana_effect_process and reads the
// output buffers, all inside the module's memory.
#include <emscripten/emscripten.h>

#include <memory>
#include <string>
#include <vector>

#include <ostrana/audioeffects/EffectCatalogue.h>

#include "AllocationCount.h"
#include "CatalogueJson.h"
#include "DemoSignal.h"
#include "GroupedEffect.h"

using ostrana::extensions::audioeffects::EffectCatalogue;
using ostrana::web::GroupedEffect;

namespace {

const std::vector<float>& demoSignal() {
    static const std::vector<float> signal = ostrana::fx::DemoSignal::synthesise();
    return signal;
}

}  // namespace

extern "C" {

// The catalogue as JSON text, NUL-terminated, made once.
EMSCRIPTEN_KEEPALIVE const char* ostrana_catalogue_json() {
    static const std::string json = ostrana::web::catalogueJson();
    return json.c_str();
}

// A new effect of the catalogue's type at index typeIndex, or null when the type does not
// take this many channels (in groups).
EMSCRIPTEN_KEEPALIVE GroupedEffect* ostrana_effect_create(unsigned int typeIndex,
                                                          unsigned int channels,
                                                          unsigned int sampleRate) {
    const auto types = EffectCatalogue::nodeTypes();
    if (typeIndex >= types.size()) return nullptr;
    return GroupedEffect::create(types[typeIndex], channels, sampleRate).release();
}

EMSCRIPTEN_KEEPALIVE void ostrana_effect_destroy(GroupedEffect* effect) {
    delete effect;
}

EMSCRIPTEN_KEEPALIVE float* ostrana_effect_input(GroupedEffect* effect, unsigned int channel) {
    return effect->input(channel);
}

EMSCRIPTEN_KEEPALIVE float* ostrana_effect_output(GroupedEffect* effect, unsigned int channel) {
    return effect->output(channel);
}

EMSCRIPTEN_KEEPALIVE int ostrana_effect_set(GroupedEffect* effect, unsigned int index,
                                            double value) {
    return effect->setParameter(index, value) ? 1 : 0;
}

EMSCRIPTEN_KEEPALIVE double ostrana_effect_get(GroupedEffect* effect, unsigned int index) {
    return effect->parameter(index);
}

EMSCRIPTEN_KEEPALIVE int ostrana_effect_process(GroupedEffect* effect, unsigned int frames) {
    return effect->process(frames) ? 1 : 0;
}

EMSCRIPTEN_KEEPALIVE double ostrana_allocation_count() {
    return static_cast<double>(ostrana::web::allocationCount());
}

// The built-in demo signal (the one ostrana-fx demo renders): interleaved stereo at
// ostrana_demo_sample_rate(), ostrana_demo_frames() frames, made on the first call.
EMSCRIPTEN_KEEPALIVE const float* ostrana_demo_signal() {
    return demoSignal().data();
}

EMSCRIPTEN_KEEPALIVE unsigned int ostrana_demo_frames() {
    return static_cast<unsigned int>(demoSignal().size() / ostrana::fx::DemoSignal::kChannels);
}

EMSCRIPTEN_KEEPALIVE unsigned int ostrana_demo_sample_rate() {
    return ostrana::fx::DemoSignal::kSampleRate;
}

}  // extern "C"
