// The operations that rewrite INI files and change definitions, as a host calls them: what they
// answer, and the bytes of the files afterwards.
#include <array>
#include <filesystem>
#include <fstream>
#include <iterator>

#include "host.h"

using namespace tdefault::component;

namespace {

std::string Bytes(const std::wstring& path) {
  std::ifstream file(std::filesystem::path(path), std::ios::binary);
  REQUIRE(file.is_open());
  return {std::istreambuf_iterator<char>(file), {}};
}

void Write(const std::wstring& path, const std::string& bytes) {
  std::ofstream file(std::filesystem::path(path), std::ios::binary | std::ios::trunc);
  file << bytes;
  file.close();
  REQUIRE_FALSE(file.fail());
}

bool Answer(const LateBound& options, const wchar_t* member,
            const std::vector<Variant>& arguments) {
  const Outcome outcome = options.Try(member, arguments);
  CHECK(outcome.code == S_OK);
  REQUIRE(outcome.value.get().vt == VT_BOOL);
  return outcome.value.get().boolVal == VARIANT_TRUE;
}

// The definition that a test works on, one of the global file.
struct Definition {
  explicit Definition(::_Options* options) {
    const LateBound option(FindOption(options, "Backup", "Generations").Get());
    id = option.Text(L"ID");
    comment = option.Text(L"Comment");
    REQUIRE_FALSE(comment.empty());
  }
  [[nodiscard]] std::wstring wide_id() const { return {id.begin(), id.end()}; }
  [[nodiscard]] std::wstring wide_comment() const { return {comment.begin(), comment.end()}; }

  std::string id;
  std::string comment;
};

// Gives this process a folder for temporary files that no other one uses: those of tests that run
// beside it come and go.
class OwnTemporaryFolder {
 public:
  explicit OwnTemporaryFolder(const Shop& shop) : folder_(shop.data() + L"\\temporary") {
    GetEnvironmentVariableW(L"TMP", previous_.data(), static_cast<DWORD>(previous_.size()));
    REQUIRE(std::filesystem::create_directory(folder_));
    SetEnvironmentVariableW(L"TMP", folder_.c_str());
    std::array<wchar_t, MAX_PATH> used{};
    REQUIRE(GetTempPathW(static_cast<DWORD>(used.size()), used.data()) != 0);
    REQUIRE(used.data() == folder_.wstring() + L"\\");
  }
  ~OwnTemporaryFolder() { SetEnvironmentVariableW(L"TMP", previous_.data()); }
  OwnTemporaryFolder(const OwnTemporaryFolder&) = delete;
  OwnTemporaryFolder& operator=(const OwnTemporaryFolder&) = delete;

  // Here and beside the shop's INI files.
  [[nodiscard]] std::size_t TemporaryFiles() const {
    std::size_t count = 0;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(folder_.parent_path()))
      if (entry.path().extension() == ".tmp") ++count;
    return count;
  }

 private:
  std::filesystem::path folder_;
  std::array<wchar_t, MAX_PATH> previous_{};
};

}  // namespace

TEST_CASE("comments are written, removed and cleared byte by byte") {
  const Apartment apartment;
  const Shop shop;
  const auto opened = OpenShop(shop);
  const LateBound options(opened.Get());
  const Definition definition(opened.Get());
  const std::wstring path = shop.data() + L"\\any.ini";
  const OwnTemporaryFolder temporary(shop);
  const std::string above = ";" + definition.comment + "\r\n";

  Write(path, ";top\r\n\r\n[Backup]\nGenerations=7\n\r\nOther = \xE9 \rline\r\n[Last]\r\nx=1");
  CHECK(Answer(options, L"CommentFile", Arguments(path.c_str())));
  const std::string commented = ";top\r\n\r\n[Backup]\r\n" + above +
                                "Generations=7\r\nOther = \xE9 \r\n\r\n[Last]\r\nx=1\r\n";
  CHECK(Bytes(path) == commented);
  CHECK(Answer(options, L"CommentFile", Arguments(path.c_str())));
  CHECK(Bytes(path) == commented);

  CHECK(Answer(options, L"RemoveIniComment", Arguments(path.c_str(), L"TOP")));
  CHECK(Bytes(path) == commented.substr(6));
  CHECK(Answer(options, L"RemoveIniComment",
               Arguments(path.c_str(), definition.wide_comment().c_str())));
  const std::string bare =
      "\r\n[Backup]\r\nGenerations=7\r\nOther = \xE9 \r\n\r\n[Last]\r\nx=1\r\n";
  CHECK(Bytes(path) == bare);

  Write(path, ";a\r\n" + bare + ";b");
  CHECK(Answer(options, L"ClearIniComments", Arguments(path.c_str())));
  CHECK(Bytes(path) == bare);
  CHECK(temporary.TemporaryFiles() == 0);
}

TEST_CASE("a file that is missing, held or UTF-16 is left alone and answered with False") {
  const Apartment apartment;
  const Shop shop;
  const LateBound options(OpenShop(shop).Get());
  const std::wstring path = shop.data() + L"\\any.ini";
  const OwnTemporaryFolder temporary(shop);
  const auto check_refused = [&] {
    CHECK_FALSE(Answer(options, L"CommentFile", Arguments(path.c_str())));
    CHECK_FALSE(Answer(options, L"ClearIniComments", Arguments(path.c_str())));
    CHECK_FALSE(Answer(options, L"RemoveIniComment", Arguments(path.c_str(), L"c")));
    CHECK(temporary.TemporaryFiles() == 0);
  };
  check_refused();
  CHECK_FALSE(std::filesystem::exists(path));
  const std::string utf16("\xFF\xFE;\0c\0\r\0\n\0", 10);
  Write(path, utf16);
  check_refused();
  CHECK(Bytes(path) == utf16);
  Write(path, ";c\r\n[S]\r\n");
  for (const DWORD share : {DWORD{0}, DWORD{FILE_SHARE_READ}}) {
    const HeldFile held(path, share);
    check_refused();
  }
  CHECK(Bytes(path) == ";c\r\n[S]\r\n");
}

TEST_CASE("a key is disabled by its definition's ID, behind a line that says who and when") {
  const Apartment apartment;
  const Shop shop;
  const auto opened = OpenShop(shop);
  const LateBound options(opened.Get());
  const Definition definition(opened.Get());
  Write(shop.global_ini(), "[Backup]\r\nGenerations=7\r\nOther=1\r\n[Else]\r\ngenerations = 8\r\n");
  CHECK_FALSE(Answer(options, L"CommentINIKey", Arguments(L"no such ID")));
  CHECK(Answer(options, L"CommentINIKey", Arguments(definition.wide_id().c_str())));
  const std::string text = Bytes(shop.global_ini());
  const std::string head = "[Backup]\r\n;The following line was commented by ";
  REQUIRE(text.substr(0, head.size()) == head);
  const std::size_t start =
      head.size() - std::string("The following line was commented by ").size();
  const std::string marker = text.substr(start, text.find("\r\n", start) - start);
  CHECK(text == "[Backup]\r\n;" + marker + "\r\n;Generations=7\r\nOther=1\r\n[Else]\r\n;" + marker +
                    "\r\n;generations = 8\r\n");
  // "... on 03-07-2001 at 14:05:09"
  std::string when = marker.substr(marker.size() - 26);
  for (char& character : when)
    if (character >= '0' && character <= '9') character = '9';
  CHECK(when == " on 99-99-9999 at 99:99:99");
}

TEST_CASE("a definition is looked up, and deleted with its key and comment or its section") {
  const Apartment apartment;
  const Shop shop;
  const auto opened = OpenShop(shop);
  const LateBound options(opened.Get());
  const Definition definition(opened.Get());
  const auto count = [&] { return options.Get(L"Count").get().iVal; };
  const auto before = count();
  Write(shop.global_ini(),
        "[Backup]\r\n;" + definition.comment + "\r\nGenerations=7\r\nOther=1\r\n[Else]\r\nx=2\r\n");

  Variant id = Argument(L"kept");
  const Variant section = Argument(L"BACKUP");
  const Variant key = Argument(L"generations");
  const Variant local = Argument(true);
  const Variant global = Argument(false);
  const auto exists = [&](const Variant& file) {
    const Outcome outcome = options.Invoke(L"SectionKeyExists", kCall,
                                           {section.get(), key.get(), file.get(), Reference(id)});
    CHECK(outcome.code == S_OK);
    return outcome.value.get().boolVal == VARIANT_TRUE;
  };
  CHECK_FALSE(exists(local));
  CHECK(Utf8(id) == "kept");
  CHECK(exists(global));
  CHECK(Utf8(id) == definition.id);
  CHECK(Answer(options, L"SectionKeyExists", Arguments(L"Backup", L"Generations", false)));

  CHECK_FALSE(Answer(options, L"DeleteOption", Arguments(L"no such ID")));
  CHECK(count() == before);
  CHECK(Answer(options, L"DeleteOption", Arguments(definition.wide_id().c_str())));
  CHECK(count() == before - 1);
  CHECK_FALSE(exists(global));
  CHECK(Bytes(shop.global_ini()) == "[Backup]\r\nOther=1\r\n[Else]\r\nx=2\r\n");

  // The last key of its section, in the local file.
  const LateBound last(FindOption(opened.Get(), "Defaults", "WorkstationName").Get());
  const std::string last_id = last.Text(L"ID");
  Write(shop.local_ini(), "[Defaults]\r\n;c\r\nWorkstationName=x\r\n[Else]\r\ny=3\r\n");
  CHECK(Answer(options, L"DeleteOption",
               Arguments(std::wstring(last_id.begin(), last_id.end()).c_str())));
  CHECK(Bytes(shop.local_ini()) == "[Else]\r\ny=3\r\n");
  CHECK(count() == before - 2);
}
