#pragma once

#include <memory>
#include <string>

#include "platform/executable.h"

namespace vlmr::app {

/// The whole program, put together. Its source names every concrete class once and joins them by reference,
/// floor by floor.
class Program {
 public:
  /// Makes everything; nothing is read, written or started yet but the libraries' own state.
  explicit Program(const platform::Executable& executable);
  ~Program();
  Program(const Program&) = delete;
  Program& operator=(const Program&) = delete;

  /// One start, from the command line to the end. Leaves by return or by `platform::ProcessEnd`; both mean
  /// exit code 0.
  void Run(const std::string& command_line);

  /// Leaves a line about what should not have happened.
  void LogUnexpected(const std::string& what) noexcept;

 private:
  struct Parts;
  std::unique_ptr<Parts> parts_;
};

}  // namespace vlmr::app
