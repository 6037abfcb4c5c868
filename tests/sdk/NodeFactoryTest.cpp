#include <gtest/gtest.h>

#include <stdexcept>
#include <string>

#include <ostrana/sdk/NodeFactory.h>

using ostrana::Node;
using ostrana::NodeFactory;
using ostrana::NodeTypeInfo;
using ostrana::XVAny;
using ostrana::XVAnyMap;

namespace {

NodeTypeInfo typeInfo(const std::string& subtype) {
    NodeTypeInfo info;
    info.type = "Test";
    info.subtype = subtype;
    info.displayName = subtype + " node";
    return info;
}

// A node that remembers the configuration it was made with.
class ConfiguredNode : public Node {
  public:
    explicit ConfiguredNode(const XVAnyMap& config) : config(config) {}
    XVAnyMap config;
};

class TestFactory : public NodeFactory {
  public:
    TestFactory() {
        registerNode(typeInfo("B"),
                     [](const XVAnyMap& config) { return new ConfiguredNode(config); });
        registerNode(typeInfo("A"), [](const XVAnyMap&) { return new Node("a-node"); });
        registerNode(typeInfo("Throwing"),
                     [](const XVAnyMap&) -> Node* { throw std::runtime_error("no memory"); });
        registerNode(typeInfo("Null"), [](const XVAnyMap&) -> Node* { return nullptr; });
    }
    std::string getNodeTypePrefix() override { return "Test"; }
};

}  // namespace

TEST(NodeFactory, ListsDescriptorsInRegistrationOrder) {
    TestFactory factory;
    const auto types = factory.getNodeTypes();
    ASSERT_EQ(types.size(), 4u);
    EXPECT_EQ(types[0].getFQTypeName(), "Test.B");
    EXPECT_EQ(types[1].getFQTypeName(), "Test.A");
    EXPECT_EQ(types[1].displayName, "A node");
    EXPECT_TRUE(factory.hasNodeType("Test.A"));
    EXPECT_FALSE(factory.hasNodeType("A"));
}

TEST(NodeFactory, KeepsItsOwnCopyOfEachDescriptor) {
    TestFactory factory;
    auto types = factory.getNodeTypes();
    types[0].subtype = "Changed";
    EXPECT_EQ(factory.getNodeTypes()[0].subtype, "B");
}

TEST(NodeFactory, CreatesByFullyQualifiedNamePassingTheConfiguration) {
    TestFactory factory;
    const XVAnyMap config{{"gain", XVAny(0.5f)}};
    auto result = factory.createNode("Test.B", config);
    ASSERT_TRUE(result.isOk()) << result.errorMessage();
    auto* node = dynamic_cast<ConfiguredNode*>(result.value().get());
    ASSERT_NE(node, nullptr);
    EXPECT_EQ(node->config, config);
    auto other = factory.createNode("Test.A", XVAnyMap{});
    ASSERT_TRUE(other.isOk());
    EXPECT_EQ(other.value()->getObjectType(), "a-node");
}

TEST(NodeFactory, UnknownTypeIsAnErrorNamingIt) {
    TestFactory factory;
    const auto result = factory.createNode("Test.Missing", XVAnyMap{});
    EXPECT_FALSE(result.isOk());
    EXPECT_NE(result.errorMessage().find("'Test.Missing'"), std::string::npos);
    EXPECT_NE(result.errorMessage().find("Test.B"), std::string::npos);
}

TEST(NodeFactory, FailingCreationIsAnError) {
    TestFactory factory;
    const auto thrown = factory.createNode("Test.Throwing", XVAnyMap{});
    EXPECT_FALSE(thrown.isOk());
    EXPECT_NE(thrown.errorMessage().find("no memory"), std::string::npos);
    EXPECT_FALSE(factory.createNode("Test.Null", XVAnyMap{}).isOk());
}
