# Sourced by the consumer scripts, with their arguments PREFIX WORK_DIR [SYSROOT] (prefix: where
# the tree is installed; sysroot: for unpacked packages, the folder that stands for /), and the
# script's name in checker. Sets prefix, work (made) and sysroot, pc_file (the effects library's
# .pc), libdir (the folder of the libraries) and pc_env (the environment for pkg-config), and
# defines fail.
prefix="$1" work="$2" sysroot="${3:-}"
mkdir -p "$work"

fail() {
    echo "$checker: $*" >&2
    exit 1
}

pc_file=$(find "$prefix" -name ostrana-audioeffects.pc -print -quit)
[ -n "$pc_file" ] || fail "no ostrana-audioeffects.pc below $prefix"
libdir=$(dirname "$(dirname "$pc_file")")
pc_env=(PKG_CONFIG_PATH="$(dirname "$pc_file")")
if [ -n "$sysroot" ]; then
    # The files name /usr: pkg-config puts the sysroot before each path, and keeps the paths
    # it would otherwise leave out as the system's own.
    pc_env+=(PKG_CONFIG_SYSROOT_DIR="$sysroot" PKG_CONFIG_ALLOW_SYSTEM_CFLAGS=1
             PKG_CONFIG_ALLOW_SYSTEM_LIBS=1)
fi
