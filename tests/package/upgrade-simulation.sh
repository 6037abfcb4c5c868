#!/usr/bin/env bash
# Would apt keep everything that depends on the runtime libraries when they are upgraded to the
# next 0.1.x? Takes the built packages as installed (a copy of dpkg's status with them added),
# makes 0.1.1-1 runtime packages from the built ones (the same files under the next version,
# as a rebuild would give), and asks apt-get for a simulated installation of those: it must
# upgrade them and remove nothing.
# Usage: upgrade-simulation.sh DEBS_DIR WORK_DIR
set -euo pipefail
debs="$1"
work="$(mkdir -p "$2" && cd "$2" && pwd)"  # apt reads a relative status path from its own folder
mkdir -p "$work/next" "$work/unpacked"

fail() {
    echo "upgrade-simulation: $*" >&2
    exit 1
}

# dpkg's status as it is, plus every built package as installed.
cp /var/lib/dpkg/status "$work/status"
for deb in "$debs"/*.deb; do
    {
        echo
        dpkg-deb --field "$deb" | sed '/^Package:/a Status: install ok installed'
    } >>"$work/status"
done

next=()
for deb in "$debs"/libostranasdk0_*.deb "$debs"/libostranaaudioeffects0_*.deb; do
    unpacked="$work/unpacked/$(basename "$deb" .deb)"
    rm -rf "$unpacked"
    dpkg-deb -R "$deb" "$unpacked"
    sed -i -E 's/^Version: .*/Version: 0.1.1-1/' "$unpacked/DEBIAN/control"
    package=$(dpkg-deb --field "$deb" Package)
    dpkg-deb --root-owner-group -b "$unpacked" "$work/next/${package}_0.1.1-1_amd64.deb" >/dev/null
    next+=("$work/next/${package}_0.1.1-1_amd64.deb")
done

plan=$(apt-get install -s -o Dir::State::status="$work/status" -o Debug::NoLocking=1 "${next[@]}" 2>&1) ||
    { echo "$plan"; fail "apt-get refuses the upgrade"; }
echo "$plan" | grep -E '^(Inst|Remv|Conf)'
if grep -q '^Remv' <<<"$plan"; then fail "upgrading the runtime packages would remove packages"; fi
for package in libostranasdk0 libostranaaudioeffects0; do
    grep -qE "^Inst $package \[[^]]+\] \(0\.1\.1-1" <<<"$plan" || fail "apt would not upgrade $package"
done
echo "upgrade-simulation: the 0.1.1 runtime packages replace the built ones; nothing is removed"
