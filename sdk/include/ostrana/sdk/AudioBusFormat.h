#pragma once

#include <ostrana/sdk/Export.h>
#include <ostrana/sdk/LanguageVersion.h>

namespace ostrana {

// The format of one bus as negotiated before processing. A field left 0 is "not decided".
struct OSTRANA_SDK_EXPORT AudioBusFormat {
    unsigned int numberOfChannels = 0;
    unsigned int sampleRate = 0;
    unsigned int numberOfFrames = 0;

    // Makes a and b agree. Field by field: two equal values agree; a 0 on one side takes the
    // other side's value; two different non-zero values do not agree. Returns whether every
    // field agrees; when one does not, neither format is changed.
    static bool matchBusFormats(AudioBusFormat& a, AudioBusFormat& b);
};

}  // namespace ostrana
