// The user and the host's windows. Message boxes are modal, owned by the host's active window,
// brought to the front.
#pragma once

#include <optional>
#include <string>

namespace tdefault::platform {

enum class MessageAnswer { kYes, kNo, kCancel };

class Dialogs {
 public:
  virtual ~Dialogs() = default;

  // Buttons Yes, No and Cancel, the question icon, Yes the default. Closing the box is Cancel.
  // Absent when no box can be shown (no desktop).
  virtual std::optional<MessageAnswer> AskYesNoCancel(const std::wstring& title,
                                                      const std::wstring& text) = 0;

  // Has the messages that wait for the windows of the calling thread handled, those that come
  // meanwhile included, and returns. The host's own code may run, and call the library, in it.
  virtual void ProcessPendingMessages() = 0;

  // One button, OK, and no icon. Returns when the user has closed the box, or at once when none can
  // be shown.
  virtual void Tell(const std::wstring& title, const std::wstring& text) = 0;
};

}  // namespace tdefault::platform
