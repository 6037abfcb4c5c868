# ostrana_install_rpath(VAR FROM_DIR): in VAR, a run path for a binary installed in FROM_DIR (a
# path relative to the install prefix, such as ${CMAKE_INSTALL_BINDIR}) that finds the project's
# libraries in ${CMAKE_INSTALL_LIBDIR} from wherever the tree is installed or unpacked.
function(ostrana_install_rpath var from_dir)
    file(RELATIVE_PATH to_libraries "/prefix/${from_dir}" "/prefix/${CMAKE_INSTALL_LIBDIR}")
    if(to_libraries STREQUAL "")
        set(${var} "$ORIGIN" PARENT_SCOPE)
    else()
        set(${var} "$ORIGIN/${to_libraries}" PARENT_SCOPE)
    endif()
endfunction()
