#include "ParameterValueParser.h"

#include <cctype>
#include <charconv>
#include <cmath>
#include <system_error>

namespace ostrana::fx {

namespace {

bool isDigit(char c) {
    return std::isdigit(static_cast<unsigned char>(c)) != 0;
}

// Advances position over a run of digits; returns how many there were.
std::size_t skipDigits(const std::string& text, std::size_t& position) {
    const std::size_t start = position;
    while (position < text.size() && isDigit(text[position])) ++position;
    return position - start;
}

}  // namespace

Result<ParameterValue> ParameterValueParser::parse(ParameterKind kind, const std::string& text) {
    switch (kind) {
        case ParameterKind::Switch:
            return parseBoolean(text);
        case ParameterKind::WholeNumber:
            return parseUnsignedInteger(text);
        case ParameterKind::RealNumber:
            return parseFloat(text);
    }
    return Result<ParameterValue>::failure("unknown parameter kind");
}

Result<ParameterValue> ParameterValueParser::parseBoolean(const std::string& text) {
    std::string word;
    for (char c : text) word += static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    if (word == "true" || word == "yes" || word == "on" || word == "1") return ParameterValue(true);
    if (word == "false" || word == "no" || word == "off" || word == "0") {
        return ParameterValue(false);
    }
    return Result<ParameterValue>::failure("a switch is needed: true/false, yes/no, on/off or 1/0");
}

Result<ParameterValue> ParameterValueParser::parseUnsignedInteger(const std::string& signedText) {
    // A '+' sign is only decoration; a '-' one, a value below every whole number's range.
    const bool plus = !signedText.empty() && signedText[0] == '+';
    const std::string text = plus ? signedText.substr(1) : signedText;
    std::size_t position = 0;
    if (skipDigits(text, position) == 0 || position != text.size()) {
        std::size_t digitsAfterMinus = 1;
        if (!text.empty() && text[0] == '-' && skipDigits(text, digitsAfterMinus) > 0 &&
            digitsAfterMinus == text.size()) {
            return Result<ParameterValue>::failure(
                "a whole number from 0 is needed, not a "
                "negative one");
        }
        return Result<ParameterValue>::failure(
            isDecimalNumber(text) ? "a whole number is needed (no fraction or exponent)"
                                  : "a whole number is needed (decimal digits only)");
    }
    unsigned int value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error == std::errc::result_out_of_range) {
        return Result<ParameterValue>::failure("too large for an unsigned 32-bit integer");
    }
    if (error != std::errc() || end != text.data() + text.size()) {
        return Result<ParameterValue>::failure("a whole number is needed (decimal digits only)");
    }
    return ParameterValue(value);
}

bool ParameterValueParser::isDecimalNumber(const std::string& text) {
    std::size_t position = 0;
    if (position < text.size() && (text[position] == '+' || text[position] == '-')) ++position;
    std::size_t digits = skipDigits(text, position);
    if (position < text.size() && text[position] == '.') {
        ++position;
        digits += skipDigits(text, position);
    }
    if (digits == 0) return false;
    if (position < text.size() && (text[position] == 'e' || text[position] == 'E')) {
        ++position;
        if (position < text.size() && (text[position] == '+' || text[position] == '-')) ++position;
        if (skipDigits(text, position) == 0) return false;
    }
    return position == text.size();
}

Result<ParameterValue> ParameterValueParser::parseFloat(const std::string& text) {
    if (!isDecimalNumber(text))
        return Result<ParameterValue>::failure("a real number is needed, such as 0.5 or 2e-3");
    // from_chars does not take a leading '+'; the sign is checked above.
    const char* begin = text.data() + (text[0] == '+' ? 1 : 0);
    const char* end = text.data() + text.size();
    float value = 0.0f;
    const auto [stop, error] = std::from_chars(begin, end, value, std::chars_format::general);
    if (error == std::errc::result_out_of_range) {
        return Result<ParameterValue>::failure("out of range for a 32-bit float");
    }
    if (error != std::errc() || stop != end || !std::isfinite(value)) {
        return Result<ParameterValue>::failure("a real number is needed, such as 0.5 or 2e-3");
    }
    return ParameterValue(value);
}

}  // namespace ostrana::fx
