# The link feature OSTRANA_REGISTERING, for $<LINK_LIBRARY:OSTRANA_REGISTERING,...>: the effects
# library registers its extension from a static initialiser, so a program or library that links
# it must keep it as a dependency even when it calls none of its functions. Linkers that drop
# unused libraries (--as-needed, Debian's default) would otherwise leave the library unloaded
# and the host with no node types. The library is linked as needed whatever the default is;
# everything after it keeps the default.
#
# Used by the build and installed with the CMake package; a cache entry, so that it reaches
# every directory of a project that adds this one with add_subdirectory or FetchContent.
if(NOT DEFINED CACHE{CMAKE_LINK_LIBRARY_USING_OSTRANA_REGISTERING})
    set(CMAKE_LINK_LIBRARY_USING_OSTRANA_REGISTERING
        "LINKER:--push-state,--no-as-needed" "<LINK_ITEM>" "LINKER:--pop-state"
        CACHE INTERNAL "How a library that registers itself at load is linked")
    set(CMAKE_LINK_LIBRARY_USING_OSTRANA_REGISTERING_SUPPORTED TRUE
        CACHE INTERNAL "Whether the OSTRANA_REGISTERING link feature is defined")
endif()
