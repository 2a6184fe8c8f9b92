#include "support/fake_process_runner.h"

#include <utility>

#include "platform/ascii_case.h"
#include "platform/file_system.h"
#include "platform/runtime_error.h"

namespace vlmr::test {
namespace {

class FakeChild : public platform::ChildProcess {
 public:
  explicit FakeChild(FakeProcessRunner::Program program) : program_(std::move(program)) {}
  std::int64_t ExitCode() override {
    if (program_.polls > 0) {
      --program_.polls;
      return platform::kStillActive;
    }
    if (const auto on_exit = std::exchange(program_.on_exit, nullptr)) on_exit();
    return program_.exit_code;
  }

 private:
  FakeProcessRunner::Program program_;
};

}  // namespace

void FakeProcessRunner::Script(std::string_view file_name, Program program) {
  programs_[platform::AsciiUpper(file_name)] = std::move(program);
}

std::vector<std::string> FakeProcessRunner::Programs() const {
  std::vector<std::string> programs;
  for (const Started& start : starts) programs.push_back(start.program);
  return programs;
}

int FakeProcessRunner::StartsOf(std::string_view file_name) const {
  int count = 0;
  for (const Started& start : starts) {
    if (platform::SameName(platform::NameOf(start.program), file_name)) ++count;
  }
  return count;
}

const FakeProcessRunner::Program& FakeProcessRunner::ProgramOf(const std::string& path) const {
  static const Program ends_at_once;
  const auto found = programs_.find(platform::AsciiUpper(platform::NameOf(path)));
  return found == programs_.end() ? ends_at_once : found->second;
}

bool FakeProcessRunner::Start(const std::string& program, platform::WindowMode window) {
  starts.push_back({program, /*awaited=*/false, window});
  const Program& script = ProgramOf(program);
  if (script.start_error != 0) return false;
  if (script.on_start) script.on_start();
  return true;
}

std::unique_ptr<platform::ChildProcess> FakeProcessRunner::StartAwaited(const std::string& program) {
  starts.push_back({program, /*awaited=*/true, platform::WindowMode::kHidden});
  const Program& script = ProgramOf(program);
  if (script.start_error != 0) throw platform::RuntimeError(script.start_error);
  if (script.on_start) script.on_start();
  return std::make_unique<FakeChild>(script);
}

}  // namespace vlmr::test
