#include "tovocfg/suggestion.h"

#include <doctest/doctest.h>

namespace tovocfg {

TEST_CASE("a misspelt word leads to the candidate that differs least") {
  const std::vector<std::string> commands = {"list",   "set",     "get",
                                             "export", "comment", "uncomment"};
  CHECK(Closest("lst", commands) == "list");
  CHECK(Closest("LIST", commands) == "list");
  CHECK(Closest("lsit", commands) == "list");
  CHECK(Closest("exprot", commands) == "export");
  CHECK(Closest("uncoment", commands) == "uncomment");
  CHECK(Closest("coment", commands) == "comment");
  CHECK(Closest("gett", commands) == "get");
}

TEST_CASE("a word that differs from all in too much leads to none") {
  const std::vector<std::string> commands = {"list", "set", "get", "export"};
  CHECK(Closest("frobnicate", commands).empty());
  CHECK(Closest("", commands).empty());
  CHECK(Closest("x", {"y"}).empty());
  CHECK(Closest("list", {}).empty());
  CHECK(Closest(std::string(100000, 'l'), commands).empty());
}

}  // namespace tovocfg
