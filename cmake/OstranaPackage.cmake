# What `cmake --install` delivers, in four components: runtime (the two shared libraries), dev
# (headers, static libraries when built, CMake package, pkg-config files), fx (ostrana-fx and
# its manual page) and lv2 (the LV2 bundle). The Debian packages are built from debian/ with
# dpkg-buildpackage (scripts/make-debian-packages.sh).
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
