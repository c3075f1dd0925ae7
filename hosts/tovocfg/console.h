// The program's standard output and standard error on Windows.
#pragma once

#include <memory>

namespace tovocfg {

// While it lives, what goes to std::cout and std::cerr as UTF-8 is right on a console too, whatever
// its code page; files and pipes get the UTF-8 as it is.
class Console {
 public:
  Console();
  ~Console();
  Console(const Console&) = delete;
  Console& operator=(const Console&) = delete;

  // Whether the output is a console that takes colours.
  [[nodiscard]] bool output_takes_colours() const noexcept;
  [[nodiscard]] bool errors_take_colours() const noexcept;

 private:
  class Channel;
  std::unique_ptr<Channel> output_;
  std::unique_ptr<Channel> errors_;
};

}  // namespace tovocfg
