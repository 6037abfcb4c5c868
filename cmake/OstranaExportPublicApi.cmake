# ostrana_export_public_api(TARGET MACRO_PREFIX PREFIX HEADER FILE VERSION_SCRIPT FILE)
#
# A shared library of this project exports its public API only: symbols are hidden unless a
# declaration carries the generated PREFIX_EXPORT macro (written to HEADER), and the linker's
# version script keeps everything else local and tags what is exported with the library's
# version node. The library gets the project's VERSION and its major number as SOVERSION.
include(GenerateExportHeader)

function(ostrana_export_public_api target)
    cmake_parse_arguments(ARG "" "MACRO_PREFIX;HEADER;VERSION_SCRIPT" "" ${ARGN})
    generate_export_header(${target}
        BASE_NAME ${ARG_MACRO_PREFIX}
        EXPORT_FILE_NAME ${ARG_HEADER})
    set_target_properties(${target} PROPERTIES
        CXX_VISIBILITY_PRESET hidden
        VISIBILITY_INLINES_HIDDEN ON
        VERSION ${PROJECT_VERSION}
        SOVERSION ${PROJECT_VERSION_MAJOR}
        LINK_DEPENDS ${ARG_VERSION_SCRIPT})
    target_link_options(${target} PRIVATE "LINKER:--version-script=${ARG_VERSION_SCRIPT}")
    # Debug information in every build, for the ABI check (abidw reads the types from it). It
    # does not change the generated code; packages strip it. Its paths are relative to the
    # project's root, so that the checked-in ABI record does not depend on where the tree lies.
    target_compile_options(${target} PRIVATE -g "-ffile-prefix-map=${PROJECT_SOURCE_DIR}/=")
endfunction()
