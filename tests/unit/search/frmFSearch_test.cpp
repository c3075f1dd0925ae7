#include "search/frmFSearch.h"

#include <doctest/doctest.h>

#include <string>
#include <vector>

#include "base/error.h"
#include "platform/simulation/simulation.h"
#include "unit/readable.h"
#include "unit/search/fake_view.h"

using namespace tdefault;
using platform::DriveKind;
using platform::simulation::Simulation;
using search::AcceptButton;
using search::FakeView;
using search::frmFSearch;

namespace {

// The dialog of a machine, shown.
struct Shown {
  explicit Shown(Simulation& machine) : form(machine.platform(), view) {
    form.Form_Initialize(L"Tovo Defaults");
    form.Form_Activate();
  }

  void Select(std::size_t row) {
    view.selected.insert(row);
    form.lvwFindResults_SelectionChanged();
  }
  void SelectOnly(std::size_t row) {
    view.selected.clear();
    Select(row);
  }
  void SearchFirstDrive() {
    Select(0);
    form.cmdSearch_Click();
  }
  [[nodiscard]] std::vector<std::wstring> RowTexts() const {
    std::vector<std::wstring> texts;
    for (const search::ListRow& row : view.rows) texts.push_back(row.text);
    return texts;
  }

  FakeView view;
  frmFSearch form;
};

using Texts = std::vector<std::wstring>;

}  // namespace

TEST_CASE("the dialog says which product is searching") {
  Simulation machine;
  const Shown dialog(machine);
  CHECK(dialog.view.message ==
        L"Please wait while Tovo Defaults searches for the Tovo data folder.");
}

TEST_CASE("the dialog opens with the drives to search and nothing selected") {
  Simulation machine;
  machine.SetDrive(L"A:\\", DriveKind::kRemovable);
  machine.SetDrive(L"N:\\", DriveKind::kRemote);
  machine.AddConnection(L"N:", L"\\\\server\\tovo");
  const Shown dialog(machine);
  const FakeView& view = dialog.view;

  REQUIRE(view.columns.size() == 2);
  CHECK(view.columns[0].key == L"Drives");
  CHECK(view.columns[0].caption == L"Select drives to search");
  CHECK(view.columns[1].key == L"Description");
  CHECK(view.columns[1].caption == L"Description");
  REQUIRE(dialog.RowTexts() == Texts{L"C:\\", L"N:\\"});
  CHECK(view.rows[0].image == L"HARDDRIVE");
  CHECK(view.rows[0].description == L"Local hard drive C:\\");
  CHECK(view.rows[1].image == L"NETWORK");
  CHECK(view.rows[1].description == L"Networked drive \\\\server\\tovo");
  CHECK(view.visible == AcceptButton::kSearch);
  CHECK_FALSE(view.search_enabled);
  CHECK(view.focus == L"list");
  CHECK(view.status.empty());
}

TEST_CASE("the description column takes what the first one leaves of the list") {
  Simulation machine;
  const Shown dialog(machine);
  CHECK(dialog.view.widths == std::vector<int>{23 * FakeView::kCharacter, 400 - 23 * 6});
}

TEST_CASE("the description column leaves room for a vertical scroll bar") {
  Simulation machine;
  FakeView view;
  view.rows_in_sight = 0;
  frmFSearch form(machine.platform(), view);
  form.Form_Activate();
  CHECK(view.widths == std::vector<int>{23 * 6, 400 - 23 * 6 - 17});
}

TEST_CASE("in a narrow list the first column takes no more than half") {
  Simulation machine;
  FakeView view;
  view.list_width = 100;
  frmFSearch form(machine.platform(), view);
  form.Form_Activate();
  CHECK(view.widths == std::vector<int>{50, 50});
}

TEST_CASE("cmdSearch is enabled exactly while a drive is selected") {
  Simulation machine;
  machine.SetDrive(L"D:\\", DriveKind::kFixed);
  Shown dialog(machine);
  dialog.Select(1);
  CHECK(dialog.view.search_enabled);
  dialog.Select(0);
  CHECK(dialog.view.search_enabled);
  dialog.view.selected.clear();
  dialog.form.lvwFindResults_SelectionChanged();
  CHECK_FALSE(dialog.view.search_enabled);
  CHECK_FALSE(dialog.view.ok_enabled);
}

TEST_CASE("the folders found are listed in display case, and counted in the caption") {
  Simulation machine;
  machine.PutFile(L"C:\\TOVO\\aaa.txt", "");
  machine.PutFile(L"C:\\TOVO\\DATA\\DEFAULTS.DBF", "");
  machine.PutFile(L"C:\\old shop\\data\\defaults.dbf", "");
  Shown dialog(machine);
  dialog.SearchFirstDrive();
  const FakeView& view = dialog.view;

  REQUIRE(view.columns.size() == 1);
  CHECK(view.columns[0].key == L"Paths");
  CHECK(view.columns[0].caption == L"Tovo Data Paths Found (2)");
  CHECK(dialog.RowTexts() == Texts{L"C:\\Old Shop\\Data", L"C:\\Tovo\\Data"});
  CHECK(view.rows[0].image == L"path");
  CHECK(view.visible == AcceptButton::kOK);
  CHECK(view.ok_enabled);
  CHECK(view.status == L"Finished");
  CHECK(view.folder.empty());
  CHECK(view.focus == L"list");
  CHECK_FALSE(dialog.form.Searching());
}

TEST_CASE("a match that is the first entry of its folder is followed by an empty row that counts") {
  Simulation machine;
  // Only a root begins with something else than ".".
  machine.PutFile(L"D:\\defaults.dbf", "");
  machine.PutFile(L"D:\\shop\\defaults.dbf", "");
  Shown dialog(machine);
  dialog.Select(1);
  dialog.form.cmdSearch_Click();
  CHECK(dialog.RowTexts() == Texts{L"D:", L"", L"D:\\Shop"});
  CHECK(dialog.view.columns[0].caption == L"Tovo Data Paths Found (3)");

  SUBCASE("accepting the empty row chooses no folder") {
    dialog.SelectOnly(1);
    dialog.form.cmdOK_Click();
    CHECK(dialog.view.hidden);
    CHECK(dialog.form.NewDataPath().empty());
  }
}

TEST_CASE("without a match one row says so, and accepting it chooses no folder") {
  Simulation machine;
  Shown dialog(machine);
  dialog.SearchFirstDrive();
  CHECK(dialog.RowTexts() == Texts{L"the Tovo data path was not found"});
  CHECK(dialog.view.rows[0].image == L"path");
  CHECK(dialog.view.columns[0].caption == L"Tovo Data Paths Found (0)");
  CHECK(dialog.view.ok_enabled);
  CHECK(dialog.view.status == L"Finished");

  dialog.Select(0);
  dialog.form.cmdOK_Click();
  CHECK(dialog.view.hidden);
  CHECK(dialog.form.NewDataPath().empty());
}

TEST_CASE("only the selected drives are searched, from the first to the last") {
  Simulation machine;
  for (const wchar_t* drive : {L"D:\\", L"E:\\", L"F:\\"})
    machine.PutFile(drive + std::wstring(L"DATA\\defaults.dbf"), "");
  Shown dialog(machine);
  dialog.Select(3);
  dialog.Select(1);
  dialog.form.cmdSearch_Click();
  CHECK(dialog.RowTexts() == Texts{L"D:\\Data", L"F:\\Data"});
}

TEST_CASE("without a selected drive the current folder and those of the path are searched") {
  Simulation machine;
  machine.SetVariable(L"PATH", L"C:\\P1;C:\\P2");
  machine.PutFile(L"C:\\P2\\deep\\defaults.dbf", "");
  machine.PutFile(L"C:\\P1\\x.txt", "");
  machine.PutFile(L"C:\\elsewhere\\defaults.dbf", "");
  machine.PutFile(L"C:\\Work\\defaults.dbf", "");
  Shown dialog(machine);
  dialog.form.cmdSearch_Click();
  CHECK(dialog.RowTexts() == Texts{L"C:\\Work", L"C:\\P2\\Deep"});
}

TEST_CASE("a drive that cannot be listed ends the search with what was found so far") {
  Simulation machine;
  machine.PutFile(L"C:\\DATA\\defaults.dbf", "");
  machine.SetDrive(L"D:\\", DriveKind::kFixed);
  machine.PutFile(L"E:\\DATA\\defaults.dbf", "");
  Shown dialog(machine);
  for (std::size_t row = 0; row < 3; ++row) dialog.Select(row);
  dialog.form.cmdSearch_Click();
  CHECK(dialog.RowTexts() == Texts{L"C:\\Data"});
}

TEST_CASE("while it searches the dialog shows the folder, and cmdOK cannot be pressed") {
  Simulation machine;
  machine.PutFile(L"C:\\DATA\\defaults.dbf", "");
  Shown dialog(machine);
  std::size_t looks = 0;
  dialog.view.during_search = [&] {
    if (!dialog.form.Searching()) return;
    ++looks;
    CHECK(dialog.view.visible == AcceptButton::kOK);
    CHECK_FALSE(dialog.view.ok_enabled);
    CHECK(dialog.view.columns[0].caption == L"Tovo Data Paths Found (0)");
    CHECK(dialog.view.rows.empty());
    CHECK(dialog.view.focus == L"cancel");
    CHECK(dialog.view.status == (dialog.view.folder.empty() ? L"Finished" : L"Searching ..."));
  };
  dialog.SearchFirstDrive();
  CHECK(looks > 3);
  CHECK(dialog.view.folders[0] == L"C:\\");
  CHECK(dialog.view.folders[1] == L"C:\\DATA\\");
}

TEST_CASE("a search that was cancelled closes the dialog and leaves the new data path empty") {
  Simulation machine;
  machine.PutFile(L"C:\\A\\defaults.dbf", "");
  machine.PutFile(L"C:\\B\\defaults.dbf", "");
  Shown dialog(machine);
  dialog.view.during_search = [&] {
    if (dialog.view.folder == L"C:\\B\\") dialog.form.cmdCancel_Click();
  };
  dialog.SearchFirstDrive();
  CHECK(dialog.view.hidden);
  CHECK(dialog.form.NewDataPath().empty());
  // Nothing of the folder at which it was cancelled was looked at.
  CHECK(dialog.RowTexts() == Texts{L"C:\\A"});
}

TEST_CASE("cmdCancel closes the dialog when no search runs, and chooses nothing") {
  Simulation machine;
  machine.PutFile(L"C:\\DATA\\defaults.dbf", "");
  Shown dialog(machine);
  SUBCASE("beside the drives") {}
  SUBCASE("beside the folders found") { dialog.SearchFirstDrive(); }
  dialog.form.cmdCancel_Click();
  CHECK(dialog.view.hidden);
  CHECK(dialog.form.NewDataPath().empty());
}

TEST_CASE("cmdOK chooses the first selected folder and closes the dialog") {
  Simulation machine;
  for (const wchar_t* folder : {L"A", L"B", L"C"})
    machine.PutFile(L"C:\\" + std::wstring(folder) + L"\\defaults.dbf", "");
  Shown dialog(machine);
  dialog.SearchFirstDrive();
  dialog.Select(2);
  dialog.Select(1);
  dialog.form.cmdOK_Click();
  CHECK(dialog.view.hidden);
  CHECK(dialog.form.NewDataPath() == L"C:\\B");
}

TEST_CASE("cmdOK without a selection takes the only folder, and never one of several") {
  Simulation machine;
  machine.PutFile(L"C:\\A\\defaults.dbf", "");
  SUBCASE("one") {
    Shown dialog(machine);
    dialog.SearchFirstDrive();
    dialog.form.cmdOK_Click();
    CHECK(dialog.view.hidden);
    CHECK(dialog.form.NewDataPath() == L"C:\\A");
  }
  SUBCASE("several") {
    machine.PutFile(L"C:\\B\\defaults.dbf", "");
    Shown dialog(machine);
    dialog.SearchFirstDrive();
    dialog.form.cmdOK_Click();
    CHECK_FALSE(dialog.view.hidden);
    CHECK_FALSE(dialog.view.ok_enabled);
    CHECK(dialog.view.focus == L"list");
    dialog.Select(1);
    CHECK(dialog.view.ok_enabled);
  }
}

TEST_CASE("a double click accepts a folder found, and no drive") {
  Simulation machine;
  machine.PutFile(L"C:\\A\\defaults.dbf", "");
  machine.PutFile(L"C:\\B\\defaults.dbf", "");
  Shown dialog(machine);
  dialog.Select(0);
  dialog.form.lvwFindResults_DblClick(0);
  CHECK_FALSE(dialog.view.hidden);
  dialog.form.cmdSearch_Click();
  dialog.Select(0);
  dialog.form.lvwFindResults_DblClick(1);
  CHECK(dialog.view.hidden);
  CHECK(dialog.form.NewDataPath() == L"C:\\B");
}

TEST_CASE("a folder too wide for its label loses the middle, again and again until it fits") {
  Simulation machine;
  const std::wstring path = L"C:\\Program Files\\Tovo\\Shop One\\Data\\Archive\\";
  machine.AddFolder(path);
  Shown dialog(machine);
  const auto shown_at = [&](int characters) {
    Shown narrow(machine);
    narrow.view.label_width = characters * FakeView::kCharacter;
    narrow.SearchFirstDrive();
    for (const std::wstring& folder : narrow.view.folders)
      if (folder.ends_with(L"Archive\\")) return folder;
    return std::wstring();
  };
  CHECK(shown_at(44) == path);
  CHECK(shown_at(43) == L"C:\\Program...\\Tovo\\Shop One\\Data\\Archive\\");
  CHECK(shown_at(40) == L"C:\\Program...\\Shop One\\Data\\Archive\\");
  CHECK(shown_at(35) == L"C:\\Program...\\Data\\Archive\\");
  CHECK(shown_at(26) == L"C:\\Program...\\Archive\\");
}

TEST_CASE("a wide folder without a backslash from position 15 on is shown as it is") {
  Simulation machine;
  machine.AddFolder(L"C:\\A\\BBBBBBB");
  Shown dialog(machine);
  dialog.view.label_width = 12;
  dialog.SearchFirstDrive();
  CHECK(std::find(dialog.view.folders.begin(), dialog.view.folders.end(), L"C:\\A\\BBBBBBB\\") !=
        dialog.view.folders.end());
}

TEST_CASE("the last place where a folder text can be cut is the one at its 15th character") {
  Simulation machine;
  // The backslash is the 15th character of the one and the 14th of the other.
  machine.AddFolder(L"C:\\AAAAAAAAAAA\\X");
  machine.AddFolder(L"C:\\BBBBBBBBBB\\Y");
  Shown dialog(machine);
  dialog.view.label_width = 15 * FakeView::kCharacter;
  dialog.SearchFirstDrive();
  const auto& folders = dialog.view.folders;
  CHECK(std::find(folders.begin(), folders.end(), L"C:\\AAAAAAA...\\X\\") == folders.end());
  CHECK(std::find(folders.begin(), folders.end(), L"C:\\AAAAAAA...\\") != folders.end());
  CHECK(std::find(folders.begin(), folders.end(), L"C:\\BBBBBBB...\\") != folders.end());
}

TEST_CASE("columns keep their share of a list that is made wider or narrower") {
  Simulation machine;
  Shown dialog(machine);
  dialog.view.list_width = 800;
  dialog.form.Form_Resize();
  CHECK(dialog.view.widths == std::vector<int>{2 * 23 * 6, 800 - 2 * 23 * 6});
  dialog.view.list_width = 200;
  dialog.form.Form_Resize();
  CHECK(dialog.view.widths == std::vector<int>{69, 131});

  SUBCASE("also those that the user gave them") {
    dialog.view.widths = {50, 100};
    dialog.form.lvwFindResults_ColumnResized();
    dialog.view.list_width = 400;
    dialog.form.Form_Resize();
    CHECK(dialog.view.widths == std::vector<int>{100, 200});
  }
  SUBCASE("and the column of the folders found fills it, but for a scroll bar") {
    for (const wchar_t* folder : {L"A", L"B"})
      machine.PutFile(L"C:\\" + std::wstring(folder) + L"\\defaults.dbf", "");
    dialog.view.rows_in_sight = 1;
    dialog.SearchFirstDrive();
    CHECK(dialog.view.widths == std::vector<int>{200 - 17});
    dialog.view.list_width = 300;
    dialog.form.Form_Resize();
    CHECK(dialog.view.widths == std::vector<int>{300 - 17});
  }
}

TEST_CASE("every search begins with an engine of its own, and one at a time") {
  Simulation machine;
  machine.PutFile(L"C:\\A\\defaults.dbf", "");
  Shown dialog(machine);
  std::size_t searches_at_once = 0;
  dialog.view.during_search = [&] {
    if (!dialog.form.Searching()) return;
    const std::size_t shown = dialog.view.folders.size();
    dialog.form.cmdSearch_Click();
    dialog.form.cmdOK_Click();
    searches_at_once += dialog.view.folders.size() - shown;
  };
  dialog.SearchFirstDrive();
  CHECK(searches_at_once == 0);
  CHECK(dialog.RowTexts() == Texts{L"C:\\A"});
  CHECK_FALSE(dialog.view.hidden);
}

TEST_CASE("an error of the search reaches the caller, and the search counts as over") {
  Simulation machine;
  Shown dialog(machine);
  dialog.view.during_search = [] { throw Error(7, L"Here", L"too much"); };
  dialog.Select(0);
  try {
    dialog.form.cmdSearch_Click();
    FAIL("no error");
  } catch (const Error& error) {
    CHECK(error.number() == 7);
    CHECK(error.source() == L"Here:FindFile");
    CHECK(error.description() == L"too much");
  }
  CHECK_FALSE(dialog.form.Searching());
}
