// Additional processing modules under a real host: created by programmatic identifier, called with
// the catalogue, and told to the user in message boxes.
#include <array>
#include <cstdint>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "host.h"
#include "message_boxes.h"

using namespace tdefault::component;

namespace {

// Writes a text into a column of the first row of a table.
void PutText(const std::wstring& table, const std::string& column, std::string text) {
  const std::string path = Utf8(table);
  std::ifstream in(path, std::ios::binary);
  std::string bytes{std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
  in.close();
  const auto byte = [&bytes](std::size_t at) { return static_cast<unsigned char>(bytes.at(at)); };
  const std::size_t first_row = byte(8) + 256U * byte(9);
  for (std::size_t descriptor = 32; bytes.at(descriptor) != '\r'; descriptor += 32) {
    if (std::string(bytes.c_str() + descriptor) != column) continue;
    const std::size_t offset = byte(descriptor + 12) + 256U * byte(descriptor + 13);
    text.resize(byte(descriptor + 16), ' ');
    bytes.replace(first_row + offset, text.size(), text);
    std::ofstream(path, std::ios::binary) << bytes;
    return;
  }
  FAIL("no column " << column);
}

struct Run {
  bool saved = false;
  std::vector<SeenBox> boxes;
};

// A save of the sample shop whose first option names that module.
Run SaveWith(const std::string& module_text) {
  const Apartment apartment;
  const Shop shop;
  PutText(shop.table(), "ADDTNLPROC", module_text);
  const ComPtr<::_Options> options = OpenShop(shop);
  Run run;
  run.boxes = CloseBoxesWhile([&] {
    VARIANT_BOOL saved = VARIANT_FALSE;
    CHECK(options->Save(&saved) == S_OK);
    run.saved = saved != VARIANT_FALSE;
  });
  CHECK(run.saved);
  return run;
}

std::vector<std::string> Texts(const Run& run) {
  std::vector<std::string> texts;
  for (const SeenBox& box : run.boxes) texts.push_back(box.text);
  return texts;
}

std::string Named(const std::string& module_text) {
  return "An additional processing module, '" + module_text + "'";
}

std::string Last(const std::string& module_text) {
  return Named(module_text) + " has been incorrectly defined and will not be run.";
}

std::string Failed(const std::string& module_text) {
  return "There was an error attempting to run the defined additional procedure, '" + module_text +
         "'.\r\n\r\nError: ";
}

using Lines = std::vector<std::string>;

}  // namespace

TEST_CASE(
    "a module gets the catalogue by reference, and the box has OK alone and the host's name") {
  const Run run = SaveWith("TovoDefaultsTest.Module:Succeed");
  CHECK(Texts(run) == Lines{Last("TovoDefaultsTest.Module:Succeed")});
  REQUIRE(run.boxes.size() == 1);
  CHECK(run.boxes[0].title == "component_test");
  CHECK(run.boxes[0].buttons == std::vector<int>{IDOK});
  CHECK_FALSE(run.boxes[0].has_icon);
}

TEST_CASE("a module that fails with a text is told with it") {
  const std::string name = "TovoDefaultsTest.Module:Fail";
  CHECK(Texts(SaveWith(name)) ==
        Lines{Named(name) + " failed. The returned error description is: no stock", Last(name)});
}

TEST_CASE("a module may load the catalogue again while it runs") {
  const std::string name = "TovoDefaultsTest.Module:CallBack";
  CHECK(Texts(SaveWith(name)) ==
        Lines{Named(name) + " failed. The returned error description is: 164 options", Last(name)});
}

TEST_CASE("a method that gives nothing has failed, a text that is no truth value is an error") {
  const std::string nothing = "TovoDefaultsTest.Module:Nothing";
  CHECK(Texts(SaveWith(nothing)) ==
        Lines{Named(nothing) + " failed. The returned error description is: ", Last(nothing)});
  const std::string perhaps = "TovoDefaultsTest.Module:Perhaps";
  CHECK(Texts(SaveWith(perhaps)) == Lines{Failed(perhaps) + "13, Type mismatch."});
}

TEST_CASE("an error that a module raises is told with its own number and text") {
  const std::string name = "tovodefaultstest.module:raise";
  CHECK(Texts(SaveWith(name)) == Lines{Failed(name) + "-2147220501, the printer is off."});
}

TEST_CASE("a method that the object does not have is error 438") {
  const std::string name = "TovoDefaultsTest.Module:Missing";
  CHECK(Texts(SaveWith(name)) ==
        Lines{Failed(name) + "438, Object doesn't support this property or method: Missing."});
}

TEST_CASE("an identifier that is not registered is error 429, and nothing is told after it") {
  const std::string name = "TovoDefaultsTest.NoSuchClass:Run";
  const Lines texts = Texts(SaveWith(name));
  REQUIRE(texts.size() == 1);
  CHECK(texts[0].starts_with(Failed(name) + "429, ActiveX component can't create object: "));
}

TEST_CASE("a method's name may hold colons, and a module may let go of its argument") {
  for (const char* name : {"TovoDefaultsTest.Module:B:C", "TovoDefaultsTest.Module:Replace"})
    CHECK(Texts(SaveWith(name)) == Lines{Last(name)});
}
