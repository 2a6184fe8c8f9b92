#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "platform/process.h"

namespace vlmr::test {

/// Starts nothing, records every start, and plays the programs that a test scripts by their file name (any
/// case). A program without a script starts and ends at once with 0.
///
/// Example:
///     FakeProcessRunner processes;
///     processes.Script("Patch.exe", {.polls = 3, .on_start = [&] { files.Put("\\Pattern\\lpt$vpn.101", "x");
///     }});
class FakeProcessRunner : public platform::ProcessRunner {
 public:
  /// How a program behaves.
  struct Program {
    int start_error = 0;                       ///< raised by `StartAwaited`; makes `Start` return false
    std::int64_t exit_code = 0;                ///< told after `polls` answers of `kStillActive`
    int polls = 0;                             ///< how often it is still found running
    std::function<void()> on_start = nullptr;  ///< what the program does, all of it at its start
    std::function<void()> on_exit =
        nullptr;  ///< what it does before its exit code is told for the first time
  };
  /// One start.
  struct Started {
    std::string program;  ///< the path as it was given
    bool awaited = false;
    platform::WindowMode window = platform::WindowMode::kHidden;
    bool operator==(const Started&) const = default;
  };

  void Script(std::string_view file_name, Program program);
  /// The paths of all starts, in order; those that failed as well.
  std::vector<std::string> Programs() const;
  /// How often a program of this file name was started.
  int StartsOf(std::string_view file_name) const;

  std::vector<Started> starts;  ///< every start, also those that failed

  bool Start(const std::string& program, platform::WindowMode window) override;
  std::unique_ptr<platform::ChildProcess> StartAwaited(const std::string& program) override;

 private:
  const Program& ProgramOf(const std::string& path) const;

  std::map<std::string, Program> programs_;  ///< by upper-cased file name
};

}  // namespace vlmr::test
