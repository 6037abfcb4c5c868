// The library's exported C entry points.

extern "C" {

// Registration already happened while the library was loaded; calling this changes nothing.
__attribute__((visibility("default"))) void xv_extension_load(void) {}

// Exists only as a symbol that a program or a static link can refer to.
__attribute__((visibility("default"))) void xv_extension_anchor_UnknownOstranaExtension(void) {}

}
