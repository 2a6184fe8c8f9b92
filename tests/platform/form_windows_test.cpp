#include <gtest/gtest.h>
#include <windows.h>

#include <chrono>
#include <memory>
#include <string>

#include "platform/event_loop.h"
#include "platform/form.h"
#include "platform/native.h"
#include "platform/native_text_windows.h"

namespace vlmr::platform {
namespace {

/// The main form of this process, null when there is none; other programs have one too.
HWND OwnForm() {
  HWND found = nullptr;
  EnumThreadWindows(
      GetCurrentThreadId(),
      [](HWND window, LPARAM result) -> BOOL {
        wchar_t name[16] = L"";
        GetClassNameW(window, name, 16);
        if (std::wstring(name) != L"Form1") return TRUE;
        *reinterpret_cast<HWND*>(result) = window;
        return FALSE;
      },
      reinterpret_cast<LPARAM>(&found));
  return found;
}

/// The main form as the system shows it to anybody.
class WindowsFormTest : public testing::Test {
 protected:
  static HWND Window() { return OwnForm(); }

  /// The text of the n-th label.
  static std::string Label(int number) {
    HWND label = nullptr;
    for (int i = 0; i <= number; ++i) label = FindWindowExW(Window(), label, L"STATIC", nullptr);
    wchar_t text[512] = L"";
    GetWindowTextW(label, text, 512);
    return FromWide(text);
  }

  std::unique_ptr<EventLoop> loop_ = MakeEventLoop();
  std::unique_ptr<Form> form_ = MakeForm();
};

TEST_F(WindowsFormTest, IsARealWindowThatIsMadeHiddenAndShownOnDemand) {
  ASSERT_NE(Window(), nullptr);
  EXPECT_FALSE(IsWindowVisible(Window()));
  form_->Show();
  EXPECT_TRUE(IsWindowVisible(Window()));
  form_->Hide();
  EXPECT_FALSE(IsWindowVisible(Window()));
  form_.reset();
  EXPECT_EQ(Window(), nullptr);
}

TEST_F(WindowsFormTest, ItsStatusLabelShowsTheLatestLine) {
  form_->SetStatus("first");
  form_->SetStatus(FromWide(L"second V\u00e9lmora & more"));
  EXPECT_EQ(Label(0), FromWide(L"second V\u00e9lmora & more"));
}

TEST_F(WindowsFormTest, ShowsTheProgressOfATransferWhileItIsSeen) {
  form_->SetProgress(1, 4);
  EXPECT_EQ(Label(1), "");
  form_->Show();
  form_->SetProgress(512, 2048);
  EXPECT_EQ(Label(1), "512 / 2048 (25 %)");
  form_->SetProgress(600, 0);
  EXPECT_EQ(Label(1), "600");
}

TEST_F(WindowsFormTest, ARequestToCloseItReachesTheHandlerAtTheNextPump) {
  int requests = 0;
  loop_->OnCloseRequest([&] { ++requests; });
  PostMessageW(Window(), WM_CLOSE, 0, 0);
  EXPECT_EQ(requests, 0);
  while (requests == 0) loop_->Pump(std::chrono::seconds(10));
  EXPECT_EQ(requests, 1);
  EXPECT_NE(Window(), nullptr);
}

TEST_F(WindowsFormTest, ARequestToCloseItIsSeenByWhoOnlyAsks) {
  EXPECT_FALSE(loop_->CloseRequested());
  PostMessageW(Window(), WM_CLOSE, 0, 0);
  EXPECT_TRUE(loop_->CloseRequested());
  EXPECT_TRUE(loop_->CloseRequested());
}

TEST_F(WindowsFormTest, ASignOutIsNotHeldUp) {
  EXPECT_EQ(SendMessageW(Window(), WM_QUERYENDSESSION, 0, 0), TRUE);
  EXPECT_EQ(SendMessageW(Window(), WM_ENDSESSION, FALSE, 0), 0);
  EXPECT_FALSE(loop_->CloseRequested());
}

TEST(WindowsSignOutDeathTest, RunsTheHandlerAndEndsTheProcessWith0) {
  EXPECT_EXIT(
      {
        const auto loop = MakeEventLoop();
        const auto form = MakeForm();
        loop->OnCloseRequest([] { std::fputs("unloaded", stderr); });
        SendMessageW(OwnForm(), WM_ENDSESSION, TRUE, 0);
      },
      testing::ExitedWithCode(0), "unloaded");
}

}  // namespace
}  // namespace vlmr::platform
