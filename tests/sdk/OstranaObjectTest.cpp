#include <gtest/gtest.h>

#include <string>

#include <ostrana/sdk/Node.h>
#include <ostrana/sdk/OstranaObject.h>

using ostrana::Node;
using ostrana::OstranaObject;
using ostrana::Result;
using ostrana::XVAny;
using ostrana::XVAnyMap;

namespace {

// An object with one float property "dryMix" backed by a member, as a node would register it.
class MixObject : public OstranaObject {
  public:
    MixObject() : OstranaObject("mixer") {
        registerProperty("dryMix", XVAnyMap{{"type", XVAny("float")}, {"default", XVAny(0.7f)}},
                         XVAny(XVAny::Getter([this] { return Result<XVAny>(XVAny(dryMix)); })),
                         XVAny(XVAny::Setter([this](const XVAny& value) {
                             ++setterCalls;
                             dryMix = XVAny::convert<float>(value);
                             return Result<void>();
                         })));
    }
    float dryMix = 0.7f;
    int setterCalls = 0;
};

}  // namespace

TEST(OstranaObject, CarriesItsTypeName) {
    EXPECT_EQ(MixObject().getObjectType(), "mixer");
    EXPECT_EQ(Node().getObjectType(), "node");
}

TEST(OstranaObject, SetValueReachesTheSetterAndGetValueReturnsTheGetters) {
    MixObject object;
    EXPECT_TRUE(object.setValue("dryMix", XVAny(0.5f)).isOk());
    EXPECT_EQ(object.setterCalls, 1);
    EXPECT_EQ(object.dryMix, 0.5f);
    const Result<XVAny> value = object.getValue("dryMix");
    ASSERT_TRUE(value.isOk());
    EXPECT_EQ(XVAny::convert<float>(value.value()), 0.5f);
    object.dryMix = 0.125f;
    EXPECT_EQ(XVAny::convert<float>(object.getValue("dryMix").value()), 0.125f);
}

TEST(OstranaObject, UnknownPropertyIsAnErrorNamingPropertyAndType) {
    MixObject object;
    const Result<XVAny> got = object.getValue("wetMix");
    EXPECT_FALSE(got.isOk());
    EXPECT_NE(got.errorMessage().find("'wetMix'"), std::string::npos);
    EXPECT_NE(got.errorMessage().find("'mixer'"), std::string::npos);
    const Result<void> set = object.setValue("DryMix", XVAny(1.0f));
    EXPECT_FALSE(set.isOk());
    EXPECT_NE(set.errorMessage().find("'DryMix'"), std::string::npos);
    EXPECT_EQ(object.setterCalls, 0);
}

TEST(OstranaObject, UnsuitableValueIsAnErrorNotAThrow) {
    MixObject object;
    const Result<void> set = object.setValue("dryMix", XVAny("loud"));
    EXPECT_FALSE(set.isOk());
    EXPECT_NE(set.errorMessage().find("'dryMix'"), std::string::npos);
    EXPECT_NE(set.errorMessage().find("'string'"), std::string::npos);
    EXPECT_EQ(object.dryMix, 0.7f);
}

TEST(OstranaObject, ActionsAreErrorsUnlessProvided) {
    MixObject object;
    const Result<XVAny> result = object.callAction("reset", XVAnyMap{});
    EXPECT_FALSE(result.isOk());
    EXPECT_NE(result.errorMessage().find("'reset'"), std::string::npos);
    Node node;
    EXPECT_FALSE(node.callAction("start", XVAnyMap{}).isOk());
    EXPECT_FALSE(node.getValue("anything").isOk());
}

TEST(OstranaObject, ListsPropertiesWithSchemasInRegistrationOrder) {
    MixObject object;
    object.registerProperty("level", XVAnyMap{{"type", XVAny("int")}},
                            XVAny(XVAny::Getter([] { return Result<XVAny>(XVAny(3)); })),
                            XVAny(XVAny::Setter([](const XVAny&) { return Result<void>(); })));
    const auto properties = object.getProperties();
    ASSERT_EQ(properties.size(), 2u);
    EXPECT_EQ(properties[0].name, "dryMix");
    EXPECT_EQ(XVAny::convert<std::string>(properties[0].schema.at("type")), "float");
    EXPECT_EQ(properties[1].name, "level");
    EXPECT_TRUE(object.hasProperty("level"));
    EXPECT_FALSE(object.hasProperty("Level"));
}

TEST(OstranaObject, RegisteringANameAgainReplacesIt) {
    MixObject object;
    object.registerProperty("dryMix", XVAnyMap{},
                            XVAny(XVAny::Getter([] { return Result<XVAny>(XVAny(42)); })),
                            XVAny(XVAny::Setter([](const XVAny&) { return Result<void>(); })));
    EXPECT_EQ(object.getProperties().size(), 1u);
    EXPECT_EQ(XVAny::convert<int>(object.getValue("dryMix").value()), 42);
}

TEST(OstranaObject, RegistrationNeedsFunctions) {
    MixObject object;
    const Result<void> result = object.registerProperty("bad", XVAnyMap{}, XVAny(1), XVAny(2));
    EXPECT_FALSE(result.isOk());
    EXPECT_FALSE(object.hasProperty("bad"));
}
