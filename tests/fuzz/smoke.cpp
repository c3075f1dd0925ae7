// Runs a fuzz target without libFuzzer: every seed of the folders given, and copies of it damaged
// in fixed ways, so that a plain test run already meets the target's checks.
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace {

using Input = std::vector<std::uint8_t>;

constexpr int kDamagedCopies = 150;

void Run(const Input& input) { LLVMFuzzerTestOneInput(input.data(), input.size()); }

Input Damaged(Input input, std::mt19937& random) {
  if (input.empty()) return input;
  const auto at = [&] { return random() % input.size(); };
  switch (random() % 4) {
    case 0:
      input.resize(at());
      break;
    case 1:
      for (int i = 0; i < 3; ++i) input[at()] = static_cast<std::uint8_t>(random());
      break;
    case 2:
      input[at()] = random() % 2 == 0 ? 0x00 : 0xFF;
      break;
    default:
      input.insert(input.begin() + static_cast<std::ptrdiff_t>(at()), random() % 9,
                   static_cast<std::uint8_t>(random()));
      break;
  }
  return input;
}

}  // namespace

int main(int argc, char** argv) {
  int runs = 0;
  for (int argument = 1; argument < argc; ++argument) {
    for (const auto& entry : std::filesystem::directory_iterator(argv[argument])) {
      std::ifstream file(entry.path(), std::ios::binary);
      const Input seed{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
      Run(seed);
      std::mt19937 random(1);
      for (int copy = 0; copy < kDamagedCopies; ++copy) Run(Damaged(seed, random));
      runs += 1 + kDamagedCopies;
    }
  }
  std::printf("%d inputs\n", runs);
  return runs == 0 ? 1 : 0;
}
