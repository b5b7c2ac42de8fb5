// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "ui/list_view_child.h"

#include <gtest/gtest.h>

#include "ui/custom_form.h"
#include "ui/windows/form_driver.h"

namespace larkspur {
namespace {

struct Model final : cListModel {
  explicit Model(std::vector<std::u16string> rows) : names(std::move(rows)) {}
  u32 RowCount() const override { return static_cast<u32>(names.size()); }
  std::u16string CellText(u32 row, u32 column) const override {
    ++asked;
    return column == 0 ? names[row] : std::u16string(names[row].size(), u'#');
  }

  std::vector<std::u16string> names;
  mutable u32 asked = 0;
};

struct ByName final : cListViewChild::cListViewSortProvider {
  explicit ByName(const Model& shown) : model(shown) {}
  int Compare(u32 a, u32 b) const override { return model.names[a].compare(model.names[b]); }
  const Model& model;
};

class cListForm final : public cCustomForm {
 public:
  explicit cListForm(std::vector<std::u16string> names) : model(std::move(names)) {}

  void Present(std::vector<FormStep> steps) {
    steps.push_back(Key(VK_ESCAPE));
    cFormDriver driver(std::move(steps));
    FormLook look;
    look.size = {300, 200};
    ShowModal(nullptr, look);
  }

  Model model;
  ByName byName{model};
  cListViewChild list;
  std::vector<u32> selected, activated;

 private:
  void OnCreate() override {
    list.Create(*this, {5, 5, -10, -10}, 110);
    list.SetColumns({{u"Name", false, true, &byName}, {u"Length", true}});
    list.SetModel(&model);
    list.onChange = [this] { selected.push_back(list.Value()); };
    list.onActivate = [this](u32 row) { activated.push_back(row); };
  }
};

std::string CellAt(const cListViewChild& list, int position, int column) {
  wchar_t text[64] = {};
  LVITEMW item{};
  item.iSubItem = column;
  item.pszText = text;
  item.cchTextMax = 64;
  list.Send(LVM_GETITEMTEXTW, static_cast<WPARAM>(position), reinterpret_cast<LPARAM>(&item));
  return Utf8(reinterpret_cast<const char16_t*>(text));
}

void ClickTitle(const cListViewChild& list, int column) {
  NMLISTVIEW click{};
  click.hdr = {list.Handle(), 110, LVN_COLUMNCLICK};
  click.iSubItem = column;
  SendMessageW(GetParent(list.Handle()), WM_NOTIFY, 110, reinterpret_cast<LPARAM>(&click));
}

int SortMark(const cListViewChild& list, u32 column) {
  HDITEMW item{};
  item.mask = HDI_FORMAT;
  list.Header().Send(HDM_GETITEMW, column, reinterpret_cast<LPARAM>(&item));
  return item.fmt & (HDF_SORTUP | HDF_SORTDOWN);
}

using ListViewTest = FormTest;

TEST_F(ListViewTest, ShowsItsModelAndSortsByTitle) {
  cListForm form({u"beta", u"gamma", u"alpha"});
  form.Present({[&](HWND) {
    EXPECT_EQ(ClassOf(form.list.Handle()), "SysListView32");
    EXPECT_EQ(CellAt(form.list, 0, 0), "beta");
    EXPECT_EQ(CellAt(form.list, 1, 1), "#####");
    ClickTitle(form.list, 0);
    EXPECT_EQ(CellAt(form.list, 0, 0), "alpha");
    EXPECT_EQ(CellAt(form.list, 2, 0), "gamma");
    EXPECT_EQ(SortMark(form.list, 0), HDF_SORTUP);
    ClickTitle(form.list, 0);
    EXPECT_EQ(CellAt(form.list, 0, 0), "gamma");
    EXPECT_EQ(SortMark(form.list, 0), HDF_SORTDOWN);
    ClickTitle(form.list, 1);  // does not sort
    EXPECT_EQ(CellAt(form.list, 0, 0), "gamma");
    EXPECT_EQ(SortMark(form.list, 1), 0);
  }});
}

TEST_F(ListViewTest, TheSelectionIsARowOfTheModelWhereverItIsShown) {
  cListForm form({u"beta", u"gamma", u"alpha"});
  form.Present({[&](HWND) {
                  EXPECT_EQ(form.list.Value(), cListViewChild::kNoRow);
                  form.list.SetValue(1);
                  EXPECT_EQ(form.list.Value(), 1u);
                  form.list.SortBy(0, false);
                  EXPECT_EQ(form.list.Value(), 1u);
                  EXPECT_TRUE(form.selected.empty()) << "the program's own doing is no change";
                },
                Key(VK_UP),
                [&](HWND) {
                  EXPECT_EQ(form.list.Value(), 0u);
                  ASSERT_FALSE(form.selected.empty());
                  EXPECT_EQ(form.selected.back(), 0u);
                  form.list.SetValue(99);
                  EXPECT_EQ(form.list.Value(), 0u);
                  form.list.Send(WM_CHAR, 'G', 1);
                  EXPECT_EQ(form.list.Value(), 1u) << "typing goes to the row that starts so";
                }});
}

TEST_F(ListViewTest, EnterActivatesTheSelectedRowWhichHasAMenu) {
  cListForm form({u"beta", u"gamma"});
  std::vector<u32> asked;
  // Without a row, Enter is the form's.
  form.Present({Key(VK_RETURN), [&](HWND) { form.list.SetValue(1); }, Key(VK_RETURN),
                [&](HWND) {
                  EXPECT_EQ(form.activated, (std::vector<u32>{1}));
                  form.list.onContextMenu = [&](u32 row, POINT where) {
                    asked.push_back(row);
                    RECT box{};
                    GetWindowRect(form.list.Handle(), &box);
                    EXPECT_TRUE(PtInRect(&box, where));
                  };
                  form.list.Send(WM_CONTEXTMENU, reinterpret_cast<WPARAM>(form.list.Handle()), -1);
                  EXPECT_EQ(asked, (std::vector<u32>{1}));
                }});
}

TEST_F(ListViewTest, AsksOnlyForWhatItShows) {
  std::vector<std::u16string> names(1'000'000, u"row");
  cListForm form(std::move(names));
  form.Present({[&](HWND) {
    UpdateWindow(form.list.Handle());
    EXPECT_EQ(form.list.Send(LVM_GETITEMCOUNT), 1'000'000);
    EXPECT_GT(form.model.asked, 0u);
    EXPECT_LT(form.model.asked, 500u);
    form.list.SetValue(999'999);
    EXPECT_EQ(form.list.Value(), 999'999u);
  }});
}

TEST_F(ListViewTest, ColumnsFitTheirTextsAndTheWindow) {
  std::vector<std::u16string> names(3000, u"x");
  names[2501] = std::u16string(80, u'w');  // no row that is measured beforehand
  cListForm form(names);
  const auto width = [&](u32 column) {
    return static_cast<i32>(form.list.Send(LVM_GETCOLUMNWIDTH, column));
  };
  i32 before = 0;
  form.Present({[&](HWND) {
                  EXPECT_EQ(width(0) + width(1), form.list.ClientSize().width);
                  before = width(1);
                  form.list.SetValue(2501);
                  UpdateWindow(form.list.Handle());
                },
                [&](HWND window) {
                  EXPECT_GT(width(1), before + 80);
                  SetWindowPos(window, nullptr, 0, 0, 1500, 300, SWP_NOMOVE | SWP_NOZORDER);
                  EXPECT_EQ(width(0) + width(1), form.list.ClientSize().width);
                }});
}

TEST_F(ListViewTest, ReloadsAModelThatHasShrunk) {
  cListForm form({u"beta", u"gamma", u"alpha"});
  form.Present({[&](HWND) {
    form.list.SortBy(0, false);
    form.list.SetValue(1);
    form.model.names.resize(1);
    form.list.Reload();
    EXPECT_EQ(form.list.Send(LVM_GETITEMCOUNT), 1);
    EXPECT_EQ(form.list.Value(), cListViewChild::kNoRow);
    EXPECT_EQ(CellAt(form.list, 0, 0), "beta");
    form.model.names.clear();
    form.list.Reload();
    EXPECT_EQ(form.list.Send(LVM_GETITEMCOUNT), 0);
  }});
}

}  // namespace
}  // namespace larkspur
