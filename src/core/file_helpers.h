#pragma once

#include <cstdint>
#include <span>
#include <string>

#include "core/notifier.h"
#include "core/runtime.h"
#include "platform/event_loop.h"
#include "platform/process.h"
#include "platform/system_info.h"

namespace vlmr::core {

/// Small shared operations with the log lines that belong to them. None raises to its caller.
class FileHelpers {
 public:
  /// All references must outlive this object.
  FileHelpers(const Runtime& runtime, platform::EventLoop& loop, platform::ProcessRunner& processes,
              platform::SystemInfo& system, Notifier& notifier);

  /// Moves a file, replacing an existing target, and logs each step. A failed move leaves the target
  /// deleted and the source in place; only the log tells. Makes no folder.
  void DeplaceFile(const std::string& source, const std::string& target);

  /// Starts a program hidden and waits for its end, yielding every 50 ms, without a time limit. A failed
  /// start is reported to the log and as an error mail.
  void WaitFor(const std::string& program);

  /// The computer's name.
  std::string GetComputerNameText() const;

  /// Makes each missing folder of a path, component by component, and returns the path of the last one.
  /// Failures are silent.
  std::string CreateFolderPath(const std::string& path);

 private:
  const Runtime& runtime_;
  platform::EventLoop& loop_;
  platform::ProcessRunner& processes_;
  platform::SystemInfo& system_;
  Notifier& notifier_;
};

/// Sorts the elements first..last (one-based, inclusive) by bytes, ascending or descending: a recursive
/// quicksort with the middle element as pivot.
void SortStrings(int first, int last, std::span<std::string> list, bool descending);

}  // namespace vlmr::core
