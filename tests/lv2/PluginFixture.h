#pragma once

#include <gtest/gtest.h>
#include <lilv/lilv.h>

#include <string>

#include "BundleWorld.h"
#include "ExpectedPlugins.h"

namespace ostrana::lv2::testing {

// A test of one plug-in as lilv reads it from the build's bundle.
class PluginFixture : public ::testing::TestWithParam<ExpectedPlugin> {
  protected:
    BundleWorld world_;
    const LilvPlugin* plugin_ = nullptr;

    void SetUp() override {
        plugin_ = world_.plugin(GetParam().uri);
        ASSERT_NE(plugin_, nullptr);
    }
    // The port of this symbol, or nullptr.
    const LilvPort* port(const std::string& symbol) {
        LilvNode* node = lilv_new_string(world_.world(), symbol.c_str());
        const LilvPort* found = lilv_plugin_get_port_by_symbol(plugin_, node);
        lilv_node_free(node);
        return found;
    }
};

}  // namespace ostrana::lv2::testing
