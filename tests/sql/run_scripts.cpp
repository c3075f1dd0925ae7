// Runs statement scripts over tables in memory: run_scripts FILE... Prints every case that fails
// and how many ran; exits 1 when one failed or none ran.
#include <cstdio>
#include <exception>
#include <fstream>
#include <iostream>
#include <iterator>
#include <string>

#include "sql/memory_store.h"
#include "sql/script.h"

int main(int argument_count, char** arguments) {
  std::size_t cases = 0;
  std::size_t failures = 0;
  for (int i = 1; i < argument_count; ++i) {
    std::ifstream file(arguments[i], std::ios::binary);
    const std::string text((std::istreambuf_iterator<char>(file)),
                           std::istreambuf_iterator<char>());
    try {
      tdefault::tests::MemoryStore store;
      const auto outcome = tdefault::tests::RunScript(arguments[i], text, store);
      for (const std::string& failure : outcome.failures) std::cout << failure << "\n";
      cases += outcome.cases;
      failures += outcome.failures.size();
    } catch (const std::exception& error) {
      std::cout << arguments[i] << ": " << error.what() << "\n";
      ++failures;
    }
  }
  std::cout << cases << " cases, " << failures << " failures\n";
  return failures == 0 && cases > 0 ? 0 : 1;
}
