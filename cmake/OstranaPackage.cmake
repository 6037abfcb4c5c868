# What `cmake --install` and `cpack -G DEB` deliver, in four components:
#   runtime  the two shared libraries               libostrana-audioeffects<SOVERSION>
#   dev      headers, CMake package, pkg-config     libostrana-audioeffects-dev
#   fx       the ostrana-fx program                 ostrana-fx
#   lv2      the LV2 plug-in bundle, when built     lv2-ostrana-effects
include(CMakePackageConfigHelpers)

set(OSTRANA_CMAKE_PACKAGE_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/OstranaAudioEffects)
set(OSTRANA_GENERATED_DIR ${PROJECT_BINARY_DIR}/package)

# CMake package: targets Ostrana::SDK and Ostrana::AudioEffects.
install(EXPORT OstranaAudioEffectsTargets
    NAMESPACE Ostrana::
    DESTINATION ${OSTRANA_CMAKE_PACKAGE_DIR}
    COMPONENT dev)
configure_package_config_file(
    ${PROJECT_SOURCE_DIR}/cmake/templates/OstranaAudioEffectsConfig.cmake.in
    ${OSTRANA_GENERATED_DIR}/OstranaAudioEffectsConfig.cmake
    INSTALL_DESTINATION ${OSTRANA_CMAKE_PACKAGE_DIR})
write_basic_package_version_file(
    ${OSTRANA_GENERATED_DIR}/OstranaAudioEffectsConfigVersion.cmake
    COMPATIBILITY SameMajorVersion)
install(FILES
    ${PROJECT_SOURCE_DIR}/cmake/OstranaRegisteringLink.cmake
    ${OSTRANA_GENERATED_DIR}/OstranaAudioEffectsConfig.cmake
    ${OSTRANA_GENERATED_DIR}/OstranaAudioEffectsConfigVersion.cmake
    DESTINATION ${OSTRANA_CMAKE_PACKAGE_DIR}
    COMPONENT dev)

# pkg-config files, written when they are installed, for the prefix they are installed into
# (cmake --install --prefix, or /usr in the packages): plain absolute paths, which pkg-config
# prints as they are and leaves out where they are the system's own.
set(OSTRANA_PC_DL_LIBS "")
if(CMAKE_DL_LIBS)
    set(OSTRANA_PC_DL_LIBS "-l${CMAKE_DL_LIBS}")
endif()
# Linked as needed even where the linker drops unused libraries (OstranaRegisteringLink.cmake);
# a static library through the symbol that pulls in its registration.
if(OSTRANA_SHARED_LIBRARIES)
    set(OSTRANA_PC_EFFECTS_LIBS "-Wl,--push-state,--no-as-needed -lOstranaAudioEffects -Wl,--pop-state")
else()
    set(OSTRANA_PC_EFFECTS_LIBS "-Wl,--undefined=${OSTRANA_REGISTERING_SYMBOL} -lOstranaAudioEffects")
endif()
set(OSTRANA_PC_PREFIX "@OSTRANA_PC_PREFIX@")  # filled in at install time
foreach(pc ostrana-sdk ostrana-audioeffects)
    configure_file(${PROJECT_SOURCE_DIR}/cmake/templates/${pc}.pc.in
        ${OSTRANA_GENERATED_DIR}/${pc}.pc.in @ONLY)
    install(CODE "
        set(OSTRANA_PC_PREFIX \"\${CMAKE_INSTALL_PREFIX}\")
        configure_file(\"${OSTRANA_GENERATED_DIR}/${pc}.pc.in\"
            \"${OSTRANA_GENERATED_DIR}/installed/${pc}.pc\" @ONLY)
        file(INSTALL \"${OSTRANA_GENERATED_DIR}/installed/${pc}.pc\"
            DESTINATION \"\${CMAKE_INSTALL_PREFIX}/${CMAKE_INSTALL_LIBDIR}/pkgconfig\")"
        COMPONENT dev)
endforeach()

# Debian packages, one per component, each with its copyright and changelog in
# /usr/share/doc/<package> as Debian expects.
set(OSTRANA_DEB_RUNTIME libostrana-audioeffects${PROJECT_VERSION_MAJOR})
set(OSTRANA_DEB_DEV libostrana-audioeffects-dev)
set(OSTRANA_DEB_FX ostrana-fx)
set(OSTRANA_DEB_LV2 lv2-ostrana-effects)

set(OSTRANA_DEB_CHANGELOG ${OSTRANA_GENERATED_DIR}/changelog.gz)
configure_file(${PROJECT_SOURCE_DIR}/cmake/templates/changelog.Debian.in
    ${OSTRANA_GENERATED_DIR}/changelog.Debian @ONLY)
find_program(OSTRANA_GZIP gzip)
add_custom_command(OUTPUT ${OSTRANA_DEB_CHANGELOG}
    COMMAND ${OSTRANA_GZIP} -9 -n -c ${OSTRANA_GENERATED_DIR}/changelog.Debian > ${OSTRANA_DEB_CHANGELOG}
    DEPENDS ${OSTRANA_GENERATED_DIR}/changelog.Debian
    VERBATIM)
add_custom_target(ostrana_deb_changelog ALL DEPENDS ${OSTRANA_DEB_CHANGELOG})
configure_file(${PROJECT_SOURCE_DIR}/cmake/templates/copyright.in
    ${OSTRANA_GENERATED_DIR}/copyright @ONLY)

set(OSTRANA_PACKAGES runtime ${OSTRANA_DEB_RUNTIME} dev ${OSTRANA_DEB_DEV} fx ${OSTRANA_DEB_FX})
if(TARGET ostrana-effects)
    list(APPEND OSTRANA_PACKAGES lv2 ${OSTRANA_DEB_LV2})
endif()
set(OSTRANA_COMPONENTS "")
while(OSTRANA_PACKAGES)
    list(POP_FRONT OSTRANA_PACKAGES component package)
    list(APPEND OSTRANA_COMPONENTS ${component})
    string(TOUPPER ${component} upper)
    set(CPACK_DEBIAN_${upper}_PACKAGE_NAME ${package})
    install(FILES ${OSTRANA_GENERATED_DIR}/copyright ${OSTRANA_DEB_CHANGELOG}
        DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/${package}
        COMPONENT ${component})
endwhile()

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME ostrana-audioeffects)
set(CPACK_PACKAGE_VENDOR "The OstranaAudioEffects developers")
set(CPACK_PACKAGE_CONTACT "OstranaAudioEffects developers <maintainers@dravolt.com>")
set(CPACK_PACKAGE_HOMEPAGE_URL "https://dravolt.com/ostrana")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_COMPONENTS_ALL ${OSTRANA_COMPONENTS})
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
# dpkg-shlibdeps finds our own libraries in the build tree; the packages that use them depend
# on the runtime package of exactly this version.
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${CMAKE_LIBRARY_OUTPUT_DIRECTORY})
set(OSTRANA_DEB_RUNTIME_DEPENDENCY "${OSTRANA_DEB_RUNTIME} (= ${PROJECT_VERSION})")
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SECTION libs)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
# The dynamic linker's cache is rebuilt through dpkg's ldconfig trigger.
set(CPACK_DEBIAN_RUNTIME_PACKAGE_CONTROL_EXTRA ${PROJECT_SOURCE_DIR}/cmake/templates/triggers)
set(CPACK_DEBIAN_DEV_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEV_PACKAGE_DEPENDS ${OSTRANA_DEB_RUNTIME_DEPENDENCY})
set(CPACK_DEBIAN_FX_PACKAGE_DEPENDS ${OSTRANA_DEB_RUNTIME_DEPENDENCY})
set(CPACK_DEBIAN_LV2_PACKAGE_DEPENDS ${OSTRANA_DEB_RUNTIME_DEPENDENCY})
set(CPACK_DEBIAN_FX_PACKAGE_SECTION sound)
set(CPACK_DEBIAN_LV2_PACKAGE_SECTION sound)
set(OSTRANA_DEB_ABOUT
"OstranaAudioEffects is a set of audio effects (a delay, a stereo ping-pong
delay, a chorus, a flanger and a vibrato), exact to the last bit and safe on
a real-time audio thread.")
set(CPACK_COMPONENT_RUNTIME_DESCRIPTION "exact, real-time-safe audio effects (libraries)
${OSTRANA_DEB_ABOUT}
This package holds its two shared libraries: libOstranaSDK, the host
library, and libOstranaAudioEffects, the effects extension.")
set(CPACK_COMPONENT_DEV_DESCRIPTION "exact, real-time-safe audio effects (development files)
${OSTRANA_DEB_ABOUT}
This package holds the C++ headers, the CMake package OstranaAudioEffects
(targets Ostrana::SDK and Ostrana::AudioEffects) and the pkg-config files
ostrana-sdk and ostrana-audioeffects.")
set(CPACK_COMPONENT_FX_DESCRIPTION "exact, real-time-safe audio effects (command line)
${OSTRANA_DEB_ABOUT}
This package holds ostrana-fx, which renders sound files through chains of
effects, lists and describes the effects and their parameters, and runs a
demo.")
set(CPACK_COMPONENT_LV2_DESCRIPTION "exact, real-time-safe audio effects (LV2 plug-ins)
${OSTRANA_DEB_ABOUT}
This package holds them as LV2 plug-ins, mono and stereo, for Ardour,
Carla, Qtractor, jalv and every other LV2 host.")
# A project that adds this one as a subdirectory makes its own packages: no CPackConfig.cmake
# of ours in its build tree.
if(PROJECT_IS_TOP_LEVEL)
    include(CPack)
endif()
