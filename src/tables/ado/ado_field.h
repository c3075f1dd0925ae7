// A field of an ADO recordset.
#pragma once

#include <cstdint>
#include <string>

#include "tables/ado/automation_object.h"
#include "tables/ado/variant_values.h"
#include "tables/table_access.h"

namespace tdefault::tables::ado {

// What does not change while the recordset is open is asked for once.
class AdoField final : public Field {
 public:
  // `step_count` is the recordset's and grows with every change of the current row.
  AdoField(AutomationObject object, std::int64_t& step_count);

  [[nodiscard]] const std::wstring& name() const override { return name_; }
  [[nodiscard]] std::int32_t defined_size() const override { return defined_size_; }
  [[nodiscard]] std::int32_t actual_size() const override;
  [[nodiscard]] Value value() const override;
  [[nodiscard]] Bytes bytes() const override;
  void set_value(const Value& value) override;

  // Gives its members' numbers to the fields beside it.
  [[nodiscard]] const AutomationObject& object() const noexcept { return object_; }

 private:
  // The value in one piece, or put together from chunks where ADO gives a long value only so.
  [[nodiscard]] const Variant& Read() const;
  [[nodiscard]] Variant ReadChunks() const;

  AutomationObject object_;
  std::int64_t& step_count_;
  std::wstring name_;
  std::int32_t defined_size_;
  DataType type_;
  bool is_long_;
  // Chunks can be had once only, so they are kept for the row that they were read from.
  mutable Variant kept_;
  mutable std::int64_t kept_at_ = 0;  // a step count; no row has 0
};

}  // namespace tdefault::tables::ado
