#include "stress_rows.h"

#include <variant>

namespace tdefault::tests {
namespace {

// The values of one version. Each changes with some versions only, so that some changes touch no
// key, and some no memo.
struct Content {
  std::wstring name;
  std::uint32_t cents = 0;
  bool done = false;
  std::wstring note;
};

std::uint64_t Mixed(const std::wstring& id, std::uint64_t number) {
  std::uint64_t mixed = 14695981039346656037ULL ^ number;
  for (const wchar_t character : id)
    mixed = (mixed ^ static_cast<std::uint64_t>(character)) * 1099511628211ULL;
  mixed ^= mixed >> 29U;
  mixed *= 0xBF58476D1CE4E5B9ULL;
  return mixed ^ mixed >> 32U;
}

std::wstring Letters(std::uint64_t seed, std::size_t count) {
  std::wstring letters;
  for (std::size_t i = 0; i < count; ++i) {
    letters += static_cast<wchar_t>((i % 7 == 0 ? L'A' : L'a') + seed % 26);
    seed = seed * 6364136223846793005ULL + 1442695040888963407ULL;
    seed ^= seed >> 33U;
  }
  return letters;
}

Content ContentOf(const std::wstring& id, std::uint32_t version) {
  const std::uint64_t notes = Mixed(id, 3 + version / 3 * 8);
  return {.name = Letters(Mixed(id, 1 + version / 2 * 8), 4 + Mixed(id, version / 2) % 17),
          .cents = static_cast<std::uint32_t>(Mixed(id, 2 + version / 2 * 8) % 1000000),
          .done = Mixed(id, 4 + version * 8) % 3 == 0,
          // None, one block, or several.
          .note = Letters(notes, notes % 5 == 0 ? 0 : notes % 240)};
}

std::wstring AmountOf(const Content& content) {
  const std::wstring cents = std::to_wstring(100 + content.cents % 100).substr(1);
  return std::to_wstring(content.cents / 100) + L"." + cents;
}

std::wstring Logical(bool value) { return value ? L".T." : L".F."; }

std::wstring Where(const std::wstring& id) { return L" WHERE ID = '" + id + L"'"; }

}  // namespace

BuiltTable EmptyStressTable() {
  TableSpec spec;
  spec.version = 0x31;
  spec.columns = {{.name = "ID", .type = 'C', .length = 12},
                  {.name = "VER", .type = 'I'},
                  {.name = "NAME", .type = 'C', .length = 20},
                  {.name = "AMOUNT", .type = 'N', .length = 10, .decimals = 2},
                  {.name = "DONE", .type = 'L'},
                  {.name = "NOTE", .type = 'M'},
                  {.name = "SEQ", .type = 'I', .next_number = 1, .number_step = 1}};
  spec.tags = {{.name = "ID", .expression = "id", .key_length = 12, .candidate = true},
               {.name = "NAME", .expression = "UPPER(name)", .key_length = 20},
               {.name = "SOUND", .expression = "name", .key_length = 40, .general = true},
               {.name = "AMOUNT", .expression = "amount", .key_length = 8},
               {.name = "OPEN", .expression = "amount", .condition = ".NOT.done", .key_length = 8},
               {.name = "SEQ", .expression = "seq", .key_length = 4, .candidate = true}};
  return BuildTable(spec);
}

std::wstring OwnId(int worker, std::uint32_t number) {
  return L"w" + std::to_wstring(worker) + L"-" + std::to_wstring(number);
}

std::wstring SharedId(int number) { return L"shared-" + std::to_wstring(number); }

std::wstring InsertStatement(const std::wstring& id, std::uint32_t version) {
  const Content content = ContentOf(id, version);
  return L"INSERT INTO STRESS (ID, VER, NAME, AMOUNT, DONE, NOTE) VALUES ('" + id + L"', " +
         std::to_wstring(version) + L", '" + content.name + L"', " + AmountOf(content) + L", " +
         Logical(content.done) + L", '" + content.note + L"')";
}

std::wstring UpdateStatement(const std::wstring& id, std::uint32_t version) {
  const Content content = ContentOf(id, version);
  return L"UPDATE STRESS SET VER = " + std::to_wstring(version) + L", NAME = '" + content.name +
         L"', AMOUNT = " + AmountOf(content) + L", DONE = " + Logical(content.done) +
         L", NOTE = '" + content.note + L"'" + Where(id);
}

std::wstring CountStatement(const std::wstring& id) {
  return L"UPDATE STRESS SET VER = VER + 1" + Where(id);
}

std::wstring CountAllStatement() {
  return L"UPDATE STRESS SET VER = VER + 1 WHERE ID LIKE 'shared-%'";
}

std::wstring DeleteStatement(const std::wstring& id) { return L"DELETE FROM STRESS" + Where(id); }

std::wstring WrongInRow(tables::Recordset& row, std::uint32_t version, bool counts) {
  const std::wstring id = TextOf(row, L"ID");
  const std::uint32_t stored = NumberOf(row, L"VER");
  if (stored != version) {
    return id + L" has version " + std::to_wstring(stored) + L" instead of " +
           std::to_wstring(version);
  }
  const Content content = ContentOf(id, counts ? 0 : version);
  const auto text = [&](const wchar_t* column, const std::wstring& expected) {
    const std::wstring found = TextOf(row, column);
    return found == expected ? std::wstring()
                             : id + L" version " + std::to_wstring(version) + L": " + column +
                                   L" is \"" + found + L"\" instead of \"" + expected + L"\"";
  };
  if (std::wstring wrong = text(L"NAME", content.name); !wrong.empty()) return wrong;
  if (std::wstring wrong = text(L"NOTE", content.note); !wrong.empty()) return wrong;
  const auto amount = std::get<double>(row.field(L"AMOUNT").value());
  const double cents = amount * 100;
  if (cents - content.cents > 0.5 || content.cents - cents > 0.5)
    return id + L" has the amount " + std::to_wstring(amount);
  if (std::get<bool>(row.field(L"DONE").value()) != content.done) return id + L": DONE is wrong";
  return {};
}

std::unique_ptr<tables::Connection> Connect(tables::TableAccess& access,
                                            const std::wstring& folder) {
  auto connection = access.MakeConnection();
  connection->set_connection_string(
      L"Provider=VFPOLEDB.1;SourceType=dbf;Data Source=" + folder +
      L";Mode=ReadWrite|Share Deny None;Collating Sequence=GENERAL;Deleted=TRUE;");
  connection->set_mode(tables::ConnectMode::kReadWrite);
  connection->Open();
  return connection;
}

std::wstring TextOf(tables::Recordset& row, const wchar_t* column) {
  std::wstring text = std::get<std::wstring>(row.field(column).value());
  return text.substr(0, text.find_last_not_of(L' ') + 1);
}

std::uint32_t NumberOf(tables::Recordset& row, const wchar_t* column) {
  return static_cast<std::uint32_t>(std::get<std::int32_t>(row.field(column).value()));
}

}  // namespace tdefault::tests
