// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
//
// A form that was resized or maximised looks, pixel by pixel, like one that was opened at that
// size.

#include <cstdlib>

#include "catalog/message_catalog.h"
#include "dialogs/file_choose_dialog.h"
#include "dialogs/mk_raid_form.h"
#include "fakes/temp_folder.h"
#include "ui/windows/form_driver.h"
#include "windows/screen_picture.h"

namespace larkspur {
namespace {

constexpr Size kSmall = {520, 400}, kLarge = {760, 560};

Size ClientSizeOf(HWND form) {
  RECT box{};
  GetClientRect(form, &box);
  return {box.right, box.bottom};
}

void TakeClientSize(HWND form, Size client) {
  RECT frame{};
  GetWindowRect(form, &frame);
  const Size now = ClientSizeOf(form);
  SetWindowPos(form, nullptr, 0, 0, frame.right - frame.left + client.width - now.width,
               frame.bottom - frame.top + client.height - now.height,
               SWP_NOZORDER | SWP_NOACTIVATE);
}

// As dragging the frame does: a little at a time, painted each time.
std::vector<FormStep> Dragged(Size from, Size to) {
  constexpr i32 kSteps = 6;
  std::vector<FormStep> steps;
  for (i32 i = 1; i <= kSteps; ++i) {
    const Size client{from.width + (to.width - from.width) * i / kSteps,
                      from.height + (to.height - from.height) * i / kSteps};
    steps.push_back([client](HWND form) { TakeClientSize(form, client); });
  }
  return steps;
}

FormStep Shown(int how) {
  return [how](HWND form) { ShowWindow(form, how); };
}

class ResizeTest : public FormTest {
 protected:
  void SetUp() override {
    FormTest::SetUp();
    Messages().SelectLanguage(nullptr);
    ASSERT_TRUE(m_folder.Exists());
    m_base = m_folder.Path().u16string().substr(4);
    for (const char16_t* name : {u"one.kvrsp", u"another one.kvrsp"}) {
      ASSERT_TRUE(fakes::WriteWholeFile(m_folder.File(name), {1}));
    }
  }

  // What a form shows that is opened at `size`, after these steps.
  ScreenPixels See(const char* form, Size size, std::vector<FormStep> steps = {}) {
    ScreenPixels seen;
    const FormStep wait = [](HWND) {};
    steps.insert(steps.begin(), 4, wait);  // for what other threads tell it
    // A caret blinks; a button does not.
    steps.push_back([](HWND window) {
      SendMessageW(window, WM_NEXTDLGCTL, reinterpret_cast<WPARAM>(GetDlgItem(window, IDCANCEL)),
                   TRUE);
    });
    steps.insert(steps.end(), 4, wait);
    steps.push_back([&](HWND window) {
      RedrawWindow(window, nullptr, nullptr, RDW_UPDATENOW | RDW_ALLCHILDREN);
      seen = ClientPixels(window);
      PostMessageW(window, WM_CLOSE, 0, 0);
    });
    cFormDriver driver(std::move(steps));
    FormLook look;
    look.title = u"Resize";
    look.size = size;
    look.least = {300, 300};
    if (form == std::string("define")) {
      Owned<cReadOnceIO> result;
      cMkRAIDForm(*Messages().Find("raid::mkspan"), {}, &result).ShowModal(nullptr, look);
    } else {
      FileChoice choice;
      choice.filters = {{u"Caches", u"*.kvrsp", u"kvrsp"}};
      choice.path = m_base + u"\\begin";
      cFileChooseDialog(choice).ShowModal(nullptr, look);
    }
    return seen;
  }

  void ExpectSame(const char* what, const char* form, const ScreenPixels& resized,
                  const ScreenPixels& opened) {
    ASSERT_EQ(resized.width, opened.width);
    ASSERT_EQ(resized.height, opened.height);
    size_t differing = 0;
    for (size_t i = 0; i < opened.pixels.size(); ++i) {
      differing += resized.pixels[i] != opened.pixels[i];
    }
    EXPECT_EQ(differing, 0u) << form << ", " << what;
    if (differing == 0 || !std::getenv("LARKSPUR_PICTURES")) return;
    const std::string folder = std::getenv("LARKSPUR_PICTURES");
    const std::string name = folder + "/" + form + "-" + what;
    SavePicture(resized, std::u16string(name.begin(), name.end()) + u"-resized.png");
    SavePicture(opened, std::u16string(name.begin(), name.end()) + u"-opened.png");
  }

  fakes::TempFolder m_folder;
  std::u16string m_base;
};

TEST_F(ResizeTest, LooksAsIfOpenedAtThatSize) {
  for (const char* form : {"define", "choose"}) {
    const ScreenPixels small = See(form, kSmall), large = See(form, kLarge);
    ExpectSame("grown", form, See(form, kSmall, Dragged(kSmall, kLarge)), large);
    ExpectSame("shrunk", form, See(form, kLarge, Dragged(kLarge, kSmall)), small);
    const ScreenPixels whole = See(form, kSmall, {Shown(SW_MAXIMIZE)});
    ASSERT_GT(whole.width, kLarge.width);
    ExpectSame("restored", form, See(form, kSmall, {Shown(SW_MAXIMIZE), Shown(SW_RESTORE)}), small);
    const ScreenPixels opened = See(form, {whole.width - 40, whole.height - 60});
    ExpectSame("maximised and shrunk", form,
               See(form, kSmall,
                   {Shown(SW_MAXIMIZE), Shown(SW_RESTORE),
                    [&](HWND window) {
                      TakeClientSize(window, {whole.width - 40, whole.height - 60});
                    }}),
               opened);
  }
}

}  // namespace
}  // namespace larkspur
