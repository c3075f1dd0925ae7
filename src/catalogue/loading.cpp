// Loading the catalogue: one definition per row of table DEFAULTS, each with its value from an INI
// file. Opening grows with the number of definitions by one profile read and one row each; whatever
// does not change from row to row is found out once per load.
#include <array>
#include <cstddef>
#include <functional>
#include <optional>
#include <utility>

#include "base/error.h"
#include "base/text.h"
#include "catalogue/Options.h"
#include "catalogue/choice_text.h"
#include "support/ini_values.h"
#include "support/locations.h"
#include "support/table_connection.h"

namespace tdefault::catalogue {
namespace {

using records::INIOption;
using records::KEY_TYPE;

constexpr const wchar_t* kLoadingSource = L"InitOptCollection";

// The numbers that stand in the loader's error text, documented in docs/errors.md. Those from
// kNewRecord to kNextRow concern one row.
enum class Step : std::int32_t {
  kNewCollection = 1,
  kConnect = 2,
  kQuery = 3,
  kFirstRow = 4,
  kNewRecord = 5,
  kId = 6,
  kLocalIni = 7,
  kSection = 8,
  kType = 9,
  kKey = 10,
  kLocationRule = 11,
  kLinkedfield = 12,
  kChoices = 13,
  kMinimum = 14,
  kMaximum = 15,
  kDecimals = 16,
  kDefault = 17,
  kComment = 18,
  kCurrentValue = 19,
  kNewValue = 20,
  kAdditionalProc = 21,
  kAdd = 22,
  kNextRow = 23,
  kClose = 24,
};

// The columns of the current row; each is looked up by its name once per load.
class DefinitionColumns {
 public:
  enum Column : std::size_t {
    kId,
    kLocalIni,
    kInisection,
    kType,
    kKey,
    kLinkfield,
    kChoices,
    kMinimum,
    kMaximum,
    kDecimals,
    kDefault,
    kComment,
    kAddtnlproc,
    kColumnCount
  };

  explicit DefinitionColumns(tables::Recordset& recordset) : recordset_(recordset) {}

  std::wstring Text(Column column) { return ToText(Read(column), kLoadingSource); }
  std::int32_t Long(Column column) { return ToLong(Read(column), kLoadingSource); }
  std::int16_t Integer(Column column) { return ToInteger(Read(column), kLoadingSource); }
  bool Boolean(Column column) { return ToBoolean(Read(column), kLoadingSource); }

 private:
  Value Read(Column column) {
    static constexpr std::array<const wchar_t*, kColumnCount> kNames = {
        L"ID",      L"LocalINI", L"Inisection", L"Type",    L"Key",     L"Linkfield", L"Choices",
        L"Minimum", L"Maximum",  L"Decimals",   L"Default", L"Comment", L"Addtnlproc"};
    tables::Field*& field = fields_[column];
    if (field == nullptr) field = &recordset_.field(kNames[column]);
    return field->value();
  }

  tables::Recordset& recordset_;
  std::array<tables::Field*, kColumnCount> fields_{};
};

// One load of the catalogue, from step to step.
class Loader {
 public:
  using Lookup = std::function<std::shared_ptr<records::cChoices>()>;

  Loader(platform::Platform& platform, tables::TableAccess& tables,
         const support::LocationState& location, Lookup business_types)
      : platform_(platform),
        tables_(tables),
        location_(location),
        business_types_(std::move(business_types)) {}

  // Fills the collection, which keeps what was added before an error.
  void Load(records::Collection<INIOption>& options);

 private:
  void Connect();
  void LoadRows(records::Collection<INIOption>& options);
  std::shared_ptr<INIOption> ReadRow(DefinitionColumns& columns);
  void ReadValue(INIOption& option);
  std::wstring KeyOfSite(const std::wstring& key);
  std::shared_ptr<records::cChoices> BusinessTypes();
  [[nodiscard]] Error WithStep(const Error& error) const;

  platform::Platform& platform_;
  tables::TableAccess& tables_;
  const support::LocationState& location_;
  Lookup business_types_;

  Step step_ = Step::kNewCollection;
  std::unique_ptr<tables::Connection> connection_;
  std::unique_ptr<tables::Recordset> recordset_;

  std::wstring local_ini_;
  std::wstring global_ini_;
  std::optional<std::wstring> site_;
  std::shared_ptr<records::cChoices> business_type_list_;
};

void Loader::Load(records::Collection<INIOption>& options) {
  try {
    options = records::Collection<INIOption>();
    step_ = Step::kConnect;
    Connect();
    step_ = Step::kQuery;
    recordset_ = connection_->Execute(L"SELECT * FROM DEFAULTS");
    step_ = Step::kFirstRow;
    if (!(recordset_->bof() && recordset_->eof())) recordset_->MoveFirst();
    LoadRows(options);
    step_ = Step::kClose;
    support::CloseRecordset(connection_, recordset_);
  } catch (const Error& error) {
    support::CloseAfterFailure(connection_, recordset_);
    throw WithStep(error);
  }
}

void Loader::Connect() {
  const std::wstring data_path = support::GetDataPath(platform_, location_);
  local_ini_ = support::GetIniPath(platform_, location_, support::LocalIniName(location_));
  global_ini_ = data_path + L"\\" + support::kGlobalIniName;
  // Reading, although the string says ReadWrite: the connection's own mode counts.
  connection_ = support::OpenConnection(tables_, data_path, tables::CursorLocation::kClient,
                                        tables::ConnectMode::kRead);
}

void Loader::LoadRows(records::Collection<INIOption>& options) {
  DefinitionColumns columns(*recordset_);
  while (!recordset_->eof()) {
    std::shared_ptr<INIOption> option = ReadRow(columns);
    step_ = Step::kAdd;
    const std::wstring id = option->ID();
    options.Append(std::move(option), id, kLoadingSource);
    step_ = Step::kNextRow;
    recordset_->MoveNext();
  }
}

std::shared_ptr<INIOption> Loader::ReadRow(DefinitionColumns& columns) {
  using Column = DefinitionColumns::Column;
  step_ = Step::kNewRecord;
  auto option = std::make_shared<INIOption>();
  step_ = Step::kId;
  option->SetID(columns.Text(Column::kId));
  step_ = Step::kLocalIni;
  option->SetLocalINI(columns.Boolean(Column::kLocalIni));
  step_ = Step::kSection;
  option->SetSection(columns.Text(Column::kInisection));
  step_ = Step::kType;
  option->SetOptionType(static_cast<KEY_TYPE>(columns.Long(Column::kType)));
  step_ = Step::kKey;
  option->SetKey(columns.Text(Column::kKey));
  step_ = Step::kLocationRule;
  if (option->OptionType() == KEY_TYPE::PRINTER_VALUE &&
      !EqualIgnoringCase(option->Key(), L"ReportDevice"))
    option->SetKey(KeyOfSite(option->Key()));
  step_ = Step::kLinkedfield;
  option->SetLinkedfield(columns.Text(Column::kLinkfield));
  step_ = Step::kChoices;
  option->SetChoices(option->OptionType() == KEY_TYPE::INSURANCE_VALUE
                         ? BusinessTypes()
                         : TextToChoices(columns.Text(Column::kChoices)));
  step_ = Step::kMinimum;
  option->SetMinimum(columns.Integer(Column::kMinimum));
  step_ = Step::kMaximum;
  option->SetMaximum(columns.Integer(Column::kMaximum));
  step_ = Step::kDecimals;
  option->SetDecimals(columns.Integer(Column::kDecimals));
  step_ = Step::kDefault;
  option->SetDefault(columns.Text(Column::kDefault));
  step_ = Step::kComment;
  option->SetComment(columns.Text(Column::kComment));
  ReadValue(*option);
  step_ = Step::kAdditionalProc;
  option->SetAdditionalProc(std::wstring(TrimBlanks(columns.Text(Column::kAddtnlproc))));
  return option;
}

void Loader::ReadValue(INIOption& option) {
  step_ = Step::kCurrentValue;
  option.SetCurrentValue(support::ReadIniValue(platform_.profile_files, option.Section(),
                                               option.Key(),
                                               option.LocalINI() ? local_ini_ : global_ini_));
  // An option that is not touched counts as unchanged.
  step_ = Step::kNewValue;
  option.SetNewValue(option.CurrentValue());
}

std::wstring Loader::KeyOfSite(const std::wstring& key) {
  if (!site_)
    site_ = support::GetCompanyNumber(platform_.profile_files, support::LocalIniName(location_));
  return key + *site_;
}

std::shared_ptr<records::cChoices> Loader::BusinessTypes() {
  if (!business_type_list_) business_type_list_ = business_types_();
  // A list of its own for every option, because a host may add to it.
  auto choices = std::make_shared<records::cChoices>();
  for (const auto& choice : business_type_list_->elements())
    choices->Add(choice->Item(), choice->Description());
  return choices;
}

Error Loader::WithStep(const Error& error) const {
  return {error.number(), kLoadingSource,
          L"InitOptCollection routine, line " + std::to_wstring(static_cast<std::int32_t>(step_)) +
              L"; " + error.description()};
}

}  // namespace

bool Options::InitOptCollection() {
  Loader(platform_, tables_, location_, [this] { return InsuranceTypes(); }).Load(options_);
  return true;
}

}  // namespace tdefault::catalogue
