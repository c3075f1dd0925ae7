#include "support/guid.h"

#include <cstdint>
#include <optional>

namespace tdefault::support {
namespace {

constexpr std::size_t kFourthGroup = 4;
constexpr std::size_t kLastGroup = 12;

std::wstring Hexadecimal(std::uint32_t number) {
  std::wstring digits;
  do {
    digits.insert(digits.begin(), L"0123456789ABCDEF"[number & 0xFU]);
    number >>= 4U;
  } while (number != 0);
  return digits;
}

// The number pattern "00" pads one decimal digit and leaves a lone letter as it is.
std::wstring FormattedByte(std::uint8_t byte) {
  const std::wstring digits = Hexadecimal(byte);
  return byte < 10 ? L"0" + digits : digits;
}

std::wstring ByteText(const platform::Guid& guid) {
  std::wstring text;
  for (const std::uint8_t byte : guid.data4) text += FormattedByte(byte);
  return text;
}

}  // namespace

std::wstring CGetGUID::GetGUID() {
  // More than four one-digit bytes leave too little for the last group; the next one will do.
  constexpr int kAttempts = 100;
  for (int attempt = 0; attempt < kAttempts; ++attempt) {
    const std::optional<platform::Guid> guid = source_.Create();
    if (!guid) return {};
    const std::wstring bytes = ByteText(*guid);
    if (bytes.size() < kLastGroup) continue;
    return PadWithZeros(Hexadecimal(guid->data1), 8) + L"-" +
           PadWithZeros(Hexadecimal(guid->data2), 4) + L"-" +
           PadWithZeros(Hexadecimal(guid->data3), 4) + L"-" + bytes.substr(0, kFourthGroup) + L"-" +
           bytes.substr(bytes.size() - kLastGroup);
  }
  return {};
}

std::wstring CGetGUID::PadWithZeros(std::wstring_view text, std::size_t width) {
  const std::size_t missing = text.size() < width ? width - text.size() : 0;
  return std::wstring(missing, L'0') + std::wstring(text);
}

}  // namespace tdefault::support
