#include "platform/simulation/call_log.h"

#include "platform/system_result.h"

namespace tdefault::platform::simulation {

std::optional<std::uint32_t> CallLog::Begin(const char* operation, const std::wstring& path,
                                            const std::wstring& target) {
  calls_.push_back({operation, path, target});
  const std::size_t number = calls_.size();
  if (end_at_ != 0 && number >= end_at_) throw ProcessEnded();
  if (fail_from_ != 0 && number >= fail_from_) return fail_from_code_;
  if (const auto single = single_failures_.find(number); single != single_failures_.end()) {
    return single->second;
  }
  if (const auto planned = operation_failures_.find(operation);
      planned != operation_failures_.end()) {
    const std::uint32_t code = planned->second;
    operation_failures_.erase(planned);
    return code;
  }
  return std::nullopt;
}

std::uint32_t CallLog::BeginFinal(const char* operation, const std::wstring& path) noexcept {
  try {
    return Begin(operation, path).value_or(system_code::kSuccess);
  } catch (const ProcessEnded&) {
    return system_code::kNotLocked;
  }
}

void CallLog::FailFrom(std::size_t number, std::uint32_t code) {
  fail_from_ = number;
  fail_from_code_ = code;
}

}  // namespace tdefault::platform::simulation
