#include "CreateByName.h"

#include <cstdio>

#include <ostrana/sdk/ExtensionManager.h>
#include <ostrana/sdk/XVAnyMap.h>

int createEveryTypeByName() {
    const char* const types[] = {"AudioEffects.Delay", "AudioEffects.PingPongDelay",
                                 "AudioEffects.Vibrato", "AudioEffects.Flanger",
                                 "AudioEffects.Chorus"};
    int failures = 0;
    for (const char* type : types) {
        auto node = ostrana::ExtensionManager::getInstance().createNode(type, ostrana::XVAnyMap());
        if (node.isOk() && node.value() != nullptr) {
            std::printf("created %s\n", type);
        } else {
            std::printf("failed %s: %s\n", type, node.errorMessage().c_str());
            ++failures;
        }
    }
    return failures;
}
