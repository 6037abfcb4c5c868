#pragma once

#include <string>

#include <ostrana/sdk/Result.h>
#include <ostrana/sdk/XVAny.h>

#include "ParameterBinding.h"

namespace ostrana::fx {

// Reads a parameter value written on the command line. Booleans are "true", "false", "1" or
// "0"; whole numbers are plain decimal digits; numbers are decimal, with an optional sign,
// fraction and exponent. Anything else, and numbers that do not fit the type, are refused
// with a reason.
class ParameterValueParser {
  public:
    static Result<XVAny> parse(ParameterKind kind, const std::string& text);

  private:
    static Result<XVAny> parseBoolean(const std::string& text);
    static Result<XVAny> parseUnsignedInteger(const std::string& text);
    static Result<XVAny> parseFloat(const std::string& text);
    static bool isDecimalNumber(const std::string& text);
};

}  // namespace ostrana::fx
