#include <gtest/gtest.h>

#include <algorithm>
#include <string>

#include <ostrana/sdk/ExtensionManager.h>

#include "sdk/TestExtension.h"

using ostrana::Extension;
using ostrana::ExtensionManager;
using ostrana::XVAny;
using ostrana::XVAnyMap;
using ostrana::testing::TestExtension;

namespace {

ExtensionManager& manager() {
    return ExtensionManager::getInstance();
}

}  // namespace

TEST(Extension, DefaultInitializeAndDeinitializeSucceed) {
    TestExtension extension("Defaults");
    EXPECT_TRUE(extension.initialize(XVAnyMap{}).isOk());
    EXPECT_TRUE(extension.initialize(XVAnyMap{{"anything", XVAny(1)}, {"x", XVAny("y")}}).isOk());
    EXPECT_TRUE(extension.deinitialize().isOk());
    EXPECT_EQ(extension.getObjectType(), "extension");
}

TEST(ExtensionManager, IsOneObjectPerProcess) {
    EXPECT_EQ(&manager(), &ExtensionManager::getInstance());
}

TEST(ExtensionManager, KeepsEveryRegistrationInOrderEvenWithTheSameName) {
    const std::size_t before = manager().getExtensions().size();
    auto first = std::make_shared<TestExtension>("Twice");
    auto second = std::make_shared<TestExtension>("Twice");
    EXPECT_TRUE(manager().registerExtension(first).isOk());
    EXPECT_TRUE(manager().registerExtension(second).isOk());
    const auto extensions = manager().getExtensions();
    ASSERT_EQ(extensions.size(), before + 2);
    EXPECT_EQ(extensions[before], first);
    EXPECT_EQ(extensions[before + 1], second);
    EXPECT_EQ(manager().findExtension("Twice"), first);
    EXPECT_EQ(manager().findExtension("Nobody"), nullptr);
}

TEST(ExtensionManager, RefusesAnEmptyExtension) {
    const std::size_t before = manager().getExtensions().size();
    EXPECT_FALSE(manager().registerExtension(nullptr).isOk());
    EXPECT_EQ(manager().getExtensions().size(), before);
}

TEST(ExtensionManager, TellsTheObserverOfEachRegistration) {
    std::shared_ptr<Extension> seen;
    manager().setRegistrationObserver(
        [&seen](const std::shared_ptr<Extension>& extension) { seen = extension; });
    auto extension = std::make_shared<TestExtension>("Observed");
    manager().registerExtension(extension);
    manager().setRegistrationObserver(nullptr);
    EXPECT_EQ(seen, extension);
}

TEST(ExtensionManager, CreatesNodesByTypeAcrossExtensions) {
    manager().registerExtension(std::make_shared<TestExtension>("Maker"));
    auto node = manager().createNode("Maker.Probe", XVAnyMap{});
    ASSERT_TRUE(node.isOk()) << node.errorMessage();
    EXPECT_EQ(node.value()->getObjectType(), "Maker-probe");
    const auto info = manager().findNodeType("Maker.Probe");
    ASSERT_TRUE(info.isOk());
    EXPECT_EQ(info.value().subtype, "Probe");
    const auto names = manager().getNodeTypeNames();
    EXPECT_NE(std::find(names.begin(), names.end(), "Maker.Probe"), names.end());
}

TEST(ExtensionManager, UnknownNodeTypeIsAnErrorNamingIt) {
    manager().registerExtension(std::make_shared<TestExtension>("Known"));
    const auto node = manager().createNode("Nowhere.Thing", XVAnyMap{});
    EXPECT_FALSE(node.isOk());
    EXPECT_NE(node.errorMessage().find("'Nowhere.Thing'"), std::string::npos);
    EXPECT_NE(node.errorMessage().find("Known.Probe"), std::string::npos);
    EXPECT_FALSE(manager().findNodeType("Nowhere.Thing").isOk());
}

TEST(ExtensionManager, CreatesNodesByANameInAnotherCaseOrWithoutThePrefix) {
    // A subtype no other test registers: the tests share the process's one manager.
    manager().registerExtension(std::make_shared<TestExtension>("Loose", "Unique"));
    for (const char* name : {"loose.unique", "LOOSE.UNIQUE", "Loose.unique", "unique", "UNIQUE"}) {
        auto node = manager().createNode(name, XVAnyMap{});
        ASSERT_TRUE(node.isOk()) << name << ": " << node.errorMessage();
        EXPECT_EQ(node.value()->getObjectType(), "Loose-probe") << name;
    }
}

TEST(ExtensionManager, RefusesAShortNameThatSeveralTypesShare) {
    manager().registerExtension(std::make_shared<TestExtension>("First"));
    manager().registerExtension(std::make_shared<TestExtension>("Second"));
    const auto node = manager().createNode("probe", XVAnyMap{});
    ASSERT_FALSE(node.isOk());
    EXPECT_NE(node.errorMessage().find("ambiguous"), std::string::npos) << node.errorMessage();
    EXPECT_NE(node.errorMessage().find("First.Probe"), std::string::npos);
    EXPECT_NE(node.errorMessage().find("Second.Probe"), std::string::npos);
    // The full name still chooses one.
    auto second = manager().createNode("second.probe", XVAnyMap{});
    ASSERT_TRUE(second.isOk()) << second.errorMessage();
    EXPECT_EQ(second.value()->getObjectType(), "Second-probe");
}

TEST(ExtensionManager, FailedLoadCarriesTheLoadersMessage) {
    const auto result = manager().loadLibrary("/nonexistent/libNothing.so");
    ASSERT_FALSE(result.isOk());
    EXPECT_NE(result.errorMessage().find("/nonexistent/libNothing.so"), std::string::npos);
    EXPECT_NE(result.errorMessage().find("cannot open shared object file"), std::string::npos);
}

TEST(ExtensionManager, LoadingALibraryRunsItsRegistration) {
    std::string seenName;
    manager().setRegistrationObserver([&seenName](const std::shared_ptr<Extension>& extension) {
        seenName = extension->getName();
    });
    const auto result = manager().loadLibrary(LOADABLE_EXTENSION_PATH);
    manager().setRegistrationObserver(nullptr);
    ASSERT_TRUE(result.isOk()) << result.errorMessage();
    EXPECT_EQ(seenName, "Loadable");
    ASSERT_NE(manager().findExtension("Loadable"), nullptr);
    EXPECT_TRUE(manager().createNode("Loadable.Probe", XVAnyMap{}).isOk());
}
