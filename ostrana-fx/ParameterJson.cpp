#include "ParameterJson.h"

#include <charconv>
#include <cstdlib>
#include <string>
#include <type_traits>
#include <variant>

namespace ostrana::fx {

nlohmann::json parameterJson(const extensions::audioeffects::ParameterValue& value) {
    return std::visit(
        [](auto held) {
            if constexpr (std::is_same_v<decltype(held), float>) {
                char text[32];
                const auto end = std::to_chars(text, text + sizeof text, held).ptr;
                return nlohmann::json(std::strtod(std::string(text, end).c_str(), nullptr));
            } else {
                return nlohmann::json(held);
            }
        },
        value);
}

}  // namespace ostrana::fx
