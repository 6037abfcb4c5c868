#include "BundleWorld.h"

#include "ExpectedPlugins.h"

namespace ostrana::lv2::testing {

namespace {

void loadBundle(LilvWorld* world, const std::string& directory) {
    LilvNode* bundle = lilv_new_file_uri(world, nullptr, directory.c_str());
    lilv_world_load_bundle(world, bundle);
    lilv_node_free(bundle);
}

}  // namespace

BundleWorld::BundleWorld() : world_(lilv_world_new()) {
    // LV2's core vocabulary (the files its bundle's manifest names), for the plug-in classes.
    loadBundle(world_, OSTRANA_LV2_CORE_BUNDLE "/");
    LilvNode* core = lilv_new_uri(world_, "http://lv2plug.in/ns/lv2core");
    lilv_world_load_resource(world_, core);
    lilv_node_free(core);
    lilv_world_load_plugin_classes(world_);
    loadBundle(world_, bundleDirectory());
}

BundleWorld::~BundleWorld() {
    for (LilvNode* node : nodes_) lilv_node_free(node);
    lilv_world_free(world_);
}

const LilvPlugin* BundleWorld::plugin(const std::string& uri) const {
    LilvNode* node = lilv_new_uri(world_, uri.c_str());
    const LilvPlugin* found = lilv_plugins_get_by_uri(lilv_world_get_all_plugins(world_), node);
    lilv_node_free(node);
    return found;
}

std::vector<std::string> BundleWorld::pluginUris() const {
    std::vector<std::string> uris;
    const LilvPlugins* plugins = lilv_world_get_all_plugins(world_);
    LILV_FOREACH(plugins, i, plugins) {
        uris.emplace_back(lilv_node_as_uri(lilv_plugin_get_uri(lilv_plugins_get(plugins, i))));
    }
    return uris;
}

const LilvNode* BundleWorld::uri(const std::string& text) {
    nodes_.push_back(lilv_new_uri(world_, text.c_str()));
    return nodes_.back();
}

}  // namespace ostrana::lv2::testing
