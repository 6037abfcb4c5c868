#pragma once

#include <string>

#include <ostrana/audioeffects/ParameterDefinition.h>
#include <ostrana/sdk/Result.h>

namespace ostrana::fx {

using extensions::audioeffects::ParameterKind;
using extensions::audioeffects::ParameterValue;

// Reads a parameter value written on the command line. Switches are true/false, yes/no, on/off
// or 1/0 in any case; whole numbers are plain decimal digits; numbers are decimal, with an optional
// sign, fraction and exponent. Anything else, and numbers that do not fit the type, are refused
// with a reason.
class ParameterValueParser {
  public:
    static Result<ParameterValue> parse(ParameterKind kind, const std::string& text);

  private:
    static Result<ParameterValue> parseBoolean(const std::string& text);
    static Result<ParameterValue> parseUnsignedInteger(const std::string& text);
    static Result<ParameterValue> parseFloat(const std::string& text);
    static bool isDecimalNumber(const std::string& text);
};

}  // namespace ostrana::fx
