#pragma once

#include <string>
#include <vector>

namespace ostrana::fx {

// "Did you mean" help for misspelt words: the closest candidate by edit distance, ignoring
// case, when it is close enough to be a likely misspelling.
class Suggestion {
  public:
    // The closest candidate, or "" when none is close.
    static std::string closest(const std::string& word, const std::vector<std::string>& candidates);
    // "; did you mean 'delayMs'?" for messages, or "".
    static std::string didYouMean(const std::string& word,
                                  const std::vector<std::string>& candidates);

  private:
    static std::size_t distance(const std::string& a, const std::string& b);
};

}  // namespace ostrana::fx
