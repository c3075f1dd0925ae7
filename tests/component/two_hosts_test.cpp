// Two hosts of different workstations that save to one global INI file.
#include <array>
#include <atomic>
#include <fstream>
#include <iterator>
#include <stop_token>
#include <string>
#include <thread>

#include "host.h"

using namespace tdefault::component;

namespace {

std::string Contents(const std::wstring& path) {
  std::ifstream file(Utf8(path), std::ios::binary);
  return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

// Keeps the first rows of the table, so that a save is short.
void KeepRows(const std::wstring& table, unsigned char count) {
  std::fstream file(Utf8(table), std::ios::binary | std::ios::in | std::ios::out);
  file.seekp(4);
  const std::array<char, 4> bytes{static_cast<char>(count), 0, 0, 0};
  file.write(bytes.data(), bytes.size());
}

class SavingHost {
 public:
  SavingHost(const Shop& shop, const std::wstring& local_ini, const std::wstring& key)
      : name_(UniqueName(L"tdefault-saving-")) {
    for (std::size_t i = 0; i < events_.size(); ++i)
      events_[i] = CreateEventW(nullptr, FALSE, FALSE, (name_ + kEvents[i]).c_str());
    process_ = StartProgram(
        L"saving_host", L"\"" + shop.data() + L"\" \"" + local_ini + L"\" " + key + L" " + name_);
    AwaitDone();
  }
  ~SavingHost() {
    SetEvent(events_[kEnd]);
    WaitForSingleObject(process_, 60000);
    CloseHandle(process_);
    for (const HANDLE event : events_) CloseHandle(event);
  }
  SavingHost(const SavingHost&) = delete;
  SavingHost& operator=(const SavingHost&) = delete;

  // Returns when the save is done.
  void Save() {
    SetEvent(events_[kTurn]);
    AwaitDone();
  }

 private:
  static constexpr std::array<const wchar_t*, 3> kEvents = {L"-turn", L"-done", L"-end"};
  static constexpr std::size_t kTurn = 0;
  static constexpr std::size_t kDone = 1;
  static constexpr std::size_t kEnd = 2;

  // The helper ends only when it fails.
  void AwaitDone() const {
    const std::array<HANDLE, 2> either{events_[kDone], process_};
    REQUIRE(WaitForMultipleObjects(2, either.data(), FALSE, 120000) == WAIT_OBJECT_0);
  }

  std::wstring name_;
  std::array<HANDLE, 3> events_{};
  HANDLE process_ = nullptr;
};

// The text with the value of one key replaced.
std::string With(std::string text, const std::string& key, int value) {
  const std::size_t place = text.find("\n" + key + "=");
  REQUIRE(place != std::string::npos);
  const std::size_t begin = place + key.size() + 2;
  return text.replace(begin, text.find('\r', begin) - begin, std::to_string(value));
}

}  // namespace

TEST_CASE("two hosts that save in turns 200 times tear no file, and none is ever missing") {
  constexpr int kTurns = 100;  // of each
  const Shop shop;
  KeepRows(shop.table(), 60);
  const std::wstring other_ini = shop.data() + L"\\..\\workstation\\OTHER.INI";
  REQUIRE(CopyFileW(shop.local_ini().c_str(), other_ini.c_str(), TRUE) != 0);
  SavingHost first(shop, shop.local_ini(), L"QuoteValidDays");
  SavingHost second(shop, other_ini, L"WarrantyMonths");
  std::atomic<long> missing = 0;
  std::atomic<long> looks = 0;
  {
    const std::jthread watcher([&](const std::stop_token& stop) {
      for (; !stop.stop_requested(); Sleep(1), ++looks)
        if (GetFileAttributesW(shop.global_ini().c_str()) == INVALID_FILE_ATTRIBUTES) ++missing;
    });
    first.Save();
    second.Save();
    std::string expected = Contents(shop.global_ini());
    for (int turn = 2; turn <= kTurns; ++turn) {
      CAPTURE(turn);
      first.Save();
      expected = With(std::move(expected), "QuoteValidDays", turn);
      CHECK(Contents(shop.global_ini()) == expected);
      second.Save();
      expected = With(std::move(expected), "WarrantyMonths", turn);
      CHECK(Contents(shop.global_ini()) == expected);
    }
  }
  CHECK(missing == 0);
  CHECK(looks > kTurns);
  CHECK(DeleteFileW(other_ini.c_str()) != 0);
  CHECK(DeleteFileW((shop.data() + L"\\..\\workstation\\OTHER.old").c_str()) != 0);
}
