// The objects that options name to be run after a save, as the surroundings of a catalogue can
// create and call them.
#pragma once

#include <memory>
#include <string>

#include "base/value.h"

namespace tdefault::catalogue {

// One created object. Destruction lets go of it.
class ProcessingModule {
 public:
  virtual ~ProcessingModule() = default;

  // Calls the method with the catalogue as its one argument, by reference, and gives what it
  // returns; a method that returns nothing gives false. Throws Error with the number and the text
  // that the object raised, or automation's: 438 for a method that it does not have, 450 for one
  // that takes other arguments.
  [[nodiscard]] virtual Value Call(const std::wstring& method) = 0;
};

class ProcessingModules {
 public:
  virtual ~ProcessingModules() = default;

  // An object of the class that the programmatic identifier names; null when creation gives none.
  // Throws Error: 429 for a class that is not registered or cannot be created.
  [[nodiscard]] virtual std::unique_ptr<ProcessingModule> Create(
      const std::wstring& identifier) = 0;
};

}  // namespace tdefault::catalogue
