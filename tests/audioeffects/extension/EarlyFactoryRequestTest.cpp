// A host that asks a newly registered extension for its node factory at once, from inside the
// registration, while the effects library is still being loaded.
#include <gtest/gtest.h>

#include <dlfcn.h>

#include <memory>
#include <string>
#include <vector>

#include <ostrana/sdk/ExtensionManager.h>

#include "audioeffects/extension/ExpectedNodeTypes.h"
#include "audioeffects/extension/LoadedExtensions.h"

using ostrana::Extension;
using ostrana::ExtensionManager;
using ostrana::NodeFactory;
using ostrana::NodeTypeInfo;
using ostrana::XVAnyMap;
using namespace ostrana::testing;

namespace {

// What the host saw from inside its registration observer.
struct EarlyLook {
    int registrations = 0;
    bool duringLoad = false;
    std::string prefix;
    std::vector<NodeTypeInfo> nodeTypes;
    std::vector<std::string> creationErrors;
    int nodesCreated = 0;
};

void lookAtFactory(const std::shared_ptr<Extension>& extension, bool loading, EarlyLook& look) {
    ++look.registrations;
    look.duringLoad = loading;
    const std::shared_ptr<NodeFactory> factory = extension->getNodeFactory();
    look.prefix = factory->getNodeTypePrefix();
    look.nodeTypes = factory->getNodeTypes();
    for (const NodeTypeInfo& info : look.nodeTypes) {
        auto node = factory->createNode(info.getFQTypeName(), XVAnyMap{});
        if (node.isOk()) {
            ++look.nodesCreated;
        } else {
            look.creationErrors.push_back(node.errorMessage());
        }
    }
}

}  // namespace

TEST(EarlyFactoryRequest, GivesEveryCompleteDescriptorWhileTheLibraryLoads) {
    ExtensionManager& manager = ExtensionManager::getInstance();
    ASSERT_EQ(dlsym(RTLD_DEFAULT, "xv_extension_load"), nullptr)
        << "this program must not be linked against the effects library";
    bool loading = false;
    EarlyLook look;
    manager.setRegistrationObserver([&](const std::shared_ptr<Extension>& extension) {
        lookAtFactory(extension, loading, look);
    });
    loading = true;
    const auto loaded = manager.loadLibrary(OSTRANA_AUDIO_EFFECTS_LIBRARY);
    loading = false;
    manager.setRegistrationObserver(nullptr);
    ASSERT_TRUE(loaded.isOk()) << loaded.errorMessage();

    ASSERT_EQ(look.registrations, 1);
    EXPECT_TRUE(look.duringLoad);
    EXPECT_EQ(look.prefix, "AudioEffects");
    const std::vector<NodeTypeInfo> expected = expectedEffectNodeTypes(look.nodeTypes);
    ASSERT_EQ(look.nodeTypes.size(), expected.size());
    for (std::size_t i = 0; i < expected.size(); ++i) {
        EXPECT_EQ(nodeTypeDifferences(look.nodeTypes[i], expected[i]), "")
            << "node type " << i << " (" << expected[i].getFQTypeName() << ")";
    }
    EXPECT_EQ(look.nodesCreated, static_cast<int>(expected.size()));
    EXPECT_TRUE(look.creationErrors.empty()) << look.creationErrors.front();
}
