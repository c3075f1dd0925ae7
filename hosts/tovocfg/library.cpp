#include "tovocfg/library.h"

#include <windows.h>
// After windows.h.
#include <ocidl.h>
#include <oleauto.h>
#include <wrl/client.h>

#include <iostream>
#include <utility>

#include "tdefault_h.h"
#include "tovocfg/event_sink.h"
#include "tovocfg/wide_text.h"

namespace tovocfg {

namespace {

using Microsoft::WRL::ComPtr;

constexpr const wchar_t* kProgrammaticIdentifier = L"TovoDefaults.Options";
constexpr const wchar_t* kLibraryName = L"tdefault.dll";

class Bstr {
 public:
  Bstr() = default;
  explicit Bstr(const std::string& text) {
    const std::wstring wide = ToWide(text);
    text_ = SysAllocStringLen(wide.data(), static_cast<UINT>(wide.size()));
  }
  ~Bstr() { SysFreeString(text_); }

  Bstr(const Bstr&) = delete;
  Bstr& operator=(const Bstr&) = delete;

  [[nodiscard]] BSTR get() const noexcept { return text_; }
  [[nodiscard]] BSTR* Receive() noexcept { return &text_; }
  [[nodiscard]] std::string Text() const {
    return text_ == nullptr ? std::string() : ToUtf8({text_, SysStringLen(text_)});
  }

 private:
  BSTR text_ = nullptr;
};

// The last error information of this thread, which a failing member of the library has set.
ErrorReport ReportOf(HRESULT result) {
  ErrorReport report;
  report.number = result;
  ComPtr<IErrorInfo> info;
  if (GetErrorInfo(0, &info) == S_OK) {
    Bstr source;
    Bstr description;
    info->GetSource(source.Receive());
    info->GetDescription(description.Receive());
    report.source = source.Text();
    report.description = description.Text();
  }
  return report;
}

void Check(HRESULT result) {
  if (FAILED(result)) throw LibraryError(ReportOf(result));
}

void CheckStep(HRESULT result, const std::string& source, const std::string& description) {
  if (FAILED(result)) throw LibraryError({result, source, description});
}

// Calls a member that gives text.
template <typename Interface>
std::string TextFrom(Interface* object, HRESULT (STDMETHODCALLTYPE Interface::*member)(BSTR*)) {
  Bstr text;
  Check((object->*member)(text.Receive()));
  return text.Text();
}

// Calls a member that gives a plain number.
template <typename Interface, typename Number>
Number NumberFrom(Interface* object, HRESULT (STDMETHODCALLTYPE Interface::*member)(Number*)) {
  Number number{};
  Check((object->*member)(&number));
  return number;
}

// Calls a member that tells whether something was done.
template <typename Call>
bool Answer(const Call& call) {
  VARIANT_BOOL done = VARIANT_FALSE;
  Check(call(&done));
  return done != VARIANT_FALSE;
}

VARIANT Position(long position) {
  VARIANT index;
  VariantInit(&index);
  index.vt = VT_I4;
  index.lVal = position;
  return index;
}

std::vector<Choice> ChoicesOf(_INIOption* record) {
  ComPtr<_cChoices> list;
  Check(record->get_Choices(&list));
  std::vector<Choice> choices;
  if (!list) return choices;
  const long count = NumberFrom(list.Get(), &_cChoices::Count);
  for (long position = 1; position <= count; ++position) {
    ComPtr<_cChoice> choice;
    Check(list->get_Item(Position(position), &choice));
    choices.push_back({TextFrom(choice.Get(), &_cChoice::get_Item),
                       TextFrom(choice.Get(), &_cChoice::get_Description)});
  }
  return choices;
}

Option OptionOf(_INIOption* record) {
  Option option;
  option.id = TextFrom(record, &_INIOption::get_ID);
  option.local_ini = NumberFrom(record, &_INIOption::get_LocalINI) != VARIANT_FALSE;
  option.section = TextFrom(record, &_INIOption::get_Section);
  option.key = TextFrom(record, &_INIOption::get_Key);
  option.linked_field = TextFrom(record, &_INIOption::get_Linkedfield);
  option.type = static_cast<KeyType>(NumberFrom(record, &_INIOption::get_OptionType));
  option.choices = ChoicesOf(record);
  option.minimum = NumberFrom(record, &_INIOption::get_Minimum);
  option.maximum = NumberFrom(record, &_INIOption::get_Maximum);
  option.decimals = NumberFrom(record, &_INIOption::get_Decimals);
  option.default_value = TextFrom(record, &_INIOption::get_Default);
  option.comment = TextFrom(record, &_INIOption::get_Comment);
  option.current_value = TextFrom(record, &_INIOption::get_CurrentValue);
  option.additional_proc = TextFrom(record, &_INIOption::get_AdditionalProc);
  option.commented = NumberFrom(record, &_INIOption::get_Commented) != VARIANT_FALSE;
  return option;
}

ComPtr<_Reports> ReportsOf(_Options* options) {
  ComPtr<_Reports> reports;
  Check(options->ReportTypes(&reports));
  CheckStep(reports ? S_OK : E_POINTER, "tovocfg", "The library has no report layouts loaded.");
  return reports;
}

Layout LayoutOf(_Report* report) {
  Layout layout;
  layout.code = TextFrom(report, &_Report::get_ReportName);
  layout.name = TextFrom(report, &_Report::get_Name);
  layout.description = TextFrom(report, &_Report::get_Description);
  layout.in_use = NumberFrom(report, &_Report::get_CurrentReport) != VARIANT_FALSE;
  VARIANT picture;
  VariantInit(&picture);
  Check(report->get_Picture(&picture));
  if (picture.vt == (VT_ARRAY | VT_UI1))
    layout.picture_size = picture.parray->rgsabound[0].cElements;
  VariantClear(&picture);
  return layout;
}

std::wstring FileOfModule(HMODULE module) {
  std::wstring name(MAX_PATH, L'\0');
  for (;;) {
    const auto room = static_cast<DWORD>(name.size());
    const DWORD used = GetModuleFileNameW(module, name.data(), room);
    if (used < room) {
      name.resize(used);
      return name;
    }
    name.resize(2 * name.size());
  }
}

std::wstring LibraryBesideProgram() {
  const std::wstring program = FileOfModule(nullptr);
  return program.substr(0, program.find_last_of(L'\\') + 1) + kLibraryName;
}

using GetClassObject = HRESULT(STDAPICALLTYPE*)(REFCLSID, REFIID, void**);

// Creates the object without the registry: from the class object that the file exports.
ComPtr<_Options> CreateFromFile(const std::wstring& file) {
  const std::string name = ToUtf8(file);
  const HMODULE module = LoadLibraryW(file.c_str());
  const HRESULT load_error = module == nullptr ? HRESULT_FROM_WIN32(GetLastError()) : S_OK;
  CheckStep(load_error, "tovocfg", name + " could not be loaded.");
  // The library stays loaded for as long as the program runs.
  const FARPROC exported = GetProcAddress(module, "DllGetClassObject");
  CheckStep(exported == nullptr ? E_NOINTERFACE : S_OK, "tovocfg",
            name + " is not a COM library: it does not export DllGetClassObject.");
  const auto get_class_object = reinterpret_cast<GetClassObject>(reinterpret_cast<void*>(exported));
  ComPtr<IClassFactory> factory;
  CheckStep(get_class_object(__uuidof(::Options), IID_PPV_ARGS(&factory)), "tovocfg",
            name + " does not offer the class TovoDefaults.Options.");
  ComPtr<_Options> options;
  Check(factory->CreateInstance(nullptr, IID_PPV_ARGS(&options)));
  return options;
}

// Null when the library is not registered or its registration leads nowhere.
ComPtr<_Options> CreateFromRegistry() {
  CLSID class_id;
  ComPtr<_Options> options;
  if (SUCCEEDED(CLSIDFromProgID(kProgrammaticIdentifier, &class_id)))
    CoCreateInstance(class_id, nullptr, CLSCTX_INPROC_SERVER, IID_PPV_ARGS(&options));
  return options;
}

}  // namespace

struct Library::Objects {
  ComPtr<_Options> options;
  ComPtr<IConnectionPoint> connection_point;
  ComPtr<EventSink> sink;
  DWORD connection = 0;
  SaveOutcome outcome;  // of the save that is going on
  std::function<void(const std::string&)> on_status = [](const std::string& text) {
    std::cerr << "tovocfg: " << text << "\n";
  };

  void Listen();
};

// Connects to the events Modified, Status and DLLError.
void Library::Objects::Listen() {
  OptionsListener listener;
  listener.modified = [this] { outcome.modified_told = true; };
  listener.status = [this](const std::wstring& text) {
    if (!text.empty()) on_status(ToUtf8(text));
  };
  listener.dll_error = [this](long number, const std::wstring& description) {
    outcome.errors.push_back({static_cast<std::int32_t>(number), "", ToUtf8(description)});
  };
  // The pointer takes over the reference that the sink starts with. Attach is meant for this, but
  // in some compilers' wrl/client.h it adds a reference, and the sink would never be deleted.
  *sink.ReleaseAndGetAddressOf() = new EventSink(std::move(listener));
  ComPtr<IConnectionPointContainer> container;
  Check(options.As(&container));
  Check(container->FindConnectionPoint(__uuidof(__Options), &connection_point));
  Check(connection_point->Advise(sink.Get(), &connection));
}

Library::Library(const std::string& library_file) : objects_(std::make_unique<Objects>()) {
  if (library_file.empty()) objects_->options = CreateFromRegistry();
  registered_ = objects_->options != nullptr;
  if (!registered_) {
    objects_->options =
        CreateFromFile(library_file.empty() ? LibraryBesideProgram() : ToWide(library_file));
  }
  objects_->Listen();
}

Library::~Library() {
  // The listener refers to objects_, so it is disconnected first.
  if (objects_->connection != 0) objects_->connection_point->Unadvise(objects_->connection);
}

void Library::OnStatus(std::function<void(const std::string&)> told) {
  objects_->on_status = std::move(told);
}

void Library::SetDataPath(const std::string& folder) {
  Check(objects_->options->put_DataPath(Bstr(folder).get()));
}

void Library::SetIniFile(const std::string& file) {
  Check(objects_->options->put_INIFile(Bstr(file).get()));
}

std::string Library::DataPath() const {
  return TextFrom(objects_->options.Get(), &_Options::get_DataPath);
}

std::string Library::IniFile() const {
  return TextFrom(objects_->options.Get(), &_Options::get_INIFile);
}

std::string Library::GlobalIni() const {
  return TextFrom(objects_->options.Get(), &_Options::get_GlobalIni);
}

long Library::Location() const {
  return NumberFrom(objects_->options.Get(), &_Options::get_Location);
}

std::string Library::Version() const {
  return TextFrom(objects_->options.Get(), &_Options::Version);
}

bool Library::Initialize() {
  return NumberFrom(objects_->options.Get(), &_Options::Initialize) != VARIANT_FALSE;
}

std::vector<Option> Library::Options() const {
  std::vector<Option> options;
  const long count = NumberFrom(objects_->options.Get(), &_Options::get_Count);
  for (long position = 1; position <= count; ++position) {
    ComPtr<_INIOption> record;
    Check(objects_->options->get_Item(Position(position), &record));
    options.push_back(OptionOf(record.Get()));
  }
  return options;
}

std::vector<Layout> Library::Layouts() const {
  const ComPtr<_Reports> reports = ReportsOf(objects_->options.Get());
  std::vector<Layout> layouts;
  const long count = NumberFrom(reports.Get(), &_Reports::Count);
  for (long position = 1; position <= count; ++position) {
    ComPtr<_Report> report;
    Check(reports->Item(Position(position), &report));
    layouts.push_back(LayoutOf(report.Get()));
  }
  return layouts;
}

void Library::RefreshLayouts() { Check(ReportsOf(objects_->options.Get())->Refresh()); }

void Library::UseLayout(const std::string& code, bool show_prices, const std::string& ini_file) {
  VARIANT_BOOL prices = show_prices ? VARIANT_TRUE : VARIANT_FALSE;
  Bstr file(ini_file);
  VARIANT_BOOL told_nothing = VARIANT_FALSE;
  Check(ReportsOf(objects_->options.Get())
            ->SaveReports(Bstr(code).get(), &prices, file.Receive(), &told_nothing));
}

std::optional<std::string> Library::FindDefinition(const std::string& section,
                                                   const std::string& key, bool local_ini) {
  Bstr id;
  VARIANT_BOOL exists = VARIANT_FALSE;
  Check(objects_->options->SectionKeyExists(Bstr(section).get(), Bstr(key).get(),
                                            local_ini ? VARIANT_TRUE : VARIANT_FALSE, id.Receive(),
                                            &exists));
  if (exists == VARIANT_FALSE) return std::nullopt;
  return id.Text();
}

bool Library::DeleteOption(const std::string& id) {
  return Answer(
      [&](VARIANT_BOOL* done) { return objects_->options->DeleteOption(Bstr(id).get(), done); });
}

bool Library::CommentFile(const std::string& file) {
  return Answer(
      [&](VARIANT_BOOL* done) { return objects_->options->CommentFile(Bstr(file).get(), done); });
}

bool Library::ClearComments(const std::string& file) {
  return Answer([&](VARIANT_BOOL* done) {
    return objects_->options->ClearIniComments(Bstr(file).get(), done);
  });
}

bool Library::RemoveComment(const std::string& file, const std::string& comment) {
  return Answer([&](VARIANT_BOOL* done) {
    return objects_->options->RemoveIniComment(Bstr(file).get(), Bstr(comment).get(), done);
  });
}

bool Library::CommentKey(const std::string& id) {
  return Answer(
      [&](VARIANT_BOOL* done) { return objects_->options->CommentINIKey(Bstr(id).get(), done); });
}

void Library::Refresh() { Check(objects_->options->Refresh()); }

void Library::SetNewValue(const std::string& id, const std::string& value) {
  const Bstr text(id);
  VARIANT index;
  VariantInit(&index);
  index.vt = VT_BSTR;
  index.bstrVal = text.get();
  ComPtr<_INIOption> record;
  Check(objects_->options->get_Item(index, &record));
  Check(record->put_NewValue(Bstr(value).get()));
}

SaveOutcome Library::Save() {
  objects_->outcome = {};
  SaveOutcome& outcome = objects_->outcome;
  try {
    outcome.saved = NumberFrom(objects_->options.Get(), &_Options::Save) != VARIANT_FALSE;
  } catch (const LibraryError& error) {
    // The library tells Modified when all is written, and reads the options again after that.
    if (!outcome.modified_told) throw;
    outcome.saved = true;
    outcome.reload_error = error.report();
  }
  return outcome;
}

std::string Library::LibraryFile() const {
  // The object's table of members lies inside the library.
  const void* inside = *reinterpret_cast<void* const*>(objects_->options.Get());
  HMODULE module = nullptr;
  GetModuleHandleExW(
      GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
      static_cast<const wchar_t*>(inside), &module);
  return ToUtf8(FileOfModule(module));
}

}  // namespace tovocfg
