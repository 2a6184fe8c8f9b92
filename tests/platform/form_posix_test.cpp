#include "platform/form_posix.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <stdlib.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <array>
#include <string>

namespace vlmr::platform {
namespace {

/// A terminal whose screen the test reads.
class FormTest : public testing::Test {
 protected:
  FormTest() : screen_(::posix_openpt(O_RDWR | O_NOCTTY)) {
    if (screen_ < 0 || ::grantpt(screen_) != 0 || ::unlockpt(screen_) != 0) return;
    terminal_ = ::open(::ptsname(screen_), O_RDWR | O_NOCTTY);
    const winsize size = {.ws_row = 24, .ws_col = 40, .ws_xpixel = 0, .ws_ypixel = 0};
    ::ioctl(screen_, TIOCSWINSZ, &size);
  }
  ~FormTest() override {
    ::close(terminal_);
    ::close(screen_);
  }
  void SetUp() override {
    if (terminal_ < 0) GTEST_SKIP() << "no terminals here";
  }

  /// What has been written since the last question.
  std::string Written() const {
    std::string text;
    pollfd ready = {.fd = screen_, .events = POLLIN, .revents = 0};
    while (::poll(&ready, 1, 0) > 0) {
      std::array<char, 1024> buffer = {};
      const ssize_t count = ::read(screen_, buffer.data(), buffer.size());
      if (count <= 0) break;
      text.append(buffer.data(), static_cast<std::size_t>(count));
    }
    return text;
  }

  int screen_;
  int terminal_ = -1;
};

TEST_F(FormTest, ShowsNothingBeforeItIsShown) {
  const auto form = MakeTerminalForm(terminal_);
  form->SetStatus("hidden");
  form->SetProgress(1, 2);
  EXPECT_EQ(Written(), "");
}

TEST_F(FormTest, ShowsTheLatestStatusWithoutItsControlCharacters) {
  const auto form = MakeTerminalForm(terminal_);
  form->SetStatus("first");
  form->SetStatus("a\x1b[2Jb");
  form->Show();
  EXPECT_EQ(Written(), "\r\x1b[Ka [2Jb");
}

TEST_F(FormTest, KeepsToOneLine) {
  const auto form = MakeTerminalForm(terminal_);
  form->SetStatus(std::string(100, 'x'));
  form->Show();
  EXPECT_EQ(Written(), "\r\x1b[K" + std::string(39, 'x'));
}

TEST_F(FormTest, ManyChangesAreDrawnAFewTimesOnly) {
  const auto form = MakeTerminalForm(terminal_);
  form->Show();
  for (int i = 0; i < 10'000; ++i) form->SetProgress(i * 1024, 10'240'000);
  std::size_t drawn = 0;
  const std::string text = Written();
  for (std::size_t at = 0; (at = text.find('\r', at)) != std::string::npos; ++at) ++drawn;
  EXPECT_GE(drawn, 1U);
  EXPECT_LE(drawn, 20U);
}

TEST_F(FormTest, ClearsItsLineWhenItIsHiddenAndAtItsEnd) {
  auto form = MakeTerminalForm(terminal_);
  form->Show();
  form->Hide();
  EXPECT_TRUE(Written().ends_with("\r\x1b[K"));
  form->Hide();
  EXPECT_EQ(Written(), "");
  form->SetStatus("line");
  form->Show();
  EXPECT_TRUE(Written().ends_with("line"));
  form.reset();
  EXPECT_EQ(Written(), "\r\x1b[K");
}

TEST_F(FormTest, WithoutATerminalEveryCallDoesNothing) {
  std::array<int, 2> ends = {-1, -1};
  ASSERT_EQ(::pipe(ends.data()), 0);
  {
    const auto form = MakeTerminalForm(ends[1]);
    form->Show();
    form->SetStatus("line");
    form->SetProgress(1, 2);
    form->Hide();
  }
  ::close(ends[1]);
  char c = 0;
  EXPECT_EQ(::read(ends[0], &c, 1), 0);
  ::close(ends[0]);
}

}  // namespace
}  // namespace vlmr::platform
