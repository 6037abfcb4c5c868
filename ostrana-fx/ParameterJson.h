#pragma once

#include <nlohmann/json.hpp>

#include <ostrana/audioeffects/ParameterDefinition.h>

namespace ostrana::fx {

// A parameter value as JSON: true/false, a whole number, or a real number written as the
// shortest decimal that reads back as the float (0.2, not 0.20000000298023224, the float
// widened to a double).
nlohmann::json parameterJson(const extensions::audioeffects::ParameterValue& value);

}  // namespace ostrana::fx
