// hold_file FILE: opens a file so that no other program may read or write it, says "held", and lets
// go when its standard input ends.
#include <windows.h>

#include <cstdio>

int main(int argument_count, char** arguments) {
  if (argument_count != 2) return 2;
  const HANDLE file = CreateFileA(arguments[1], GENERIC_READ | GENERIC_WRITE, 0, nullptr,
                                  OPEN_EXISTING, 0, nullptr);
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
