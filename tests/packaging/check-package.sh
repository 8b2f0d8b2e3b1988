#!/usr/bin/env bash
# Installs a build into a scratch root, as `cmake --install` does for a user, and builds its Debian
# package with CPack; checks that both hold the program, the desktop entry, the icon and the
# AppStream metadata, that AppStream accepts the installed tree as one application, and that the
# package asks for the libraries and the QML modules Brivello needs at run time.
#   check-package.sh <build dir>
set -euo pipefail
build=$(realpath "$1")
work=$(mktemp -d "${TMPDIR:-/tmp}/brivello-package.XXXXXX")
trap 'rm -rf "$work"' EXIT
fail() { echo "FAIL: $*" >&2; exit 1; }

files=(
    usr/bin/brivello
    usr/share/applications/de.tandrel.brivello.desktop
    usr/share/icons/hicolor/scalable/apps/de.tandrel.brivello.svg
    usr/share/metainfo/de.tandrel.brivello.metainfo.xml
)

DESTDIR="$work/root" cmake --install "$build" --prefix /usr >/dev/null
for f in "${files[@]}"; do
    [[ -s $work/root/$f ]] || fail "cmake --install did not place /$f"
done
[[ -x $work/root/usr/bin/brivello ]] || fail "/usr/bin/brivello is not executable"
appstreamcli validate-tree --no-net "$work/root" || fail "AppStream rejects the installed tree"

(cd "$work" && cpack --config "$build/CPackConfig.cmake" -B "$work/deb" >/dev/null)
debs=("$work"/deb/brivello_*_*.deb)
[[ -f ${debs[0]} ]] || fail "CPack made no brivello_<version>_<arch>.deb"
contents=$(dpkg-deb -c "${debs[0]}")
for f in "${files[@]}"; do
    grep -q " \./$f\$" <<<"$contents" || fail "the package lacks /$f"
done
depends=$(dpkg-deb -f "${debs[0]}" Depends)
for p in libqt6quick6 libqt6quickcontrols2-6 libqt6svg6 libpulse0 libxcb1 \
    qml6-module-qtquick qml6-module-qtquick-controls qml6-module-qtquick-templates \
    qml6-module-qtquick-layouts qml6-module-qtquick-window qml6-module-qtqml-workerscript; do
    grep -Eq "(^|, )$p( |,|$)" <<<"$depends" || fail "the package does not depend on $p: $depends"
done
echo "${debs[0]##*/}: $(wc -l <<<"$contents") entries; Depends: $depends"
