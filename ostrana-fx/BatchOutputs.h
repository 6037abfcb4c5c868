#pragma once

#include <string>
#include <vector>

namespace ostrana::fx {

// Where each input of a batch (--output-dir) is written, worked out and checked before any
// audio is read: two inputs that would land on one file, or an output that would replace one
// of the inputs, refuse the whole batch.
class BatchOutputs {
  public:
    struct Entry {
        std::string input;
        std::string output;
    };

    // directory/NAME for each input: its file name, with the --type extension if one is given
    // and suffix ("-fx") added to its stem.
    static std::vector<Entry> plan(const std::vector<std::string>& inputs,
                                   const std::string& directory, const std::string& typeName,
                                   const std::string& suffix);
    // Throws a usage CommandError when two entries share an output, or (unless replaceInputs)
    // when an output is one of the inputs.
    static void check(const std::vector<Entry>& entries, bool replaceInputs);
};

}  // namespace ostrana::fx
