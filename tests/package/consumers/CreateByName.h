#pragma once

// Creates one node of each of the extension's five types by name through the host's manager
// and prints a line for each: "created <type>", or "failed <type>: <why>". Only the host
// library's API: nothing of the effects library is named. Returns how many failed.
#if defined(BUILDING_CREATE_BY_NAME)
#define CREATE_BY_NAME_API __attribute__((visibility("default")))
#else
#define CREATE_BY_NAME_API
#endif

CREATE_BY_NAME_API int createEveryTypeByName();
