// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "ui/custom_form.h"

#include "ui/button_bar.h"
#include "ui/edit_child.h"
#include "ui/label_child.h"
#include "ui/windows/form_driver.h"

namespace larkspur {
namespace {

constexpr u32 kEditId = 102, kThirdId = 105;

// Two edits, three buttons, and a memory of the commands.
class cSampleForm final : public cCustomForm {
 public:
  u32 Present(HWND parent, bool resizable = true) {
    FormLook look;
    look.title = u"Sample";
    look.size = {350, 200};
    if (resizable) look.least = {300, 150};
    return ShowModal(parent, look);
  }

  std::vector<u32> commands;
  cEditChild first, second;
  cButtonBar buttons;

 private:
  void OnCreate() override {
    m_label.Create(*this, {5, 0, -10, 18}, u"First:");
    first.Create(*this, {5, 25, -10, 22}, kEditId);
    second.Create(*this, {5, 50, -10, 22}, kEditId + 1);
    buttons.Create(*this, -40, {{kAccept, u"Fine"}, {kCancel, u"No"}, {kThirdId, u"Other"}});
    Actions().Add({2000, u"Run", 0, {VK_F5}, [this] { commands.push_back(2000); }});
  }
  void OnLayout(Size client) override { buttons.Layout(client); }
  void OnCommand(u32 id) override {
    commands.push_back(id);
    if (id == kAccept) return Close(7);
    cCustomForm::OnCommand(id);
  }

  cLabelChild m_label;
};

// A window as a host has it, outside of the toolkit.
class cHostWindow {
 public:
  cHostWindow() {
    m_window = CreateWindowExW(0, L"STATIC", L"Host", WS_OVERLAPPEDWINDOW | WS_VISIBLE, 300, 200,
                               600, 500, nullptr, nullptr, nullptr, nullptr);
    m_child = CreateWindowExW(0, L"STATIC", L"Part", WS_CHILD | WS_VISIBLE, 0, 0, 100, 100,
                              m_window, nullptr, nullptr, nullptr);
  }
  ~cHostWindow() {
    if (IsWindow(m_window)) DestroyWindow(m_window);
  }
  HWND Window() const { return m_window; }
  HWND Child() const { return m_child; }

 private:
  HWND m_window, m_child;
};

RECT BoxOf(HWND window) {
  RECT box{};
  GetWindowRect(window, &box);
  return box;
}

// The control's place in the form's client area, as text.
std::string PlaceIn(HWND form, int id) {
  RECT box = BoxOf(GetDlgItem(form, id));
  MapWindowPoints(nullptr, form, reinterpret_cast<POINT*>(&box), 2);
  return std::to_string(box.left) + "," + std::to_string(box.top) + " " +
         std::to_string(box.right - box.left) + "x" + std::to_string(box.bottom - box.top);
}

std::string ClientOf(HWND form) {
  RECT box{};
  GetClientRect(form, &box);
  return std::to_string(box.right) + "x" + std::to_string(box.bottom);
}

void ChangeDpi(HWND form, u32 dpi, Size window) {
  const RECT box{100, 100, 100 + window.width, 100 + window.height};
  SendMessageW(form, WM_DPICHANGED, MAKEWPARAM(dpi, dpi), reinterpret_cast<LPARAM>(&box));
}

using CustomFormTest = FormTest;

TEST_F(CustomFormTest, ClosesWithTheResultOfItsCommand) {
  const struct {
    const char* name;
    FormStep step;
    u32 result;
  } cases[] = {
      {"enter in an edit presses the default button", Key(VK_RETURN), 7},
      {"escape", Key(VK_ESCAPE), 0},
      {"the accepting button", Press(IDOK), 7},
      {"the cancelling button", Press(IDCANCEL), 0},
      {"the close box", [](HWND form) { PostMessageW(form, WM_SYSCOMMAND, SC_CLOSE, 0); }, 0},
      {"a command that was sent, not posted",
       [](HWND form) { SendMessageW(form, WM_COMMAND, IDOK, 0); }, 7},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    cFormDriver driver({c.step});
    EXPECT_EQ(cSampleForm().Present(nullptr), c.result);
  }
}

TEST_F(CustomFormTest, StartsInItsFirstChildAndTabMovesInReadingOrder) {
  cFormDriver driver({[](HWND form) {
                        EXPECT_EQ(FocusedId(), static_cast<int>(kEditId));
                        EXPECT_EQ(TabOrder(form), (std::vector<int>{102, 103, 1, 2, 105}));
                      },
                      Key(VK_TAB), Key(VK_TAB), [](HWND) { EXPECT_EQ(FocusedId(), IDOK); },
                      Key(VK_TAB), Key(VK_TAB), Key(VK_TAB),
                      [](HWND) {
                        EXPECT_EQ(FocusedId(), static_cast<int>(kEditId));
                        PressKey(VK_ESCAPE);
                      }});
  cSampleForm().Present(nullptr);
}

TEST_F(CustomFormTest, EnterPressesTheButtonThatHasTheFocusOrIsTheCurrentOne) {
  cSampleForm form;
  cFormDriver driver({[&](HWND) { form.buttons.Find(kThirdId)->Focus(); }, Key(VK_RETURN),
                      [&](HWND) { form.buttons.SetCurrent(kThirdId, true); },
                      [&](HWND) {
                        EXPECT_EQ(FocusedId(), static_cast<int>(kThirdId));
                        form.first.Focus();
                      },
                      Key(VK_RETURN), Key(VK_ESCAPE)});
  EXPECT_EQ(form.Present(nullptr), 0u);
  EXPECT_EQ(form.commands, (std::vector<u32>{kThirdId, kThirdId, IDCANCEL}));
}

TEST_F(CustomFormTest, FunctionKeysRunActionsAndNothingElse) {
  cSampleForm form;
  std::vector<FormStep> steps;
  for (u32 key = VK_F1; key <= VK_F12; ++key) steps.push_back(Key(key));
  steps.push_back([](HWND) { PostMessageW(GetFocus(), WM_SYSKEYDOWN, VK_F10, 1); });
  steps.push_back([](HWND) {
    EXPECT_EQ(FocusedId(), static_cast<int>(kEditId));
    PressKey(VK_ESCAPE);
  });
  cFormDriver driver(steps);
  form.Present(nullptr);
  EXPECT_EQ(form.commands, (std::vector<u32>{2000, IDCANCEL}));
}

TEST_F(CustomFormTest, StandsOverItsParentWhichCanDoNothingMeanwhile) {
  cHostWindow host;
  cFormDriver driver({[&](HWND form) {
    EXPECT_FALSE(IsWindowEnabled(host.Window()));
    EXPECT_EQ(GetWindow(form, GW_OWNER), host.Window());
    const RECT over = BoxOf(host.Window()), box = BoxOf(form);
    EXPECT_NEAR(box.left + box.right, over.left + over.right, 1);
    EXPECT_NEAR(box.top + box.bottom, over.top + over.bottom, 1);
    PressKey(VK_RETURN);
  }});
  // A part of a window stands for all of it.
  EXPECT_EQ(cSampleForm().Present(host.Child()), 7u);
  EXPECT_TRUE(IsWindowEnabled(host.Window()));
  EXPECT_EQ(GetActiveWindow(), host.Window());
  EnableWindow(host.Window(), FALSE);
  cFormDriver second({Key(VK_ESCAPE)});
  cSampleForm().Present(host.Window());
  EXPECT_FALSE(IsWindowEnabled(host.Window())) << "as it was before";
}

TEST_F(CustomFormTest, NeedsNoParentAndEndsWhenItsOwnGoes) {
  HWND gone = nullptr;
  {
    cHostWindow host;
    gone = host.Window();
    cFormDriver driver({[&](HWND) { DestroyWindow(gone); }});
    EXPECT_EQ(cSampleForm().Present(gone), 0u);
  }
  cFormDriver driver({Key(VK_RETURN), Key(VK_RETURN)});
  EXPECT_EQ(cSampleForm().Present(gone), 7u);
  EXPECT_EQ(cSampleForm().Present(nullptr), 7u);
}

TEST_F(CustomFormTest, PassesOnThatTheProgramIsToQuit) {
  cFormDriver driver({[](HWND) { PostQuitMessage(42); }});
  EXPECT_EQ(cSampleForm().Present(nullptr), 0u);
  MSG message{};
  ASSERT_TRUE(PeekMessageW(&message, nullptr, WM_QUIT, WM_QUIT, PM_REMOVE));
  EXPECT_EQ(message.wParam, 42u);
}

TEST_F(CustomFormTest, FormsNest) {
  cSampleForm outer, inner;
  cFormDriver driver({[&](HWND form) {
                        EXPECT_EQ(inner.Present(form), 7u);
                        EXPECT_EQ(GetActiveWindow(), form);
                        EXPECT_TRUE(IsWindowEnabled(form));
                      },
                      [&](HWND form) {
                        EXPECT_EQ(form, inner.Handle());
                        EXPECT_FALSE(IsWindowEnabled(outer.Handle()));
                        PressKey(VK_RETURN);
                      },
                      [&](HWND form) {
                        EXPECT_EQ(form, outer.Handle());
                        PressKey(VK_ESCAPE);
                      }});
  EXPECT_EQ(outer.Present(nullptr), 0u);
}

TEST_F(CustomFormTest, PlacesItsChildrenByTheirAnchors) {
  cFormDriver driver({[](HWND form) {
    EXPECT_EQ(ClientOf(form), "350x200");
    EXPECT_EQ(PlaceIn(form, 102), "5,25 340x22");
    const RECT box = BoxOf(form);
    SetWindowPos(form, nullptr, 0, 0, box.right - box.left + 50, box.bottom - box.top + 30,
                 SWP_NOMOVE | SWP_NOZORDER);
    EXPECT_EQ(ClientOf(form), "400x230");
    EXPECT_EQ(PlaceIn(form, 102), "5,25 390x22");
    EXPECT_EQ(PlaceIn(form, 105), "315,190 75x24");
    SetWindowPos(form, nullptr, 0, 0, 10, 10, SWP_NOMOVE | SWP_NOZORDER);
    EXPECT_EQ(ClientOf(form), "300x150") << "never smaller than its least size";
    PressKey(VK_ESCAPE);
  }});
  cSampleForm().Present(nullptr);
}

TEST_F(CustomFormTest, FollowsTheScaleOfItsMonitor) {
  cFormDriver driver({[](HWND form) {
    HFONT before = reinterpret_cast<HFONT>(SendDlgItemMessageW(form, 102, WM_GETFONT, 0, 0));
    LOGFONTW font{};
    GetObjectW(before, sizeof font, &font);
    EXPECT_EQ(font.lfHeight, 13);
    EXPECT_STREQ(font.lfFaceName, L"Tahoma");
    ChangeDpi(form, 192, {720, 440});
    const HFONT after = reinterpret_cast<HFONT>(SendDlgItemMessageW(form, 102, WM_GETFONT, 0, 0));
    GetObjectW(after, sizeof font, &font);
    EXPECT_EQ(font.lfHeight, 26);
    EXPECT_EQ(PlaceIn(form, 102).substr(0, 5), "10,50");
    const RECT box = BoxOf(form);
    EXPECT_EQ(box.left, 100);
    EXPECT_EQ(box.right - box.left, 720);
    PressKey(VK_ESCAPE);
  }});
  cSampleForm().Present(nullptr);
}

TEST_F(CustomFormTest, RunsAsAProgramsMainWindow) {
  cSampleForm form;
  cFormDriver driver({[](HWND window) {
                        EXPECT_TRUE(GetWindowLongPtrW(window, GWL_EXSTYLE) & WS_EX_APPWINDOW);
                        EXPECT_TRUE(SendMessageW(window, WM_GETICON, ICON_BIG, 0));
                      },
                      Key(VK_F5), Key(VK_RETURN)});
  FormLook look;
  look.title = u"Main";
  look.size = {350, 200};
  look.least = {300, 150};
  look.inTaskBar = true;
  ASSERT_TRUE(form.Open(nullptr, look));
  EXPECT_TRUE(IsWindowVisible(form.Handle()));
  EXPECT_EQ(form.RunUntilClosed(), 7u);
  EXPECT_EQ(form.commands, (std::vector<u32>{2000, IDOK}));
}

TEST_F(CustomFormTest, MayBeShownAgain) {
  cSampleForm form;
  for (int round = 0; round < 3; ++round) {
    cFormDriver driver({Key(round == 1 ? VK_ESCAPE : VK_RETURN)});
    EXPECT_EQ(form.Present(nullptr), round == 1 ? 0u : 7u);
    EXPECT_FALSE(form.IsOpen());
  }
}

}  // namespace
}  // namespace larkspur
