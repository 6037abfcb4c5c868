# Checks that the effects library exports its three C entry points under their plain names.
# Usage: cmake -DNM=<nm> -DLIBRARY=<path of libOstranaAudioEffects.so>
#              -P CheckExportedEntryPoints.cmake
foreach(variable NM LIBRARY)
    if(NOT ${variable})
        message(FATAL_ERROR "${variable} is not set")
    endif()
endforeach()

execute_process(
    COMMAND "${NM}" -D --defined-only "${LIBRARY}"
    OUTPUT_VARIABLE symbols
    ERROR_VARIABLE errors
    RESULT_VARIABLE status)
if(NOT status EQUAL 0)
    message(FATAL_ERROR "${NM} failed on ${LIBRARY}: ${errors}")
endif()

set(missing "")
foreach(entry_point
        xv_extension_load
        xv_extension_anchor_UnknownOstranaExtension
        Java_com_dravolt_ostranaaudioeffects_AudioEffectsExtension_load)
    # A defined, exported function: "<address> T <name>" as a whole line, the name followed
    # by the library's default version ("@@OSTRANA_AUDIOEFFECTS_0") where nm shows versions.
    if(symbols MATCHES "(^|\n)[0-9a-fA-F]+ T ${entry_point}(@@[A-Za-z0-9_]+)?(\n|$)")
        message(STATUS "exported: ${entry_point}")
    else()
        list(APPEND missing ${entry_point})
    endif()
endforeach()

if(missing)
    message(FATAL_ERROR "not exported as defined functions with unmangled names: ${missing}")
endif()
