// How the network provider's buffers are read: with calls of the test's own, since a machine
// without a network has none to read.
#include "platform/win32/win32_drives.h"

#include <doctest/doctest.h>

#include <cstring>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "base/text.h"

using namespace tdefault::platform;
using win32::NetworkCalls;
using win32::Win32Drives;

namespace {

struct Entry {
  const char* local_name;
  const char* remote_name;
};

// What the calls below answer, and what they were asked.
struct Network {
  DWORD open_code = NO_ERROR;
  DWORD read_code = NO_ERROR;
  std::vector<Entry> entries;
  std::size_t next = 0;

  int open = 0;
  std::vector<DWORD> asked;  // scope, type, usage; then count and size of each reading
  bool had_container = false;
};

Network* network = nullptr;

DWORD WINAPI Open(DWORD scope, DWORD type, DWORD usage, LPNETRESOURCEA container,
                  LPHANDLE enumeration) {
  network->asked = {scope, type, usage};
  network->had_container = container != nullptr;
  if (network->open_code != NO_ERROR) return network->open_code;
  ++network->open;
  *enumeration = network;
  return NO_ERROR;
}

// The texts go to the end of the buffer, as the system puts them.
DWORD WINAPI Read(HANDLE enumeration, LPDWORD count, LPVOID buffer, LPDWORD size) {
  CHECK(enumeration == network);
  network->asked.push_back(*count);
  network->asked.push_back(*size);
  if (network->read_code != NO_ERROR) return network->read_code;
  if (network->next == network->entries.size()) return ERROR_NO_MORE_ITEMS;
  auto* const resources = static_cast<NETRESOURCEA*>(buffer);
  char* text = static_cast<char*>(buffer) + *size;
  DWORD filled = 0;
  while (filled < *count && network->next < network->entries.size()) {
    const Entry& entry = network->entries[network->next];
    NETRESOURCEA resource{};
    for (const auto& [name, target] : {std::pair(entry.local_name, &resource.lpLocalName),
                                       {entry.remote_name, &resource.lpRemoteName}}) {
      if (name == nullptr) continue;
      text -= std::strlen(name) + 1;
      if (text < reinterpret_cast<char*>(resources + filled + 1)) {
        return filled == 0 ? ERROR_MORE_DATA : NO_ERROR;
      }
      std::strcpy(text, name);
      *target = text;
    }
    resources[filled] = resource;
    ++filled;
    ++network->next;
  }
  *count = filled;
  return NO_ERROR;
}

DWORD WINAPI Close(HANDLE enumeration) {
  CHECK(enumeration == network);
  --network->open;
  return NO_ERROR;
}

// A network for one case.
class NetworkOfTest {
 public:
  NetworkOfTest() { network = &state; }
  ~NetworkOfTest() {
    CHECK(state.open == 0);
    network = nullptr;
  }
  NetworkOfTest(const NetworkOfTest&) = delete;
  NetworkOfTest& operator=(const NetworkOfTest&) = delete;

  Network state;
  Win32Drives drives{NetworkCalls{&Open, &Read, &Close}};
};

constexpr std::uint32_t kCount = 1024;
constexpr std::uint32_t kBufferBytes = 32768;

// Each connection as one text.
std::vector<std::string> Texts(const SystemResult<std::vector<NetworkConnection>>& read) {
  if (!read.ok()) return {"error " + std::to_string(read.code())};
  std::vector<std::string> texts;
  for (const NetworkConnection& connection : read.value()) {
    texts.push_back(tdefault::ToUtf8(connection.local_name + L" = " + connection.remote_name));
  }
  return texts;
}

using Strings = std::vector<std::string>;

}  // namespace

TEST_CASE("connections are read from the system's buffer in its order") {
  NetworkOfTest test;
  test.state.entries = {{"N:", R"(\\server\shop)"}, {"LPT1:", R"(\\server\printer)"}};
  const auto connections = test.drives.ConnectedResources();
  REQUIRE(connections.ok());
  CHECK(Texts(connections.value()->Read(kCount, kBufferBytes)) ==
        Strings{R"(N: = \\server\shop)", R"(LPT1: = \\server\printer)"});
  CHECK(test.state.asked == std::vector<DWORD>{1, 0, 0, kCount, kBufferBytes});
  CHECK_FALSE(test.state.had_container);
}

TEST_CASE("a connection without a local or a remote name has empty text there") {
  NetworkOfTest test;
  test.state.entries = {{nullptr, R"(\\server\ipc)"}, {"N:", nullptr}};
  const auto connections = test.drives.ConnectedResources();
  REQUIRE(connections.ok());
  CHECK(Texts(connections.value()->Read(kCount, kBufferBytes)) ==
        Strings{R"( = \\server\ipc)", "N: = "});
}

TEST_CASE("names are in the system's code page") {
  NetworkOfTest test;
  test.state.entries = {{"N:", "\\\\server\\b\xFCro"}};
  const auto connections = test.drives.ConnectedResources();
  REQUIRE(connections.ok());
  const auto read = connections.value()->Read(kCount, kBufferBytes);
  REQUIRE(read.ok());
  if (GetACP() == 1252) CHECK(read.value().front().remote_name == L"\\\\server\\b\u00FCro");
}

TEST_CASE("a reading gives as many as were asked for, the next one the rest, then none") {
  NetworkOfTest test;
  test.state.entries = {{"A:", "1"}, {"B:", "2"}, {"C:", "3"}};
  const auto connections = test.drives.ConnectedResources();
  REQUIRE(connections.ok());
  CHECK(Texts(connections.value()->Read(2, kBufferBytes)) == Strings{"A: = 1", "B: = 2"});
  CHECK(Texts(connections.value()->Read(2, kBufferBytes)) == Strings{"C: = 3"});
  CHECK(Texts(connections.value()->Read(2, kBufferBytes)).empty());
}

TEST_CASE("a reading gives as many as its buffer takes, and 234 when it takes none") {
  NetworkOfTest test;
  test.state.entries = {{"A:", "1"}, {"B:", "2"}};
  const auto connections = test.drives.ConnectedResources();
  REQUIRE(connections.ok());
  CHECK(Texts(connections.value()->Read(kCount, sizeof(NETRESOURCEA))) == Strings{"error 234"});
  CHECK(Texts(connections.value()->Read(kCount, 0)) == Strings{"error 234"});
  CHECK(Texts(connections.value()->Read(kCount, sizeof(NETRESOURCEA) + 8)) == Strings{"A: = 1"});
  CHECK(Texts(connections.value()->Read(kCount, sizeof(NETRESOURCEA) + 8)) == Strings{"B: = 2"});
}

TEST_CASE("an enumeration that cannot be opened or read gives the system's code") {
  NetworkOfTest test;
  test.state.read_code = ERROR_NO_NETWORK;
  {
    const auto connections = test.drives.ConnectedResources();
    REQUIRE(connections.ok());
    CHECK(test.state.open == 1);
    CHECK(Texts(connections.value()->Read(kCount, kBufferBytes)) == Strings{"error 1222"});
  }
  CHECK(test.state.open == 0);
  test.state.open_code = ERROR_NOT_ENOUGH_MEMORY;
  CHECK(test.drives.ConnectedResources().code() == ERROR_NOT_ENOUGH_MEMORY);
}
