#include "PythonName.h"

#include <cctype>

namespace ostrana::python {

std::string PythonName::of(std::string_view parameterName) {
    std::string name;
    name.reserve(parameterName.size() + 4);
    for (const char c : parameterName) {
        const auto letter = static_cast<unsigned char>(c);
        if (std::isupper(letter) != 0) {
            if (!name.empty()) name += '_';
            name += static_cast<char>(std::tolower(letter));
        } else {
            name += c;
        }
    }
    return name;
}

}  // namespace ostrana::python
