// The order of the virtual operations is part of the binary contract between the host and
// extension libraries built apart. Under the Itanium C++ ABI (GCC and Clang on Linux and
// macOS) a pointer to a virtual member function holds 1 + its byte offset in the virtual
// table, so each operation's slot can be read back from it.
#include <gtest/gtest.h>

#include <cstddef>
#include <cstring>

#include <ostrana/sdk/Extension.h>
#include <ostrana/sdk/Node.h>
#include <ostrana/sdk/NodeFactory.h>
#include <ostrana/sdk/OstranaObject.h>
#include <ostrana/sdk/SingleBusAudioProcessorNode.h>

using namespace ostrana;

namespace {

template <typename MemberFunction>
std::ptrdiff_t slotOf(MemberFunction function) {
    static_assert(sizeof(function) == 2 * sizeof(std::ptrdiff_t));
    std::ptrdiff_t representation[2];
    std::memcpy(representation, &function, sizeof(function));
    const std::ptrdiff_t offset = representation[0] - 1;
    return offset / static_cast<std::ptrdiff_t>(sizeof(void*));
}

}  // namespace

#if defined(__GXX_ABI_VERSION) && !defined(__arm__) && !defined(__aarch64__)

TEST(VirtualSlotOrder, ObjectOperationsFollowTheDestructor) {
    EXPECT_EQ(slotOf(&OstranaObject::setValue), 2);
    EXPECT_EQ(slotOf(&OstranaObject::getValue), 3);
    EXPECT_EQ(slotOf(&OstranaObject::callAction), 4);
    EXPECT_EQ(slotOf(&Node::getValue), 3);
    EXPECT_EQ(slotOf(&Node::callAction), 4);
}

TEST(VirtualSlotOrder, ExtensionAddsFiveOperations) {
    EXPECT_EQ(slotOf(&Extension::setValue), 2);
    EXPECT_EQ(slotOf(&Extension::initialize), 5);
    EXPECT_EQ(slotOf(&Extension::deinitialize), 6);
    EXPECT_EQ(slotOf(&Extension::getName), 7);
    EXPECT_EQ(slotOf(&Extension::getDescription), 8);
    EXPECT_EQ(slotOf(&Extension::getNodeFactory), 9);
}

TEST(VirtualSlotOrder, FactoryOperations) {
    EXPECT_EQ(slotOf(&NodeFactory::getNodeTypePrefix), 2);
    EXPECT_EQ(slotOf(&NodeFactory::getNodeTypes), 3);
    EXPECT_EQ(slotOf(&NodeFactory::createNode), 4);
}

TEST(VirtualSlotOrder, AudioNodeOperationsContinueFromSlotFive) {
    using Node1 = SingleBusAudioProcessorNode;
    EXPECT_EQ(slotOf(&Node1::setValue), 2);
    EXPECT_EQ(slotOf(&Node1::getValue), 3);
    EXPECT_EQ(slotOf(&Node1::callAction), 4);
    EXPECT_EQ(slotOf(&AudioNode::getDisplayName), 5);
    EXPECT_EQ(slotOf(&AudioNode::onGraphStart), 6);
    EXPECT_EQ(slotOf(&AudioNode::onGraphStop), 7);
    EXPECT_EQ(slotOf(&AudioNode::setBusFormats), 8);
    EXPECT_EQ(
        slotOf(static_cast<bool (AudioNode::*)(AudioBusList&, AudioBusList&)>(&AudioNode::process)),
        9);
    EXPECT_EQ(slotOf(&Node1::setBusFormat), 10);
    EXPECT_EQ(slotOf(static_cast<bool (Node1::*)(AudioBus&, AudioBus&)>(&Node1::process)), 11);
}

#endif
