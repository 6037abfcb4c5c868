# Sets the run path of a built binary in place (within the room its link reserved).
# Usage: cmake -DFILE=path -DRUN_PATH=path -P SetRunPath.cmake
file(RPATH_SET FILE "${FILE}" NEW_RPATH "${RUN_PATH}")
