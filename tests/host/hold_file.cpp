// hold_file FILE [read]: opens a file so that no other program may read or write it, or so that
// others may read it, says "held", and lets go when its standard input ends.
#include <windows.h>

#include <cstdio>
#include <cstring>

int main(int argument_count, char** arguments) {
  const bool shares_reading = argument_count == 3 && std::strcmp(arguments[2], "read") == 0;
  if (argument_count != 2 && !shares_reading) return 2;
  const HANDLE file =
      CreateFileA(arguments[1], GENERIC_READ | GENERIC_WRITE, shares_reading ? FILE_SHARE_READ : 0,
                  nullptr, OPEN_EXISTING, 0, nullptr);
  if (file == INVALID_HANDLE_VALUE) {
    std::printf("error %lu\n", GetLastError());
    return 1;
  }
  std::puts("held");
  std::fflush(stdout);
  while (std::getchar() != EOF) {
  }
  CloseHandle(file);
  return 0;
}
