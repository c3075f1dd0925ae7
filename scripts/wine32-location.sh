# Sourced: which 32-bit Wine there is. Sets wine32_loader to the program that starts Windows programs and
# wine32_folder to the folder of 32-bit files it lies in, which is empty where the machine itself has the
# loader. Both are empty when there is none: scripts/setup-wine32.sh makes one.
wine32_cache=${TDEFAULT_WINE32_CACHE:-/var/cache/tdefault-wine32}
wine32_folder= wine32_loader=
if [ -x /usr/lib/wine/wine ]; then
  wine32_loader=/usr/lib/wine/wine
elif [ -e "$wine32_cache/complete" ]; then
  wine32_folder=$wine32_cache wine32_loader=/usr/lib/wine/wine
fi
