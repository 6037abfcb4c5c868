#include "descriptors/EffectNodeTypeInfo.h"

#include <ostrana/sdk/SchemaConstants.h>

namespace ostrana::extensions::audioeffects {

NodeTypeInfo makeEffectNodeTypeInfo(const char* subtype, const char* displayName,
                                    const char* description) {
    NodeTypeInfo info;
    info.type = "AudioEffects";
    info.subtype = subtype;
    info.displayName = displayName;
    info.description = description;
    info.categories = {NODE_CATEGORY_AUDIO_PROCESSING, NODE_CATEGORY_EFFECTS};
    return info;
}

}  // namespace ostrana::extensions::audioeffects
