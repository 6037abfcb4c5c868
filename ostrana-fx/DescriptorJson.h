#pragma once

#include <nlohmann/json.hpp>

#include <ostrana/sdk/NodeTypeInfo.h>
#include <ostrana/sdk/XVAny.h>
#include <ostrana/sdk/XVAnyMap.h>

namespace ostrana::fx {

// Writes node type descriptors as JSON objects keyed with the schema vocabulary's
// object-type keys, keeping the order of the record and of its maps. Values keep their own
// JSON types: a bool is a boolean, an int an integer, a float a number, a map an object.
class DescriptorJson {
  public:
    static nlohmann::ordered_json fromNodeTypeInfo(const NodeTypeInfo& info);
    static nlohmann::ordered_json fromMap(const XVAnyMap& map);
    static nlohmann::ordered_json fromValue(const XVAny& value);

  private:
    // The float as the shortest decimal that reads back as the same float, held as a JSON
    // number: 0.99f is written 0.99, not 0.9900000095367432.
    static nlohmann::ordered_json fromFloat(float value);
};

}  // namespace ostrana::fx
