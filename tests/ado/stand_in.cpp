#include "ado/stand_in.h"

#include <cmath>
#include <memory>
#include <optional>
#include <stdexcept>
#include <utility>

#include "ado/script_object.h"
#include "base/text.h"
#include "tables/ado/literal_splitter.h"
#include "tables/foxpro/embedded_recordset.h"
#include "tables/sql/lexer.h"

namespace tdefault::tests {
namespace {

using tables::Column;
using tables::ObjectState;

constexpr std::int32_t kLongAttribute = 0x80;

std::int32_t NumberOf(const VARIANT& variant) {
  if (variant.vt != VT_I4) throw TypeMismatch(L"stand-in");
  return variant.lVal;
}

const VARIANT& At(std::span<const VARIANT> arguments, std::size_t position) {
  if (position >= arguments.size()) throw InvalidArgument(L"stand-in");
  return arguments[position];
}

// The provider reads no literal of more than 255 characters.
void CheckLiterals(const std::wstring& statement) {
  for (const auto& token : tables::sql::Tokenize(statement))
    if (token.kind == tables::sql::TokenKind::kLiteral &&
        token.text.size() > tables::ado::kLongestLiteral + 2)
      throw Error(error_number::kStatementError, L"Microsoft OLE DB Provider for Visual FoxPro",
                  L"Command contains unrecognized phrase/keyword.");
}

std::int32_t DataTypeOf(const Column& column, bool shown_as_binary) {
  switch (column.type) {
    case 'C':
      return shown_as_binary ? 128 : 129;
    case 'V':
      return 200;
    case 'Q':
      return 204;
    case 'M':
      return 201;
    case 'N':
    case 'F':
      return 131;
    case 'I':
      return 3;
    case 'B':
      return 5;
    case 'Y':
      return 6;
    case 'L':
      return 11;
    case 'D':
      return 133;
    case 'T':
      return 135;
    default:
      return 205;
  }
}

DATE DateOf(Date date, std::int32_t milliseconds) {
  if (date.empty()) return 0.0;
  const CalendarDay day = ToCalendarDay(date);
  SYSTEMTIME time{};
  time.wYear = static_cast<WORD>(day.year);
  time.wMonth = static_cast<WORD>(day.month);
  time.wDay = static_cast<WORD>(day.day);
  DATE result = 0;
  if (SystemTimeToVariantTime(&time, &result) == 0) throw TypeMismatch(L"stand-in");
  const double fraction = milliseconds / 86400000.0;
  return result < 0 ? result - fraction : result + fraction;
}

DateTime DateTimeOf(DATE date) {
  if (date == 0.0) return {};
  const double whole = std::trunc(date);
  SYSTEMTIME time{};
  if (VariantTimeToSystemTime(whole, &time) == 0) throw TypeMismatch(L"stand-in");
  const auto day = MakeDate(time.wYear, time.wMonth, time.wDay);
  return {day.value(),
          static_cast<std::int32_t>(std::lround(std::fabs(date - whole) * 86400000.0))};
}

// A value with the variant type that ADO gives for the column.
Variant Show(const Value& value, const Column& column) {
  Variant result;
  VARIANT& variant = result.get();
  if (IsNull(value)) {
    variant.vt = VT_NULL;
  } else if (const auto* const text = std::get_if<std::wstring>(&value)) {
    return TextVariant(*text);
  } else if (const auto* const bytes = std::get_if<Bytes>(&value)) {
    return BytesVariant(*bytes);
  } else if (const auto* const flag = std::get_if<bool>(&value)) {
    return FlagVariant(*flag);
  } else if (const auto* const whole = std::get_if<std::int32_t>(&value)) {
    return NumberVariant(*whole);
  } else if (const auto* const amount = std::get_if<Currency>(&value)) {
    variant.vt = VT_CY;
    variant.cyVal.int64 = amount->ten_thousandths;
  } else if (const auto* const date = std::get_if<Date>(&value)) {
    variant.vt = VT_DATE;
    variant.date = DateOf(*date, 0);
  } else if (const auto* const moment = std::get_if<DateTime>(&value)) {
    variant.vt = VT_DATE;
    variant.date = DateOf(moment->date, moment->milliseconds);
  } else {
    variant.vt = VT_R8;
    variant.dblVal = std::get<double>(value);
    const bool is_decimal = column.type == 'N' || column.type == 'F';
    DECIMAL decimal{};
    if (is_decimal && SUCCEEDED(VarDecFromR8(variant.dblVal, &decimal))) {
      variant.decVal = decimal;
      variant.vt = VT_DECIMAL;  // it shares its place with the decimal
    }
  }
  return result;
}

Value Read(const VARIANT& variant, const Column& column) {
  switch (variant.vt) {
    case VT_NULL:
      return Null{};
    case VT_BSTR:
      return TextOf(variant);
    case VT_BOOL:
      return variant.boolVal != VARIANT_FALSE;
    case VT_I4:
      return variant.lVal;
    case VT_R8:
      return variant.dblVal;
    case VT_CY:
      return Currency{variant.cyVal.int64};
    case VT_DATE: {
      const DateTime moment = DateTimeOf(variant.date);
      if (column.type == 'T' || moment.milliseconds != 0) return moment;
      return moment.date;
    }
    case VT_ARRAY | VT_UI1: {
      void* data = nullptr;
      SafeArrayAccessData(variant.parray, &data);
      const auto* const first = static_cast<const std::uint8_t*>(data);
      Bytes bytes(first, first + variant.parray->rgsabound[0].cElements);
      SafeArrayUnaccessData(variant.parray);
      return bytes;
    }
    default:
      throw TypeMismatch(L"stand-in");
  }
}

class ConnectionObject final : public ScriptObject {
 public:
  explicit ConnectionObject(StandInState& state)
      : ScriptObject(state, L"Connection"), connection_(state.access->MakeConnection()) {
    HasProperty(
        L"ConnectionString", [this](Arguments) { return TextVariant(string_); },
        [this](const VARIANT& value) { SetString(TextOf(value)); });
    HasProperty(
        L"CursorLocation", [](Arguments) { return NumberVariant(2); },
        [this](const VARIANT& value) {
          connection_->set_cursor_location(static_cast<tables::CursorLocation>(NumberOf(value)));
        });
    HasProperty(
        L"Mode", [](Arguments) { return NumberVariant(0); },
        [this](const VARIANT& value) {
          connection_->set_mode(static_cast<tables::ConnectMode>(NumberOf(value)));
        });
    HasProperty(L"State", [this](Arguments) {
      return NumberVariant(static_cast<std::int32_t>(connection_->state()));
    });
    HasMethod(L"Open", [this](Arguments arguments) {
      if (!arguments.empty()) SetString(TextOf(arguments[0]));
      connection_->Open();
      return Variant();
    });
    HasMethod(L"Close", [this](Arguments) {
      connection_->Close();
      return Variant();
    });
    HasMethod(L"Execute", [this](Arguments arguments) { return Execute(arguments); });
  }

  [[nodiscard]] tables::Connection& connection() const { return *connection_; }

 private:
  // Also sets the mode that the string names.
  void SetString(const std::wstring& text) {
    if (connection_->state() == ObjectState::kOpen)
      throw Error(error_number::kObjectOpen, L"ADODB.Connection",
                  L"Operation is not allowed when the object is open.");
    string_ = text;
    connection_->set_connection_string(text);
    if (text.find(L"Mode=ReadWrite") != std::wstring::npos)
      connection_->set_mode(tables::ConnectMode::kReadWrite);
  }

  Variant Execute(Arguments arguments);

  std::unique_ptr<tables::Connection> connection_;
  std::wstring string_;
};

class RecordsetObject final : public ScriptObject {
 public:
  RecordsetObject(StandInState& state, std::unique_ptr<tables::Recordset> recordset,
                  ComPtr<ConnectionObject> connection);

  [[nodiscard]] tables::Recordset& recordset() const { return *recordset_; }
  [[nodiscard]] const Column& column(std::int32_t position) const {
    const auto& embedded = dynamic_cast<const tables::foxpro::EmbeddedRecordset&>(*recordset_);
    return embedded.columns().at(static_cast<std::size_t>(position));
  }
  [[nodiscard]] int moves() const { return moves_; }
  // As after a move: who puts a value into a field has read enough of the others.
  void StartChunksAnew() { ++moves_; }

 private:
  void HasMove(const wchar_t* name, void (tables::Recordset::*move)());
  void Open(Arguments arguments);
  [[nodiscard]] bool IsEdited() const;

  // The recordset ends before its connection.
  ComPtr<ConnectionObject> connection_;
  std::unique_ptr<tables::Recordset> recordset_;
  int moves_ = 0;
};

class FieldObject final : public ScriptObject {
 public:
  FieldObject(StandInState& state, ComPtr<RecordsetObject> owner, std::int32_t position)
      : ScriptObject(state, L"Field"), owner_(std::move(owner)), position_(position) {
    HasProperty(L"Name", [this](Arguments) { return TextVariant(field().name()); });
    HasProperty(L"Type", [this](Arguments) {
      return NumberVariant(DataTypeOf(column(), shown_as_binary()));
    });
    HasProperty(L"DefinedSize",
                [this](Arguments) { return NumberVariant(field().defined_size()); });
    HasProperty(L"ActualSize", [this](Arguments) {
      return NumberVariant(this->state().tells_actual_sizes ? field().actual_size() : -1);
    });
    HasProperty(L"Attributes",
                [this](Arguments) { return NumberVariant(is_long() ? kLongAttribute : 0); });
    HasProperty(
        L"Value", [this](Arguments) { return Show(); },
        [this](const VARIANT& value) {
          owner_->StartChunksAnew();
          field().set_value(Read(value, column()));
        });
    HasMethod(L"GetChunk",
              [this](Arguments arguments) { return Chunk(NumberOf(At(arguments, 0))); });
  }

 private:
  [[nodiscard]] tables::Field& field() const { return owner_->recordset().field(position_); }
  [[nodiscard]] const Column& column() const { return owner_->column(position_); }
  [[nodiscard]] bool shown_as_binary() const {
    return state().binary_columns.count(column().name) != 0;
  }
  [[nodiscard]] bool is_long() const {
    const std::int32_t type = DataTypeOf(column(), shown_as_binary());
    return type == 201 || type == 205;
  }

  [[nodiscard]] Variant Show() const {
    if (shown_as_binary()) return BytesVariant(field().bytes());
    const Value value = field().value();
    if (is_long() && state().long_values_in_chunks && !IsNull(value)) return {};
    return tests::Show(value, column());
  }

  // Goes on behind the chunk before; behind the end it is Null.
  Variant Chunk(std::int32_t length) {
    if (!is_long() || length <= 0) throw InvalidArgument(L"ADODB.Field");
    const auto count = static_cast<std::size_t>(length);
    if (chunks_of_ != owner_->moves()) taken_ = 0;
    chunks_of_ = owner_->moves();
    const Value value = field().value();
    const auto* const text = std::get_if<std::wstring>(&value);
    const Bytes bytes = text == nullptr ? field().bytes() : Bytes();
    const std::size_t size = text == nullptr ? bytes.size() : text->size();
    if (taken_ >= size) return tests::Show(Null{}, column());
    const std::size_t from = std::exchange(taken_, std::min(size, taken_ + count));
    if (text != nullptr) return TextVariant(text->substr(from, taken_ - from));
    return BytesVariant({bytes.data() + from, bytes.data() + taken_});
  }

  ComPtr<RecordsetObject> owner_;
  std::int32_t position_;
  std::size_t taken_ = 0;
  int chunks_of_ = -1;
};

// Attaches the one reference that a new object has.
template <class Object, class... Parts>
ComPtr<Object> MakeObject(StandInState& state, Parts... parts) {
  ComPtr<Object> object;
  object.Attach(new Object(state, std::move(parts)...));
  return object;
}

class FieldsObject final : public ScriptObject {
 public:
  FieldsObject(StandInState& state, ComPtr<RecordsetObject> owner)
      : ScriptObject(state, L"Fields"), owner_(std::move(owner)) {
    HasProperty(L"Count",
                [this](Arguments) { return NumberVariant(owner_->recordset().field_count()); });
    HasProperty(L"Item", [this](Arguments arguments) {
      const std::int32_t position = NumberOf(At(arguments, 0));
      static_cast<void>(owner_->recordset().field(position));
      return ObjectVariant(MakeObject<FieldObject>(this->state(), owner_, position).Get());
    });
  }

 private:
  ComPtr<RecordsetObject> owner_;
};

Variant ConnectionObject::Execute(Arguments arguments) {
  constexpr std::int32_t kText = 1;
  const std::wstring statement = TextOf(At(arguments, 0));
  const VARIANT& affected = At(arguments, 1);
  if (affected.vt != (VT_BYREF | VT_VARIANT) || NumberOf(At(arguments, 2)) != kText)
    throw InvalidArgument(L"ADODB.Connection");
  CheckLiterals(statement);
  auto rows = connection_->Execute(statement);
  // A statement that gives rows counts them here, as providers may.
  const bool open = rows->state() == ObjectState::kOpen;
  *affected.pvarVal = NumberVariant(open ? 99 : connection_->records_affected()).Detach();
  return ObjectVariant(
      MakeObject<RecordsetObject>(state(), std::move(rows), ComPtr<ConnectionObject>(this)).Get());
}

RecordsetObject::RecordsetObject(StandInState& state, std::unique_ptr<tables::Recordset> recordset,
                                 ComPtr<ConnectionObject> connection)
    : ScriptObject(state, L"Recordset"),
      connection_(std::move(connection)),
      recordset_(std::move(recordset)) {
  HasProperty(
      L"CursorLocation", [](Arguments) { return NumberVariant(2); },
      [this](const VARIANT& value) {
        recordset_->set_cursor_location(static_cast<tables::CursorLocation>(NumberOf(value)));
      });
  HasProperty(L"State", [this](Arguments) {
    return NumberVariant(static_cast<std::int32_t>(recordset_->state()));
  });
  HasProperty(L"Status", [this](Arguments) {
    constexpr std::int32_t kUnmodified = 8;
    const std::int32_t status = recordset_->status();
    return NumberVariant(status == 0 ? kUnmodified : status);
  });
  HasProperty(L"EditMode", [this](Arguments) { return NumberVariant(IsEdited() ? 1 : 0); });
  HasProperty(L"BOF", [this](Arguments) { return FlagVariant(recordset_->bof()); });
  HasProperty(L"EOF", [this](Arguments) { return FlagVariant(recordset_->eof()); });
  HasProperty(L"RecordCount", [this](Arguments) {
    Variant count;  // as wide as on 64-bit systems
    count.get().llVal = recordset_->record_count();
    count.get().vt = VT_I8;
    return count;
  });
  HasProperty(
      L"Filter", [](Arguments) { return TextVariant(L""); },
      [this](const VARIANT& value) {
        ++moves_;
        recordset_->set_filter(TextOf(value));
      });
  HasProperty(L"Fields", [this](Arguments) {
    return ObjectVariant(
        MakeObject<FieldsObject>(this->state(), ComPtr<RecordsetObject>(this)).Get());
  });
  HasMethod(L"Open", [this](Arguments arguments) {
    Open(arguments);
    return Variant();
  });
  HasMethod(L"Find", [this](Arguments arguments) {
    ++moves_;
    recordset_->Find(TextOf(At(arguments, 0)));
    return Variant();
  });
  HasMethod(L"Close", [this](Arguments) {
    const bool has_row = !recordset_->bof() && !recordset_->eof();
    if (has_row && IsEdited())
      throw Error(static_cast<std::int32_t>(0x800A0C93), L"ADODB.Recordset",
                  L"Operation is not allowed in this context.");
    recordset_->Close();
    return Variant();
  });
  HasMove(L"Cancel", &tables::Recordset::Cancel);
  HasMove(L"MoveFirst", &tables::Recordset::MoveFirst);
  HasMove(L"MoveLast", &tables::Recordset::MoveLast);
  HasMove(L"MoveNext", &tables::Recordset::MoveNext);
  HasMove(L"MovePrevious", &tables::Recordset::MovePrevious);
  HasMove(L"Update", &tables::Recordset::Update);
  HasMove(L"CancelUpdate", &tables::Recordset::CancelUpdate);
}

void RecordsetObject::HasMove(const wchar_t* name, void (tables::Recordset::*move)()) {
  HasMethod(name, [this, move](Arguments) {
    ++moves_;
    (recordset_.get()->*move)();
    return Variant();
  });
}

bool RecordsetObject::IsEdited() const {
  // There is no edit mode without a current row; asking a closed recordset is an error.
  if (recordset_->bof() || recordset_->eof())
    throw Error(error_number::kNoCurrentRow, L"ADODB.Recordset",
                L"Either BOF or EOF is True, or the current record has been deleted. Requested "
                L"operation requires a current record.");
  return recordset_->status() == 2;
}

void RecordsetObject::Open(Arguments arguments) {
  constexpr std::int32_t kText = 1;
  if (At(arguments, 1).vt != VT_DISPATCH || NumberOf(At(arguments, 4)) != kText)
    throw InvalidArgument(L"ADODB.Recordset");
  ComPtr<ConnectionObject> connection(
      dynamic_cast<ConnectionObject*>(static_cast<ScriptObject*>(At(arguments, 1).pdispVal)));
  if (!connection) throw InvalidArgument(L"ADODB.Recordset");
  const std::wstring statement = TextOf(At(arguments, 0));
  CheckLiterals(statement);
  ++moves_;
  recordset_->Open(statement, connection->connection(),
                   static_cast<tables::CursorType>(NumberOf(At(arguments, 2))),
                   static_cast<tables::LockType>(NumberOf(At(arguments, 3))));
  connection_ = std::move(connection);
}

}  // namespace

class AdoStandIn::Factory final : public IClassFactory {
 public:
  using Maker = std::function<ComPtr<ScriptObject>()>;

  explicit Factory(Maker maker) : maker_(std::move(maker)) {}
  virtual ~Factory() = default;
  Factory(const Factory&) = delete;
  Factory& operator=(const Factory&) = delete;

  STDMETHODIMP QueryInterface(REFIID iid, void** object) override {
    const bool known = iid == IID_IUnknown || iid == IID_IClassFactory;
    *object = known ? this : nullptr;
    if (!known) return E_NOINTERFACE;
    AddRef();
    return S_OK;
  }
  STDMETHODIMP_(ULONG) AddRef() override { return ++references_; }
  STDMETHODIMP_(ULONG) Release() override {
    const ULONG left = --references_;
    if (left == 0) delete this;
    return left;
  }
  STDMETHODIMP CreateInstance(IUnknown* outer, REFIID iid, void** object) override {
    if (outer != nullptr) return CLASS_E_NOAGGREGATION;
    return maker_()->QueryInterface(iid, object);
  }
  STDMETHODIMP LockServer(WINBOOL /*lock*/) override { return S_OK; }

 private:
  Maker maker_;
  ULONG references_ = 1;
};

AdoStandIn::AdoStandIn(tables::TableAccess& access) {
  state_.access = &access;
  const auto serve = [this](const wchar_t* name, Factory::Maker maker) {
    CLSID identifier{};
    ComPtr<IUnknown> factory;
    factory.Attach(new Factory(std::move(maker)));
    DWORD cookie = 0;
    if (FAILED(CLSIDFromProgID(name, &identifier)) ||
        FAILED(CoRegisterClassObject(identifier, factory.Get(), CLSCTX_INPROC_SERVER,
                                     REGCLS_MULTIPLEUSE, &cookie)))
      throw std::runtime_error("the stand-in for ADO cannot be registered");
    factories_.push_back(std::move(factory));
    cookies_.push_back(cookie);
  };
  serve(L"ADODB.Connection",
        [this]() -> ComPtr<ScriptObject> { return MakeObject<ConnectionObject>(state_); });
  serve(L"ADODB.Recordset", [this]() -> ComPtr<ScriptObject> {
    return MakeObject<RecordsetObject>(state_, state_.access->MakeRecordset(),
                                       ComPtr<ConnectionObject>());
  });
}

AdoStandIn::~AdoStandIn() {
  for (const DWORD cookie : cookies_) CoRevokeClassObject(cookie);
}

}  // namespace tdefault::tests
