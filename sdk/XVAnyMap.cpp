#include <ostrana/sdk/XVAnyMap.h>

namespace ostrana {

XVAnyMap::XVAnyMap(std::initializer_list<Entry> entries) {
    entries_.reserve(entries.size());
    for (const Entry& entry : entries) set(entry.first, entry.second);
}

std::size_t XVAnyMap::find(const std::string& key) const {
    for (std::size_t index = 0; index < entries_.size(); ++index) {
        if (entries_[index].first == key) return index;
    }
    return entries_.size();
}

bool XVAnyMap::hasKey(const std::string& key) const {
    return find(key) < entries_.size();
}

XVAny XVAnyMap::at(const std::string& key) const {
    const std::size_t index = find(key);
    if (index == entries_.size()) {
        throw XVAnyMapKeyError("XVAnyMap: no entry with key '" + key + "'");
    }
    return entries_[index].second;
}

void XVAnyMap::set(const std::string& key, const XVAny& value) {
    const std::size_t index = find(key);
    if (index < entries_.size()) {
        entries_[index].second = value;
    } else {
        entries_.emplace_back(key, value);
    }
}

}  // namespace ostrana
