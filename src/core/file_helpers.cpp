#include "core/file_helpers.h"

#include <chrono>
#include <compare>
#include <memory>
#include <utility>

#include "core/error_trap.h"
#include "core/number.h"
#include "core/text.h"

namespace vlmr::core {
namespace {

constexpr std::chrono::milliseconds kPollInterval{50};

ErrorTrap Silent() {
  return ErrorTrap([](const platform::RuntimeError&) {});
}

/// Says why no operation takes a path, where that is so.
void LogRefusal(const Runtime& runtime, const std::string& path) {
  const std::string refusal = runtime.files.Refusal(path);
  if (!refusal.empty()) runtime.Log("DeplaceFile: Refused " + path + ": " + refusal);
}

}  // namespace

FileHelpers::FileHelpers(const Runtime& runtime, platform::EventLoop& loop,
                         platform::ProcessRunner& processes, platform::SystemInfo& system, Notifier& notifier)
    : runtime_(runtime), loop_(loop), processes_(processes), system_(system), notifier_(notifier) {}

void FileHelpers::DeplaceFile(const std::string& source, const std::string& target) {
  const std::string from(TrimBlanks(source));
  const std::string to(TrimBlanks(target));
  const auto kill = [&] { Silent()([&] { runtime_.files.Delete(target); }); };
  const std::string found = runtime_.files.FindFile(target);
  // The network, or a run that is killed here, finds the old file or the new one, never none. Only a file
  // that gets another name in the same step, if just in its case, has to go first.
  const bool replaces = !found.empty() && target == to && found == platform::NameOf(to);
  runtime_.Log("DeplaceFile: " + source + "=>" + found);
  if (!found.empty()) {
    runtime_.Log("DeplaceFile: Kill " + target);
    if (!replaces) kill();
  }
  runtime_.Log("DeplaceFile: Move " + source + "=> to " + target);
  const bool moved = replaces ? runtime_.files.MoveOver(from, to) : runtime_.files.Move(from, to);
  // A move that failed leaves no old file, which nobody would tell from the new one.
  if (replaces && !moved) kill();
  runtime_.Log(moved ? "DeplaceFile: lngRetVal=1" : "DeplaceFile: lngRetVal=0");
  if (!moved) {
    runtime_.Log("DeplaceFile: Error to move " + source + "=> to " + target);
    LogRefusal(runtime_, source);
    LogRefusal(runtime_, target);
  }
}

void FileHelpers::WaitFor(const std::string& program) {
  const ErrorTrap trap([&](const platform::RuntimeError& error) {
    notifier_.PrepareMail(MailSwitch::kError,
                          "Error WaitFor => " + program + " !! Error !! code " + ErrorText(error));
    runtime_.Log("WaitFor: Error code " + ErrorText(error));
  });
  // The program may read what this run has written so far, and change any folder.
  runtime_.ini.FlushBatches();
  std::unique_ptr<platform::ChildProcess> child;
  trap([&] { child = processes_.StartAwaited(program); });
  if (child == nullptr) {
    return;
  }
  loop_.Pump(std::chrono::milliseconds(0));
  while (child->ExitCode() == platform::kStillActive) {
    loop_.Pump(kPollInterval);
  }
  runtime_.files.ForgetNames();
}

std::string FileHelpers::GetComputerNameText() const { return system_.ComputerName(); }

std::string FileHelpers::CreateFolderPath(const std::string& path) {
  const ErrorTrap trap = Silent();
  std::string walked;
  // A backslash at the very beginning ends no component.
  for (std::size_t end = 0; end != std::string::npos;) {
    end = path.find('\\', end + 1);
    const std::string partial = path.substr(0, end);
    if (partial.empty() || partial.ends_with('\\') || partial.ends_with(':')) {
      continue;  // nothing between two separators; a drive is there or cannot be made
    }
    walked = partial;
    if (runtime_.files.FindFolder(walked).empty()) {
      trap([&] { runtime_.files.MakeFolder(walked); });
    }
  }
  return walked;
}

void SortStrings(int first, int last, std::span<std::string> list, bool descending) {
  const auto at = [&](int index) -> std::string& { return list[static_cast<std::size_t>(index - 1)]; };
  const auto before = [&](const std::string& a, const std::string& b) {
    return descending ? std::is_gt(CompareAsText(a, b)) : std::is_lt(CompareAsText(a, b));
  };
  while (first < last) {
    int left = first;
    int right = last;
    const std::string pivot = at((first + last) / 2);
    while (left <= right) {
      while (before(at(left), pivot)) ++left;
      while (before(pivot, at(right))) --right;
      if (left <= right) {
        std::swap(at(left++), at(right--));
      }
    }
    // The larger side is sorted by the loop, so that no list can make the calls nest deeply.
    if (right - first < last - left) {
      SortStrings(first, right, list, descending);
      first = left;
    } else {
      SortStrings(left, last, list, descending);
      last = right;
    }
  }
}

}  // namespace vlmr::core
