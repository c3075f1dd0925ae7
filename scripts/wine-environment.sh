# Sourced: the Wine prefix and the display that Windows programs of this project run in, for 64-bit
# programs or, with wine_bits=32, for 32-bit ones. Makes both on first use. Sets wine_program, the words
# in front of a Windows program and its arguments. TDEFAULT_WINEPREFIX and TDEFAULT_WINEPREFIX32 move
# the prefixes elsewhere. Each bitness has a display of its own: windows of both would take the focus from
# each other.
: "${root:?}"
wine_bits=${wine_bits:-64}
export WINEDEBUG=${WINEDEBUG:--all}
export WINEDLLOVERRIDES="mscoree,mshtml="
export WINEARCH=win$wine_bits
export OANOCACHE=1

# Loaders and servers by their own names: what Debian's scripts wine and wineserver start depends on what
# else is installed.
if [ "$wine_bits" = 32 ]; then
  . "$root/scripts/wine32-location.sh"
  if [ -z "$wine32_loader" ]; then
    echo "there is no 32-bit Wine here; scripts/setup-wine32.sh makes one or says why it cannot" >&2
    return 1
  fi
  export WINEPREFIX=${TDEFAULT_WINEPREFIX32:-$root/build/wineprefix32}
  wine_session=$root/build/wine32.session
  wine_display=$root/build/display32
  wine_program=("$wine32_loader")
  unset WINELOADER
  export WINESERVER=/usr/lib/wine/wineserver32
  if [ -n "$wine32_folder" ]; then
    wine_program=("$root/scripts/enter-wine32.sh" "$wine32_folder" "$wine32_loader")
  fi
else
  export WINEPREFIX=${TDEFAULT_WINEPREFIX:-$root/build/wineprefix}
  wine_session=$root/build/wine.session
  wine_display=$root/build/display
  wine_program=(wine)
  if [ -x /usr/lib/wine/wine64 ]; then
    wine_program=(/usr/lib/wine/wine64)
    export WINELOADER=/usr/lib/wine/wine64
  fi
  # Debian's loader begins below an address that Wine needs, and the kernel puts its heap anywhere within a
  # gigabyte behind it: of some thousands of starts one finds the address taken and ends with 1, without a
  # word. Not so where the heap has a fixed place, which some containers do not allow.
  if setarch -R true 2>/dev/null; then wine_program=(setarch -R "${wine_program[@]}"); fi
fi

wine() { "${wine_program[@]}" "$@"; }

start_display() {
  # One server for all programs of a bitness; it outlives this shell and ends with the machine or by kill.
  local number
  for number in $(seq 77 97); do
    if [ -e "/tmp/.X11-unix/X$number" ]; then continue; fi
    setsid Xvfb ":$number" -screen 0 1024x768x24 -nolisten tcp </dev/null >/dev/null 2>&1 &
    for _ in $(seq 100); do
      if [ -e "/tmp/.X11-unix/X$number" ]; then
        echo ":$number" >"$wine_display"
        return 0
      fi
      sleep 0.05
    done
  done
  echo "wine-environment.sh: no X display could be started" >&2
  return 1
}

display_runs() {
  local display
  display=$(cat "$wine_display" 2>/dev/null) && [ -n "$display" ] &&
    kill -0 "$(cat "/tmp/.X${display#:}-lock" 2>/dev/null || echo x)" 2>/dev/null
}

prepare_wine() {
  mkdir -p "$root/build"
  # One caller at a time; the others wait for its result.
  exec 9>"$root/build/wine.lock"
  flock 9
  display_runs || start_display 9>&- || return 1
  if [ ! -e "$WINEPREFIX/ready" ]; then
    rm -rf "$WINEPREFIX"
    mkdir -p "$WINEPREFIX"
    DISPLAY=$(cat "$wine_display")
    export DISPLAY
    wine wineboot -i >/dev/null 2>&1 9>&-
    # A crashing program ends with its exit code instead of waiting for a debugger.
    wine reg add 'HKCU\Software\Wine\WineDbg' /v ShowCrashDialog /t REG_DWORD /d 0 /f >/dev/null 2>&1 9>&-
    wine reg add 'HKLM\Software\Microsoft\Windows NT\CurrentVersion\AeDebug' /v Debugger /t REG_SZ /d '' /f >/dev/null 2>&1 9>&-
    # There is no window manager, for whose answer every new window would be waited two seconds.
    wine reg add 'HKCU\Software\Wine\X11 Driver' /v Managed /d N /f >/dev/null 2>&1 9>&-
    # The user's folders are links into the home folder: a search of drive C: would leave the prefix.
    find "$WINEPREFIX/drive_c/users" -type l -exec sh -c 'rm "$1" && mkdir "$1"' sh {} \;
    wineserver -w 2>/dev/null # the next program begins a session of its own
    touch "$WINEPREFIX/ready"
  fi
  exec 9>&-
}

# Wine's services and the process of its desktop are started by the first program that needs them and
# keep that program's output open until the session ends, so whoever reads the output would wait as
# long. Programs that belong to nobody start them instead: an idle one, which keeps the session for
# some hours, and one that makes a window.
keep_session() {
  exec 9>"$root/build/wine.lock"
  flock 9
  if ! wineserver -k0 2>/dev/null; then
    setsid sh -c 'sleep 20000 | "$@" cmd /k' idle "${wine_program[@]}" </dev/null >/dev/null 2>&1 9>&- &
    echo $! >"$wine_session"
    wine rundll32 user32.dll,MessageBeep </dev/null >/dev/null 2>&1 9>&-
  fi
  exec 9>&-
}

if [ ! -e "$WINEPREFIX/ready" ] || ! display_runs; then prepare_wine || return 1; fi
DISPLAY=$(cat "$wine_display")
export DISPLAY
if ! wineserver -k0 2>/dev/null; then keep_session; fi
