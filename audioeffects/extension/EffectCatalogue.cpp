#include <algorithm>
#include <cctype>
#include <string>

#include <ostrana/audioeffects/EffectCatalogue.h>

namespace ostrana::extensions::audioeffects {

// The effects, each declared once in its own file with its parameters, state and kernel.
extern const NodeTypeEntry kDelayType;
extern const NodeTypeEntry kPingPongDelayType;
extern const NodeTypeEntry kVibratoType;
extern const NodeTypeEntry kFlangerType;
extern const NodeTypeEntry kChorusType;

namespace {

// In the factory's registration order, which hosts show their users: keep it. The entries are
// constant data, ready before any code of the library runs; this list is made on first use.
std::span<const NodeTypeEntry> allNodeTypes() {
    static const NodeTypeEntry kNodeTypes[] = {
        kDelayType, kPingPongDelayType, kVibratoType, kFlangerType, kChorusType,
    };
    return kNodeTypes;
}

bool equalIgnoringCase(std::string_view a, std::string_view b) {
    return std::equal(a.begin(), a.end(), b.begin(), b.end(), [](char x, char y) {
        return std::tolower(static_cast<unsigned char>(x)) ==
               std::tolower(static_cast<unsigned char>(y));
    });
}

}  // namespace

std::span<const NodeTypeEntry> EffectCatalogue::nodeTypes() {
    return allNodeTypes();
}

const NodeTypeEntry* EffectCatalogue::find(std::string_view name) {
    for (const NodeTypeEntry& entry : allNodeTypes()) {
        if (equalIgnoringCase(entry.shortName, name) || equalIgnoringCase(entry.typeName(), name)) {
            return &entry;
        }
    }
    return nullptr;
}

}  // namespace ostrana::extensions::audioeffects
