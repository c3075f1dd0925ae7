#include "tovocfg/failure.h"

#include <doctest/doctest.h>

#include <nlohmann/json.hpp>

namespace tovocfg {

namespace {

constexpr std::int32_t kFileInUse = static_cast<std::int32_t>(0x800A0046);

Stop SaveFailed() {
  return {ExitCode::kLibraryError, {}, {{kFileInUse, "Options", "held"}}, "Nothing was saved."};
}

}  // namespace

TEST_CASE("every line of what the program says itself names it") {
  CHECK(FormatStop({ExitCode::kUsage, "one\ntwo"}, Palette()) == "tovocfg: one\ntovocfg: two\n");
}

TEST_CASE("an error of the library comes with what to do and with its consequence") {
  CHECK(FormatStop(SaveFailed(), Palette()) ==
        "tovocfg: error 70 from Options\n"
        "  held\n"
        "  Hint: Close the program that has the file open and try again.\n"
        "  Nothing was saved.\n");
}

TEST_CASE("an error in JSON has number, source, description, hint and the exit code") {
  const auto json = nlohmann::json::parse(StopToJson(SaveFailed(), "set"));
  CHECK(json["format"] == 1);
  CHECK(json["command"] == "set");
  CHECK(json["exitCode"] == 1);
  CHECK(json["number"] == 70);
  CHECK(json["source"] == "Options");
  CHECK(json["description"] == "held");
  CHECK(json["hint"] == "Close the program that has the file open and try again.");
  REQUIRE(json["more"].size() == 1);
  CHECK(json["more"][0]["description"] == "Nothing was saved.");
}

TEST_CASE("what the program refuses itself has no number") {
  const auto json =
      nlohmann::json::parse(StopToJson({ExitCode::kValueRefused, "no\nNot saved."}, {}));
  CHECK(json["command"].is_null());
  CHECK(json["exitCode"] == 3);
  CHECK(json["number"].is_null());
  CHECK(json["source"] == "tovocfg");
  CHECK(json["description"] == "no\nNot saved.");
  CHECK(json["hint"] == "");
  CHECK(json["more"].empty());
}

TEST_CASE("colours are on a terminal only, unless they are asked for or refused") {
  CHECK(WantsColour(ColourWish::kAuto, true, ""));
  CHECK_FALSE(WantsColour(ColourWish::kAuto, false, ""));
  CHECK_FALSE(WantsColour(ColourWish::kAuto, true, "1"));
  CHECK(WantsColour(ColourWish::kAlways, false, "1"));
  CHECK_FALSE(WantsColour(ColourWish::kNever, true, ""));
}

TEST_CASE("colours stand around the name of the program and end behind it") {
  CHECK(FormatStop({ExitCode::kUsage, "no"}, Palette(true)) == "\x1b[31mtovocfg:\x1b[0m no\n");
  CHECK(Palette().Paint(Colour::kGood, "ok") == "ok");
  CHECK(Palette(true).Paint(Colour::kGood, "ok") == "\x1b[32mok\x1b[0m");
  CHECK(Palette(true).Paint(Colour::kGood, "").empty());
}

}  // namespace tovocfg
