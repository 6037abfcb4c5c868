#pragma once

#include <string>

#include <ostrana/sdk/AudioBusList.h>
#include <ostrana/sdk/Export.h>
#include <ostrana/sdk/LanguageVersion.h>
#include <ostrana/sdk/Node.h>

namespace ostrana {

// A node that processes audio: it has a number of input and output buses, agrees their
// formats before processing, then processes one block at a time on the audio thread.
class OSTRANA_SDK_EXPORT AudioNode : public Node {
  public:
    AudioNode(unsigned int numberOfInputs, unsigned int numberOfOutputs);
    ~AudioNode() override;

    virtual std::string getDisplayName() const;
    virtual void onGraphStart();
    virtual void onGraphStop();
    // Offers one format per bus; returns whether the node accepts them.
    virtual bool setBusFormats(AudioBusFormatList& inputBusFormats,
                               AudioBusFormatList& outputBusFormats) = 0;
    // Processes one block; returns false when the buses were refused and nothing was done.
    virtual bool process(AudioBusList& inBuses, AudioBusList& outBuses) = 0;

    unsigned int getNumberOfInputs() const { return numberOfInputs_; }
    unsigned int getNumberOfOutputs() const { return numberOfOutputs_; }

  private:
    unsigned int numberOfInputs_;
    unsigned int numberOfOutputs_;
};

}  // namespace ostrana
