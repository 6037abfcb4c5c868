#include "TextList.h"

namespace ostrana::fx {

std::string TextList::join(const std::vector<std::string>& items, std::string_view separator,
                           std::string_view lastSeparator, std::string_view emptyText) {
    if (items.empty()) return std::string(emptyText);
    std::string text = items.front();
    for (std::size_t i = 1; i < items.size(); ++i) {
        text += i + 1 == items.size() ? lastSeparator : separator;
        text += items[i];
    }
    return text;
}

}  // namespace ostrana::fx
