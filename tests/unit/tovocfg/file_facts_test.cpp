#include "tovocfg/file_facts.h"

#include <doctest/doctest.h>

#include "platform/simulation/simulation.h"
#include "sample_options.h"

using namespace tovocfg;
using tdefault::platform::simulation::Simulation;

namespace {

constexpr wchar_t kLocalFile[] = L"C:\\Shop\\TOVO.INI";
constexpr wchar_t kGlobalFile[] = L"C:\\Shop\\DATA\\TOVOGBL.INI";

// The option as the files tell of it.
Option WithFacts(const std::string& local_ini, Option option) {
  Simulation machine;
  machine.PutFile(kLocalFile, local_ini);
  option.font.clear();
  option.key_without_site.clear();
  std::vector<Option> options = {option};
  AddFileFacts(machine.platform().profile_files, {kLocalFile, kLocalFile, kGlobalFile}, options);
  return options.front();
}

std::string FontFrom(const std::string& local_ini, const std::string& name = "Arial") {
  return WithFacts(local_ini, FontOption(name)).font;
}

std::string KeyWithoutSite(const std::string& location, const std::string& key) {
  Option option = PrinterOption("", "x");
  option.key = key;
  return WithFacts("[Companyname]\r\nLocation=" + location + "\r\n", option).key_without_site;
}

}  // namespace

TEST_CASE("a font is put together from the keys that it is spread over") {
  CHECK(FontFrom("[Windows]\r\nReportFont=Arial\r\nReportFontSize=9\r\nReportFontItalic=0\r\n"
                 "ReportFontUnderline=1\r\nReportFontStrikeThru=2\r\nReportFontBold=3\r\n"
                 "ReportFontColor=4\r\n") == "Arial|9|0|1|2|3|4");
}

TEST_CASE("a part of a font without a key is empty, and without any the font is not known") {
  CHECK(FontFrom("[Windows]\r\nReportFontBold=1\r\n") == "Arial|||||1|");
  CHECK(FontFrom("[Windows]\r\nReportFont=Arial\r\n").empty());
  CHECK(FontFrom("[Windows]\r\nReportFontBold=1\r\n", kNotFound).empty());
}

TEST_CASE("the site's number is taken off the key of a printer") {
  CHECK(KeyWithoutSite("3", "Invoice3") == "Invoice");
  CHECK(KeyWithoutSite("12", "Invoice212") == "Invoice2");
  CHECK(KeyWithoutSite("03", "Invoice03") == "Invoice");
  CHECK(KeyWithoutSite("3", "ReportDevice").empty());
  CHECK(KeyWithoutSite("0", "Tray10") == "Tray1");
  CHECK(KeyWithoutSite("none", "Tray10").empty());
}

TEST_CASE("only keys of printers end in the site's number") {
  Option option = RateOption("5");
  option.key = "Rate3";
  CHECK(WithFacts("[Companyname]\r\nLocation=3\r\n", option).key_without_site.empty());
}

TEST_CASE("an option that was loaded as not set while its file has a value would be lost") {
  Simulation machine;
  machine.PutFile(kGlobalFile, "[Tax]\r\nRate1=5\r\n");
  const IniFiles files = {kLocalFile, kLocalFile, kGlobalFile};
  auto& profile_files = machine.platform().profile_files;
  std::vector<Option> options = {ColourOption(kNotFound), RateOption(kNotFound)};
  CHECK(FindLosses(profile_files, files, options).unread == &options[1]);
  options[1].current_value = "4";
  CHECK(FindLosses(profile_files, files, options).unread == nullptr);
  options[1].current_value = kNotFound;
  for (const char* without_value : {"[Tax]\r\n", "[Tax]\r\nRate1=Not found\r\n", ""}) {
    machine.PutFile(kGlobalFile, without_value);
    CHECK(FindLosses(profile_files, files, options).unread == nullptr);
  }
  CHECK(FindLosses(profile_files, {L"TOVO.INI", L"", kGlobalFile}, options).unread == nullptr);
}

TEST_CASE("values that are longer than an option's may be are cut by a save") {
  Simulation machine;
  machine.PutFile(kGlobalFile, "[Tax]\r\nRate1=" + std::string(80, 'x') + "\r\n");
  const IniFiles files = {kLocalFile, kLocalFile, kGlobalFile};
  auto& profile_files = machine.platform().profile_files;
  const std::vector<Option> options = {RateOption(std::string(80, 'x'))};
  CHECK(FindLosses(profile_files, files, options).shortened.empty());
  machine.PutFile(kGlobalFile, "[Tax]\r\nRate1=" + std::string(81, 'x') + "\r\n");
  CHECK(FindLosses(profile_files, files, options).shortened ==
        std::vector<const Option*>{&options[0]});
}
