#pragma once

#include <functional>
#include <string>

#include <ostrana/sdk/Node.h>
#include <ostrana/sdk/Result.h>
#include <ostrana/sdk/XVAny.h>

namespace ostrana::fx {

// How a parameter's text is read from the command line, and the XVAny kind it becomes.
enum class ParameterKind {
    Boolean,          // "true", "false", "1" or "0"; an XVAny holding a bool
    UnsignedInteger,  // a decimal whole number; an XVAny holding an unsigned int
    Float,            // a decimal number; an XVAny holding a float
};

// One settable parameter of a node type: its name, its kind, and how to store a parsed value
// into a node of that type.
struct ParameterBinding {
    using Store = std::function<Result<void>(Node& node, const XVAny& value)>;

    std::string name;
    ParameterKind kind;
    Store store;
};

}  // namespace ostrana::fx
