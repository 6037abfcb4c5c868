#pragma once

#include <initializer_list>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include <ostrana/sdk/Export.h>
#include <ostrana/sdk/LanguageVersion.h>
#include <ostrana/sdk/XVAny.h>

namespace ostrana {

// Thrown by XVAnyMap::at for a key that the map does not hold; the message names the key.
class OSTRANA_SDK_EXPORT XVAnyMapKeyError : public std::out_of_range {
  public:
    using std::out_of_range::out_of_range;
};

// An owning map from text keys to values. Keys compare exactly (case matters). Entries keep
// the order in which they were first given; a key given again replaces the earlier value in
// place.
class OSTRANA_SDK_EXPORT XVAnyMap {
  public:
    using Entry = std::pair<std::string, XVAny>;

    XVAnyMap() = default;
    XVAnyMap(std::initializer_list<Entry> entries);

    bool hasKey(const std::string& key) const;
    // A copy of the value under key; throws XVAnyMapKeyError when there is none.
    XVAny at(const std::string& key) const;
    void set(const std::string& key, const XVAny& value);

    std::size_t size() const { return entries_.size(); }
    bool empty() const { return entries_.empty(); }
    std::vector<Entry>::const_iterator begin() const { return entries_.begin(); }
    std::vector<Entry>::const_iterator end() const { return entries_.end(); }

    friend bool operator==(const XVAnyMap& a, const XVAnyMap& b) {
        return a.entries_ == b.entries_;
    }

  private:
    // The index of key's entry, or size() when there is none.
    std::size_t find(const std::string& key) const;

    std::vector<Entry> entries_;
};

}  // namespace ostrana
