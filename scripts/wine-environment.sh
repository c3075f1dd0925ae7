# Sourced: the Wine prefix and the display that every Windows program of this project runs in. Makes
# both on first use. TDEFAULT_WINEPREFIX moves the prefix elsewhere.
: "${root:?}"
export WINEPREFIX=${TDEFAULT_WINEPREFIX:-$root/build/wineprefix}
export WINEDEBUG=${WINEDEBUG:--all}
export WINEDLLOVERRIDES="mscoree,mshtml="
export WINEARCH=win64
export OANOCACHE=1

start_display() {
  # One server for all programs; it outlives this shell and ends with the machine or by kill.
  local number
  for number in $(seq 77 97); do
    if [ -e "/tmp/.X11-unix/X$number" ]; then continue; fi
    setsid Xvfb ":$number" -screen 0 1024x768x24 -nolisten tcp </dev/null >/dev/null 2>&1 &
    for _ in $(seq 100); do
      if [ -e "/tmp/.X11-unix/X$number" ]; then
        echo ":$number" >"$root/build/display"
        return 0
      fi
      sleep 0.05
    done
  done
  echo "wine-environment.sh: no X display could be started" >&2
  return 1
}

prepare_wine() {
  mkdir -p "$root/build"
  # One caller at a time; the others wait for its result.
  exec 9>"$root/build/wine.lock"
  flock 9
  local display
  display=$(cat "$root/build/display" 2>/dev/null || true)
  if [ -z "$display" ] || ! kill -0 "$(cat "/tmp/.X${display#:}-lock" 2>/dev/null || echo x)" 2>/dev/null; then
    start_display 9>&- || return 1
  fi
  if [ ! -e "$WINEPREFIX/ready" ]; then
    rm -rf "$WINEPREFIX"
    DISPLAY=$(cat "$root/build/display") wineboot -i >/dev/null 2>&1 9>&-
    # A crashing program ends with its exit code instead of waiting for a debugger.
    DISPLAY=$(cat "$root/build/display") wine reg add 'HKCU\Software\Wine\WineDbg' /v ShowCrashDialog /t REG_DWORD /d 0 /f >/dev/null 2>&1 9>&-
    DISPLAY=$(cat "$root/build/display") wine reg add 'HKLM\Software\Microsoft\Windows NT\CurrentVersion\AeDebug' /v Debugger /t REG_SZ /d '' /f >/dev/null 2>&1 9>&-
    # There is no window manager, for whose answer every new window would be waited two seconds.
    DISPLAY=$(cat "$root/build/display") wine reg add 'HKCU\Software\Wine\X11 Driver' /v Managed /d N /f >/dev/null 2>&1 9>&-
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
    setsid sh -c 'sleep 20000 | wine cmd /k' </dev/null >/dev/null 2>&1 9>&- &
    echo $! >"$root/build/wine.session"
    wine rundll32 user32.dll,MessageBeep </dev/null >/dev/null 2>&1 9>&-
  fi
  exec 9>&-
}

if [ ! -e "$WINEPREFIX/ready" ] || [ ! -s "$root/build/display" ] ||
  ! kill -0 "$(cat "/tmp/.X$(tr -d : <"$root/build/display")-lock" 2>/dev/null || echo x)" 2>/dev/null; then
  prepare_wine
fi
DISPLAY=$(cat "$root/build/display")
export DISPLAY
if ! wineserver -k0 2>/dev/null; then keep_session; fi
