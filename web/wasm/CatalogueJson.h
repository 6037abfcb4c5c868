#pragma once

#include <string>

namespace ostrana::web {

// The catalogue as JSON, for the browser package: every node type with its short, full and
// display names, the channel counts it takes, and its parameters (name, kind, default, range,
// unit and description; numbers as the shortest decimals that read back as the same floats).
std::string catalogueJson();

}  // namespace ostrana::web
