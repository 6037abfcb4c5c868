#pragma once

#include <memory>
#include <string>

#include <ostrana/sdk/Extension.h>
#include <ostrana/sdk/NodeFactory.h>

namespace ostrana::testing {

// A small extension for host tests: named as given, with one node type "<name>.Probe".
class TestExtension : public Extension {
  public:
    // An extension of this name whose factory makes one node type, name.subtype.
    explicit TestExtension(std::string name, std::string subtype = "Probe")
        : name_(std::move(name)), subtype_(std::move(subtype)) {}
    std::string getName() override { return name_; }
    std::string getDescription() override { return "Extension for tests."; }
    std::shared_ptr<NodeFactory> getNodeFactory() override;

  private:
    std::string name_;
    std::string subtype_;
};

}  // namespace ostrana::testing
