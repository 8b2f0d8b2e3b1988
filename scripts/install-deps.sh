#!/usr/bin/env bash
# Installs everything Brivello needs to build, run and test.
# Debian/Ubuntu: apt, non-interactive. macOS: prints the Homebrew command.
set -euo pipefail

if [[ "$(uname -s)" == Darwin ]]; then
  cat <<'TXT'
On macOS install the build tools with Homebrew, then build with CMake:
  brew install cmake ninja qt nlohmann-json googletest
Core Audio, Carbon and AppKit come with the Xcode command line tools (xcode-select --install).
TXT
  exit 0
fi

packages=(
  # build
  build-essential cmake ninja-build pkg-config libgtest-dev
  qt6-base-dev libpulse-dev nlohmann-json3-dev
  # the fuzz targets: clang with its libFuzzer and sanitizer runtimes
  clang-14 libclang-rt-14-dev
  # the interface: Qt Quick with Controls, SVG icons, and the QML modules it imports at run time
  qt6-declarative-dev qt6-declarative-dev-tools qt6-svg-dev
  qml6-module-qtqml qml6-module-qtquick qml6-module-qtquick-controls qml6-module-qtquick-templates
  qml6-module-qtquick-layouts qml6-module-qtquick-window qml6-module-qtqml-workerscript
  qml6-module-qttest libgl-dev
  libxcb1-dev libxcb-keysyms1-dev libxcb-xkb-dev x11proto-dev
  # the installed application: desktop entry and AppStream checks, and the Debian package's
  # library dependencies (CPack runs dpkg-shlibdeps on what `file` calls ELF)
  desktop-file-utils appstream dpkg-dev file
  # run and test: a private sound server, a virtual X display, key injection, sound analysis
  pulseaudio pulseaudio-utils xvfb xauth xdotool x11-utils sox
  # a tray host for the tray icon's tests
  trayer
  # the same tests on PipeWire: its daemon, session manager and pulse server, and a bus for them
  # (and for the stand-in desktop portal of the appearance tests)
  pipewire pipewire-pulse wireplumber dbus-daemon
)

missing=()
for p in "${packages[@]}"; do
  dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q 'install ok installed' || missing+=("$p")
done
if ((${#missing[@]} == 0)); then
  exit 0
fi

sudo_cmd=()
if [[ $(id -u) -ne 0 ]]; then sudo_cmd=(sudo); fi
export DEBIAN_FRONTEND=noninteractive
"${sudo_cmd[@]}" apt-get update -qq
"${sudo_cmd[@]}" apt-get install -y -qq --no-install-recommends "${missing[@]}"
