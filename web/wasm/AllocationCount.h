#pragma once

namespace ostrana::web {

// How many times the module has allocated memory since it started.
unsigned long allocationCount();

}  // namespace ostrana::web
