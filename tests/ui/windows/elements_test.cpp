// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
// The elements of forms: their classes and names, and what the user's keys and clicks make of them.

#include <gtest/gtest.h>

#include "ui/button_child.h"
#include "ui/custom_form.h"
#include "ui/drop_down_list_child.h"
#include "ui/edit_child.h"
#include "ui/list_view_child.h"
#include "ui/property_area_child.h"
#include "ui/splitter_child.h"
#include "ui/tool_bar_child.h"
#include "ui/windows/form_driver.h"

namespace larkspur {
namespace {

class cSmallForm : public cCustomForm {
 public:
  // Shows the form, takes the steps, and closes it.
  void Present(std::vector<FormStep> steps) {
    steps.push_back(Key(VK_ESCAPE));
    cFormDriver driver(std::move(steps));
    FormLook look;
    look.size = {300, 200};
    ShowModal(nullptr, look);
  }
};

// Shows one element, made by a function.
class cElementForm final : public cSmallForm {
 public:
  explicit cElementForm(std::function<void(cCustomForm&)> create) : m_create(std::move(create)) {}

  std::function<void(Size client)> layout;
  std::vector<u32> commands;

 private:
  void OnCreate() override { m_create(*this); }
  void OnLayout(Size client) override {
    if (layout) layout(client);
  }
  void OnCommand(u32 id) override {
    commands.push_back(id);
    cCustomForm::OnCommand(id);
  }

  std::function<void(cCustomForm&)> m_create;
};

using ElementTest = FormTest;

TEST_F(ElementTest, AnEditTakesOneLineOfLimitedLength) {
  cEditChild edit;
  int changes = 0;
  cElementForm form([&](cCustomForm& f) {
    edit.Create(f, {5, 5, -10, 22}, 102);
    edit.SetHint(u"Hint");
    edit.onChange = [&] { ++changes; };
  });
  form.Present({[&](HWND window) {
    const HWND control = GetDlgItem(window, 102);
    EXPECT_EQ(ClassOf(control), "Edit");
    EXPECT_TRUE(edit.IsEmpty());
    EXPECT_EQ(SendMessageW(control, EM_GETLIMITTEXT, 0, 0), 16384);
    wchar_t hint[16] = {};
    SendMessageW(control, EM_GETCUEBANNER, reinterpret_cast<WPARAM>(hint), 16);
    EXPECT_STREQ(hint, L"Hint");
    edit.SetValue(std::u16string(20000, u'x'));
    EXPECT_EQ(edit.Value().size(), 16384u);
    edit.SetValue(u"C:\\Диск");
    EXPECT_EQ(Utf8(edit.Value()), "C:\\Диск");
    EXPECT_EQ(changes, 0);
    SendMessageW(control, WM_CHAR, 'a', 1);
    EXPECT_EQ(changes, 1);
    SendMessageW(control, WM_CHAR, 1, 1);  // Ctrl+A
    DWORD first = 0, last = 0;
    SendMessageW(control, EM_GETSEL, reinterpret_cast<WPARAM>(&first),
                 reinterpret_cast<LPARAM>(&last));
    EXPECT_EQ(first, 0u);
    EXPECT_EQ(last, edit.Value().size());
  }});
}

TEST_F(ElementTest, AnEditThatIsMovedToSelectsItsText) {
  cEditChild edit;
  cButtonChild button;
  cElementForm form([&](cCustomForm& f) {
    button.Create(f, {5, 35, 80, 24}, 200, u"Press");
    edit.Create(f, {5, 5, -10, 22}, 102);
    edit.SetValue(u"selected");
  });
  form.Present({Key(VK_TAB), [&](HWND) {
                  EXPECT_TRUE(edit.HasFocus());
                  EXPECT_EQ(edit.Send(EM_GETSEL), MAKELONG(0, 8));
                }});
}

TEST_F(ElementTest, AnIconButtonIsNamedByItsHint) {
  cIconButtonChild button;
  int clicks = 0;
  cElementForm form([&](cCustomForm& f) {
    button.Create(f, {-25, 25, 20, 22}, 101, u"Add named device", kIconAdd);
    button.onClick = [&] { ++clicks; };
  });
  form.Present({[&](HWND window) {
                  const HWND control = GetDlgItem(window, 101);
                  EXPECT_EQ(ClassOf(control), "Button");
                  EXPECT_EQ(Utf8(TextOfWindow(control)), "Add named device");
                  EXPECT_TRUE(GetWindowLongPtrW(control, GWL_STYLE) & BS_ICON);
                  BUTTON_IMAGELIST images{};
                  SendMessageW(control, BCM_GETIMAGELIST, 0, reinterpret_cast<LPARAM>(&images));
                  int width = 0, height = 0;
                  ASSERT_TRUE(ImageList_GetIconSize(images.himl, &width, &height));
                  EXPECT_EQ(width, 14);
                },
                Press(101), Key(VK_SPACE), Key(VK_RETURN),
                [&](HWND) { EXPECT_EQ(clicks, 3) << "by click, blank and Enter"; }});
  EXPECT_EQ(form.commands, (std::vector<u32>{IDCANCEL})) << "a click of its own is no command";
}

TEST_F(ElementTest, AHintIsTheSystemsTooltip) {
  cIconButtonChild button;
  cElementForm form([&](cCustomForm& f) {
    button.Create(f, {5, 5, 20, 22}, 101, u"Choose a file", kIconChoose);
  });
  form.Present({[&](HWND window) {
    HWND tip = FindWindowW(TOOLTIPS_CLASSW, nullptr);
    while (tip && GetWindow(tip, GW_OWNER) != window) {
      tip = FindWindowExW(nullptr, tip, TOOLTIPS_CLASSW, nullptr);
    }
    ASSERT_TRUE(tip);
    wchar_t text[64] = {};
    TTTOOLINFOW tool{};
    tool.cbSize = TTTOOLINFOW_V1_SIZE;
    tool.hwnd = window;
    tool.uId = reinterpret_cast<UINT_PTR>(button.Handle());
    tool.lpszText = text;
    SendMessageW(tip, TTM_GETTEXTW, 64, reinterpret_cast<LPARAM>(&tool));
    EXPECT_STREQ(text, L"Choose a file");
    button.SetHint(u"Another");
    EXPECT_EQ(Utf8(button.Text()), "Another");
    SendMessageW(tip, TTM_GETTEXTW, 64, reinterpret_cast<LPARAM>(&tool));
    EXPECT_STREQ(text, L"Another");
  }});
}

TEST_F(ElementTest, ADropDownListTellsWhenTheUserChooses) {
  cDropDownListChild list;
  int changes = 0;
  cElementForm form([&](cCustomForm& f) {
    list.Create(f, {5, 25, -30, 22}, 100);
    list.Add(u"- Select one -");
    list.Add(u"Диск & more");
    list.SetValue(0);
    list.onChange = [&] { ++changes; };
  });
  form.Present({[&](HWND window) {
                  EXPECT_EQ(ClassOf(GetDlgItem(window, 100)), "ComboBox");
                  EXPECT_EQ(list.Count(), 2);
                  EXPECT_EQ(list.Value(), 0);
                  EXPECT_EQ(Utf8(list.RowText(1)), "Диск & more");
                  EXPECT_EQ(list.RowText(2), u"");
                  EXPECT_EQ(changes, 0);
                  RECT box{};
                  GetWindowRect(GetDlgItem(window, 100), &box);
                  EXPECT_EQ(box.bottom - box.top, 22);
                },
                Key(VK_DOWN),
                [&](HWND) {
                  EXPECT_EQ(list.Value(), 1);
                  EXPECT_EQ(changes, 1);
                  list.Clear();
                  EXPECT_EQ(list.Value(), cDropDownListChild::kNoRow);
                }});
}

TEST_F(ElementTest, AToolBarPassesOnWhatIsPressed) {
  cToolBarChild tools;
  int saved = 0;
  cElementForm form([&](cCustomForm& f) {
    f.Actions().Add({501, u"Save", kIconSave, {}, [&] { ++saved; }});
    f.Actions().Add({502, u"Next", kIconNext, {}, [] {}, false});
    f.Actions().onChange = [&](const Action& action) { tools.ShowState(action); };
    tools.Create(f, {0, 0, -1, 30}, {501, cToolBarChild::kGap, 502});
  });
  form.Present({[&](HWND window) {
    EXPECT_EQ(ClassOf(tools.Handle()), "ToolbarWindow32");
    EXPECT_EQ(tools.Send(TB_BUTTONCOUNT), 3);
    EXPECT_TRUE(tools.Send(TB_ISBUTTONENABLED, 501));
    EXPECT_FALSE(tools.Send(TB_ISBUTTONENABLED, 502));
    form.Actions().SetEnabled(502, true);
    EXPECT_TRUE(tools.Send(TB_ISBUTTONENABLED, 502));
    SendMessageW(window, WM_COMMAND, 501, reinterpret_cast<LPARAM>(tools.Handle()));
    EXPECT_EQ(saved, 1);
  }});
}

TEST_F(ElementTest, ASplitterIsMovedByKeysAndByDragging) {
  cSplitterChild splitter(cSplitterChild::Along::Horizontally);
  int changes = 0;
  cElementForm form([&](cCustomForm& f) {
    splitter.Create(f, u"Width of the tree");
    splitter.SetValue(100);
    splitter.onChange = [&] { ++changes; };
  });
  form.layout = [&](Size client) {
    splitter.SetRange({client.width, 5, 50, 80});
    splitter.MoveTo({splitter.Value(), 0, 5, client.height});
  };
  form.Present({Key(VK_RIGHT), Key(VK_RIGHT), Key(VK_LEFT), [&](HWND) {
                  EXPECT_EQ(splitter.Value(), 110);
                  EXPECT_EQ(changes, 3);
                  // The bar moves under the pointer, whose place is told relative to the bar.
                  splitter.Send(WM_LBUTTONDOWN, MK_LBUTTON, MAKELPARAM(2, 50));
                  splitter.Send(WM_MOUSEMOVE, MK_LBUTTON, MAKELPARAM(-300, 50));
                  EXPECT_EQ(splitter.Value(), 50);
                  splitter.Send(WM_MOUSEMOVE, MK_LBUTTON, MAKELPARAM(82, 50));
                  EXPECT_EQ(splitter.Value(), 130);
                  splitter.Send(WM_LBUTTONUP, 0, MAKELPARAM(2, 50));
                  splitter.Send(WM_MOUSEMOVE, 0, MAKELPARAM(40, 50));
                  EXPECT_EQ(splitter.Value(), 130) << "the bar was let go";
                }});
}

// The visible texts of an area, in their order.
std::string Shown(HWND area) {
  std::string shown;
  for (HWND part = GetWindow(area, GW_CHILD); part; part = GetWindow(part, GW_HWNDNEXT)) {
    if (IsWindowVisible(part)) shown += ClassOf(part) + ":" + Utf8(TextOfWindow(part)) + " ";
  }
  return shown;
}

TEST_F(ElementTest, APropertyAreaFoldsItsSections) {
  cPropertyAreaChild area;
  cElementForm form([&](cCustomForm& f) {
    area.Create(f, {0, 0, -1, -1});
    area.Add(u"A", u"first", kLabelColour, cPropertyAreaChild::Folding::ByUser);
    area.Add(u"B", u"second");
  });
  form.Present({[&](HWND) {
                  EXPECT_EQ(Shown(area.Handle()), "Button:A Static:first Static:B Static:second ");
                },
                Key(VK_SPACE),
                [&](HWND) {
                  EXPECT_TRUE(area.IsFolded(0));
                  EXPECT_EQ(Shown(area.Handle()), "Button:A Static:B Static:second ");
                },
                Key(VK_SPACE),
                [&](HWND) {
                  EXPECT_FALSE(area.IsFolded(0));
                  area.SetBody(1, u"other");
                  EXPECT_EQ(Shown(area.Handle()), "Button:A Static:first Static:B Static:other ");
                  area.Clear();
                  EXPECT_EQ(Shown(area.Handle()), "");
                }});
}

TEST_F(ElementTest, APropertyAreaScrollsWhatDoesNotFitByKeys) {
  cPropertyAreaChild area;
  std::u16string body;
  for (int line = 0; line < 40; ++line) body += u"A line\n";
  cElementForm form([&](cCustomForm& f) {
    area.Create(f, {0, 0, -1, -1});
    area.Add(u"Heading", body);
  });
  const auto top = [&] {
    RECT box{};
    GetWindowRect(GetWindow(area.Handle(), GW_CHILD), &box);
    MapWindowPoints(nullptr, area.Handle(), reinterpret_cast<POINT*>(&box), 2);
    return box.top;
  };
  form.Present({[&](HWND) {
                  EXPECT_TRUE(area.HasFocus()) << "what scrolls can be reached by Tab";
                  EXPECT_TRUE(GetWindowLongPtrW(area.Handle(), GWL_STYLE) & WS_VSCROLL);
                },
                Key(VK_DOWN), [&](HWND) { EXPECT_EQ(top(), 6 - 13); }, Key(VK_NEXT),
                [&](HWND) { EXPECT_LT(top(), -150); }, Key(VK_HOME),
                [&](HWND) {
                  EXPECT_EQ(top(), 6);
                  area.Send(WM_MOUSEWHEEL, MAKEWPARAM(0, static_cast<WORD>(-WHEEL_DELTA)));
                  EXPECT_EQ(top(), 6 - 39);
                  area.SetBody(0, u"short");
                  EXPECT_EQ(top(), 6);
                  EXPECT_FALSE(GetWindowLongPtrW(area.Handle(), GWL_STYLE) & WS_VSCROLL);
                  EXPECT_FALSE(GetWindowLongPtrW(area.Handle(), GWL_STYLE) & WS_TABSTOP);
                }});
}

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

class cListForm final : public cSmallForm {
 public:
  explicit cListForm(std::vector<std::u16string> names) : model(std::move(names)) {}

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
