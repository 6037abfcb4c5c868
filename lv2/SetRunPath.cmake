# Sets the run path of a built binary in place (within the room its link reserved), or removes
# it when RUN_PATH is empty.
# Usage: cmake -DFILE=path -DRUN_PATH=path -P SetRunPath.cmake
if(RUN_PATH STREQUAL "")
    file(RPATH_REMOVE FILE "${FILE}")
else()
    file(RPATH_SET FILE "${FILE}" NEW_RPATH "${RUN_PATH}")
endif()
