// The invoice report layouts of the shop (table REPORTS) and the one in use.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "base/fixed_text.h"
#include "base/value.h"
#include "platform/platform.h"
#include "records/collection.h"
#include "support/location_state.h"
#include "tables/table_access.h"

namespace tdefault::reports {

// One layout. Text fields behave as those of INIOption.
class Report {
 public:
  [[nodiscard]] std::wstring Name() const { return name_.Trimmed(); }
  [[nodiscard]] const std::wstring& Description() const noexcept { return description_; }
  // The preview image's bytes; absent when the layout has none.
  [[nodiscard]] const std::optional<Bytes>& Picture() const noexcept { return picture_; }
  // The code that the INI file holds, at most 8 characters.
  [[nodiscard]] std::wstring ReportName() const { return report_name_.Trimmed(); }
  [[nodiscard]] bool CurrentReport() const noexcept { return current_report_; }
  [[nodiscard]] std::wstring NewReport() const { return new_report_.Trimmed(); }

  // The host's pending choice.
  void SetNewReport(std::wstring_view text) { new_report_.Assign(text); }

  void SetName(std::wstring_view text) { name_.Assign(text); }
  void SetDescription(std::wstring text) { description_ = std::move(text); }
  void SetPicture(Bytes picture) { picture_ = std::move(picture); }
  void SetReportName(std::wstring_view text) { report_name_.Assign(text); }
  void SetCurrentReport(bool current) noexcept { current_report_ = current; }

 private:
  FixedText<30> name_;
  std::wstring description_;
  std::optional<Bytes> picture_;
  FixedText<8> report_name_;
  bool current_report_ = false;
  FixedText<8> new_report_;
};

class Reports {
 public:
  // Loads the layouts. Throws an Error with source "Reports:Class_Initialize" and the number of the
  // error underneath when that fails.
  Reports(platform::Platform& platform, tables::TableAccess& tables,
          support::LocationState& location);

  // 16 bits: throws Overflow above 32,767.
  [[nodiscard]] std::int16_t Count() const;

  // By position from 1 or by ReportName in any case. Throws SubscriptOutOfRange for a position,
  // InvalidArgument for a name that does not exist.
  [[nodiscard]] std::shared_ptr<Report> Item(const Value& index) const;

  // Writes the choice into section InvoiceControl of `ini_file`. The result is always false and
  // tells nothing; a write that fails is not reported.
  bool SaveReports(const std::wstring& report_name, bool show_pricing,
                   const std::wstring& ini_file);

  // Loads again; what was loaded before a failure stays, and the failure is not reported.
  void Refresh();

  // In table order.
  [[nodiscard]] const std::vector<std::shared_ptr<Report>>& elements() const noexcept {
    return reports_.elements();
  }

 private:
  // 0 when every layout is loaded, else the number of the error that ended the load.
  std::int32_t InitRepCollection();
  void ReadLayouts(tables::Recordset& recordset, const std::wstring& current);

  platform::Platform& platform_;
  tables::TableAccess& tables_;
  support::LocationState& location_;
  records::Collection<Report> reports_;
};

}  // namespace tdefault::reports
