#pragma once

#include <lilv/lilv.h>

#include <string>
#include <vector>

namespace ostrana::lv2::testing {

// A lilv world that knows the build's bundle and LV2's core vocabulary, nothing else.
class BundleWorld {
  public:
    BundleWorld();
    ~BundleWorld();
    BundleWorld(const BundleWorld&) = delete;
    BundleWorld& operator=(const BundleWorld&) = delete;

    LilvWorld* world() const { return world_; }
    // The plug-in of this URI, or nullptr.
    const LilvPlugin* plugin(const std::string& uri) const;
    std::vector<std::string> pluginUris() const;
    // A URI node the world keeps until it is destroyed.
    const LilvNode* uri(const std::string& text);

  private:
    LilvWorld* world_;
    std::vector<LilvNode*> nodes_;
};

}  // namespace ostrana::lv2::testing
