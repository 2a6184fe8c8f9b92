#include "platform/form_posix.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include <chrono>
#include <optional>
#include <string>
#include <string_view>

#include "platform/native.h"

namespace vlmr::platform {
namespace {

using SteadyClock = std::chrono::steady_clock;

/// The terminal is a courtesy to whoever looks on; a fast run must not spend its time on it.
constexpr std::chrono::milliseconds kShortestPause(200);

std::string KilobytesText(std::int64_t bytes) { return std::to_string((bytes + 1023) / 1024) + " KB"; }

class TerminalForm final : public Form {
 public:
  explicit TerminalForm(int descriptor) : descriptor_(descriptor), is_terminal_(::isatty(descriptor) == 1) {}
  TerminalForm(const TerminalForm&) = delete;
  TerminalForm& operator=(const TerminalForm&) = delete;
  ~TerminalForm() override { Hide(); }

  void SetStatus(const std::string& line) override {
    if (!is_terminal_) return;
    status_ = line;
    Draw();
  }

  void SetProgress(std::int64_t received, std::int64_t total) override {
    if (!is_terminal_ || !shown_) return;
    progress_ = "  [" + KilobytesText(received);
    if (total > 0) progress_ += " of " + KilobytesText(total);
    progress_ += "]";
    Draw();
  }

  void Show() override {
    if (!is_terminal_) return;
    shown_ = true;
    Draw();
  }

  void Hide() override {
    if (!shown_) return;
    shown_ = false;
    drawn_.reset();
    Send("\r\x1b[K");
  }

 private:
  void Draw() {
    if (!shown_) return;
    const SteadyClock::time_point now = SteadyClock::now();
    if (drawn_ && now - *drawn_ < kShortestPause) return;
    drawn_ = now;
    std::string line = status_.substr(0, Room());
    for (char& c : line) {
      // What a server sent must not steer the terminal.
      if (static_cast<unsigned char>(c) < 0x20 || c == 0x7f) c = ' ';
    }
    Send("\r\x1b[K" + line + progress_);
  }

  /// How many characters of the status fit on the line beside the progress.
  std::size_t Room() const {
    winsize size = {};
    const bool known = ::ioctl(descriptor_, TIOCGWINSZ, &size) == 0 && size.ws_col > 1;
    const std::size_t columns = known ? size.ws_col - 1U : 79U;
    return columns > progress_.size() ? columns - progress_.size() : 0;
  }

  void Send(std::string_view text) const {
    [[maybe_unused]] const ssize_t sent = ::write(descriptor_, text.data(), text.size());
  }

  int descriptor_;
  bool is_terminal_;
  bool shown_ = false;
  std::string status_;
  std::string progress_;
  std::optional<SteadyClock::time_point> drawn_;
};

}  // namespace

std::unique_ptr<Form> MakeTerminalForm(int descriptor) { return std::make_unique<TerminalForm>(descriptor); }

std::unique_ptr<Form> MakeForm() { return MakeTerminalForm(STDERR_FILENO); }

}  // namespace vlmr::platform
