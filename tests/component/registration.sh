#!/usr/bin/env bash
# registration.sh register|unregister BITS EMULATOR STATE_FOLDER DLL...: the fixture of the component
# tests. Registers the DLLs of 64 or 32 bits; unregisters them, in a damaged state, next to the other
# bitness and twice. Looks for what is theirs only: any program may register classes of its own meanwhile.
set -euo pipefail
action=$1 own=win$2 other=win$((96 - $2)) emulator=$3 state=$4
shift 4

library={708AC166-84DC-11D4-B262-0050DA5596B9}
version="HKCR\\TypeLib\\$library\\68.0"
keys=(
  'Interface\{21DFAEC7-CAC9-4640-8FD5-118906FAA071}'
  'Interface\{A3B3C182-5E6D-45EB-95E0-EB4D5DBAD902}'
  'Interface\{03F4D51E-1655-46A9-8FD1-13952CF86BC7}'
  'Interface\{32786437-5069-4120-AB0F-BA292405951E}'
  'Interface\{EA0B0F79-CC4C-4051-B2C6-BC3F7F5FAA8E}'
  'Interface\{629827C4-C9B3-42AF-AAF1-81954B9E7EF7}'
  'Interface\{711E30E6-64F9-4DA8-A8BA-482F0E254FC9}'
  'Interface\{67CAC3CA-3D01-48C6-99CB-F7636E5699E3}'
  'CLSID\{3C43CF6B-9492-11D4-B262-0050DA5596B9}'
  'CLSID\{3C43CF73-9492-11D4-B262-0050DA5596B9}'
  'CLSID\{3C43CF69-9492-11D4-B262-0050DA5596B9}'
  'CLSID\{30BA6355-95F3-11D4-B262-0050DA5596B9}'
  'CLSID\{078E8EB2-AE65-11D4-B263-0050DA5596B9}'
  'CLSID\{078E8EB4-AE65-11D4-B263-0050DA5596B9}'
  "TypeLib\\$library"
  'TovoDefaults.Options'
  'CLSID\{5B0E5C1A-3B1B-4C57-9A3E-6C6A3C2F9D51}'
  'TovoDefaultsTest.EventRelay'
  'CLSID\{7D1C8F42-05A6-4E0B-8E57-21C96B0D3FA4}'
  'TovoDefaultsTest.Module'
)

# Runs a Windows program. Its output goes through a file: on a fresh prefix it may start Wine's
# desktop, which keeps the output open for as long as the session lasts.
run() {
  local status=0
  timeout 120 "$emulator" "$@" >"$state/output" 2>&1 </dev/null || status=$?
  cat "$state/output"
  return $status
}

fail() {
  echo "registration.sh: $*" >&2
  exit 1
}

# The classes of the machine and of the user, as UTF-8 text.
export_classes() {
  local root
  for root in HKLM HKCU; do
    rm -f "$state/export.reg"
    run reg export "$root\\Software\\Classes" "Z:${state//\//\\}\\export.reg" /y >/dev/null 2>&1 || true
    [ ! -e "$state/export.reg" ] || iconv -f UTF-16 -t UTF-8 "$state/export.reg" | tr -d '\r'
  done >"$state/classes"
  grep -q '^\[.*\\CLSID\\' "$state/classes" || fail "the registry could not be exported"
}

# Every key of ours is there.
expect_all() {
  local key
  export_classes
  for key in "${keys[@]}"; do
    grep -qiF "\\Classes\\$key]" "$state/classes" || fail "$key is missing"
  done
}

# Nothing of ours is there, be it a key, a value's name or a value.
expect_none() {
  export_classes
  printf '%s\n' "${keys[@]##*\\}" >"$state/names"
  ! grep -iF -f "$state/names" "$state/classes" || fail "left in the registry: see above"
}

register_all() { for dll in "$@"; do run regsvr32 /s "$dll"; done; }
unregister_all() { for dll in "$@"; do run regsvr32 /u /s "$dll"; done; }

# Whether the interfaces are there for programs of so many bits.
has_interfaces() {
  local key
  for key in "${keys[@]}"; do
    case $key in
      Interface*) run reg query "HKCR\\$key\\ProxyStubClsid32" "/reg:$1" >/dev/null 2>&1 || return 1 ;;
    esac
  done
}

# Unregistering keeps the type library while its other bitness has an entry for the language, and the
# interfaces that programs of the other bitness have for themselves.
expect_other_bitness_kept() {
  local language=$1
  shift
  register_all "$@"
  run reg add "$version\\$language\\$other" /ve /d 'C:\other\tdefault.dll' /f >/dev/null
  unregister_all "$@"
  run reg query "$version" /ve | grep -q 'REG_SZ' || fail "the library's name went"
  run reg query "$version\\FLAGS" >/dev/null || fail "the library's flags went"
  run reg query "$version\\$language\\$other" >/dev/null || fail "the other bitness went"
  ! run reg query "$version\\$language\\$own" >/dev/null 2>&1 || fail "our own bitness stayed"
  if [ "$own" = win64 ]; then
    has_interfaces 32 || fail "the interfaces of the other bitness went"
    ! has_interfaces 64 || fail "our own interfaces stayed"
  fi
  run reg delete "$version\\$language\\$other" /f >/dev/null
  unregister_all "$@"
  expect_none
}

mkdir -p "$state"
case $action in
  register)
    unregister_all "$@"
    expect_none
    register_all "$@"
    expect_all
    ;;
  unregister)
    expect_all
    # An entry that somebody removed by hand is no failure.
    run reg delete 'HKCR\TovoDefaults.Options\CLSID' /f >/dev/null
    unregister_all "$@"
    expect_none
    unregister_all "$@"
    expect_none
    expect_other_bitness_kept 409 "$@"
    expect_other_bitness_kept 0 "$@"
    ;;
esac
