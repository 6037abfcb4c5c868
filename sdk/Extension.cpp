#include <ostrana/sdk/Extension.h>

namespace ostrana {

Extension::Extension() : OstranaObject("extension") {}

Extension::~Extension() = default;

}  // namespace ostrana
