#pragma once

#include <ostrana/sdk/NodeTypeInfo.h>

namespace ostrana::extensions::audioeffects {

// A new descriptor of one of this extension's effect node types: type "AudioEffects", the
// given identity, the categories "Audio Processing" then "Effects", and empty configuration,
// properties, actions and events. Each call builds a new record.
NodeTypeInfo makeEffectNodeTypeInfo(const char* subtype, const char* displayName,
                                    const char* description);

}  // namespace ostrana::extensions::audioeffects
