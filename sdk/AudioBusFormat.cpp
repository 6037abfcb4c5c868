#include <ostrana/sdk/AudioBusFormat.h>

namespace ostrana {

namespace {

bool fieldsAgree(unsigned int a, unsigned int b) {
    return a == 0 || b == 0 || a == b;
}

void settle(unsigned int& a, unsigned int& b) {
    if (a == 0) a = b;
    if (b == 0) b = a;
}

}  // namespace

bool AudioBusFormat::matchBusFormats(AudioBusFormat& a, AudioBusFormat& b) {
    if (!fieldsAgree(a.numberOfChannels, b.numberOfChannels) ||
        !fieldsAgree(a.sampleRate, b.sampleRate) ||
        !fieldsAgree(a.numberOfFrames, b.numberOfFrames)) {
        return false;
    }
    settle(a.numberOfChannels, b.numberOfChannels);
    settle(a.sampleRate, b.sampleRate);
    settle(a.numberOfFrames, b.numberOfFrames);
    return true;
}

}  // namespace ostrana
