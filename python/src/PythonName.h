#pragma once

#include <string>
#include <string_view>

namespace ostrana::python {

// The name Python code uses for a catalogue parameter: the parameter's name in snake_case
// ("delayMs" -> "delay_ms", "enabled" -> "enabled").
class PythonName {
  public:
    static std::string of(std::string_view parameterName);
};

}  // namespace ostrana::python
