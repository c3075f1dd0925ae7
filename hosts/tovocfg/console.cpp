#include "tovocfg/console.h"

#include <windows.h>

#include <algorithm>
#include <iostream>
#include <streambuf>
#include <string>
#include <string_view>

#include "tovocfg/text.h"
#include "tovocfg/wide_text.h"

namespace tovocfg {

namespace {

// Missing in older SDK headers.
constexpr DWORD kVirtualTerminal = 0x0004;

// Consoles of older systems refuse much longer texts.
constexpr std::size_t kLongestWrite = 8192;

// Collects UTF-8 and writes it to a console as wide text.
class ConsoleBuffer final : public std::streambuf {
 public:
  explicit ConsoleBuffer(HANDLE console) : console_(console) {}

 protected:
  int_type overflow(int_type character) override {
    if (traits_type::eq_int_type(character, traits_type::eof())) return sync() == 0 ? 0 : character;
    pending_ += traits_type::to_char_type(character);
    return character;
  }

  std::streamsize xsputn(const char* text, std::streamsize count) override {
    pending_.append(text, static_cast<std::size_t>(count));
    return count;
  }

  int sync() override {
    // The bytes of a character may come one by one.
    const std::size_t whole = WholeCharacters(pending_);
    std::wstring wide;
    for (const wchar_t character : ToWide(std::string_view(pending_).substr(0, whole))) {
      if (character == L'\n') wide += L'\r';
      wide += character;
    }
    pending_.erase(0, whole);
    return Write(wide) ? 0 : -1;
  }

 private:
  [[nodiscard]] bool Write(const std::wstring& text) const {
    for (std::size_t at = 0; at < text.size();) {
      const auto count = static_cast<DWORD>(std::min(text.size() - at, kLongestWrite));
      DWORD written = 0;
      if (!WriteConsoleW(console_, text.data() + at, count, &written, nullptr) || written == 0)
        return false;
      at += written;
    }
    return true;
  }

  HANDLE console_;
  std::string pending_;
};

// Whether a console that accepts the mode also does what it says: Wine's shows the sequences.
bool TakesSequences(HANDLE console) {
  CONSOLE_SCREEN_BUFFER_INFO before{};
  CONSOLE_SCREEN_BUFFER_INFO after{};
  DWORD count = 0;
  constexpr std::wstring_view kPlain = L"\x1b[0m";
  if (!GetConsoleScreenBufferInfo(console, &before) ||
      !WriteConsoleW(console, kPlain.data(), static_cast<DWORD>(kPlain.size()), &count, nullptr) ||
      !GetConsoleScreenBufferInfo(console, &after))
    return false;
  const COORD place = before.dwCursorPosition;
  if (after.dwCursorPosition.X == place.X && after.dwCursorPosition.Y == place.Y) return true;
  SetConsoleCursorPosition(console, place);
  FillConsoleOutputCharacterW(console, L' ', static_cast<DWORD>(kPlain.size()), place, &count);
  return false;
}

}  // namespace

// One stream; does nothing where that is no console.
class Console::Channel {
 public:
  Channel(std::ostream& stream, DWORD which) : stream_(stream), handle_(GetStdHandle(which)) {
    if (!GetConsoleMode(handle_, &mode_)) return;
    takes_colours_ =
        SetConsoleMode(handle_, mode_ | kVirtualTerminal) != FALSE && TakesSequences(handle_);
    buffer_ = std::make_unique<ConsoleBuffer>(handle_);
    before_ = stream_.rdbuf(buffer_.get());
  }
  ~Channel() {
    stream_.flush();
    if (!buffer_) return;
    stream_.rdbuf(before_);
    SetConsoleMode(handle_, mode_);
  }
  Channel(const Channel&) = delete;
  Channel& operator=(const Channel&) = delete;

  [[nodiscard]] bool takes_colours() const noexcept { return takes_colours_; }

 private:
  std::ostream& stream_;
  HANDLE handle_;
  DWORD mode_ = 0;
  bool takes_colours_ = false;
  std::unique_ptr<ConsoleBuffer> buffer_;
  std::streambuf* before_ = nullptr;
};

Console::Console()
    : output_(std::make_unique<Channel>(std::cout, STD_OUTPUT_HANDLE)),
      errors_(std::make_unique<Channel>(std::cerr, STD_ERROR_HANDLE)) {}

Console::~Console() = default;

bool Console::output_takes_colours() const noexcept { return output_->takes_colours(); }

bool Console::errors_take_colours() const noexcept { return errors_->takes_colours(); }

}  // namespace tovocfg
