// The binary's one exported symbol, through which LV2 hosts find its plug-ins.
#include <lv2/core/lv2.h>

#include <exception>

#include "PluginDescriptors.h"

extern "C" LV2_SYMBOL_EXPORT const LV2_Descriptor* lv2_descriptor(uint32_t index) {
    try {
        return ostrana::lv2::PluginDescriptors::at(index);
    } catch (const std::exception&) {
        return nullptr;
    }
}
