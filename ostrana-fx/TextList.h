#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace ostrana::fx {

// Lists of words in messages: "a, b, c", or with a word before the last, "1, 2 or 3".
class TextList {
  public:
    // items joined with separator, and with lastSeparator before the last; emptyText when
    // there are none.
    static std::string join(const std::vector<std::string>& items,
                            std::string_view separator = ", ",
                            std::string_view lastSeparator = ", ",
                            std::string_view emptyText = "none");
};

}  // namespace ostrana::fx
