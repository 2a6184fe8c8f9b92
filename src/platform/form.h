#pragma once

#include <cstdint>
#include <string>

namespace vlmr::platform {

/// The program's one main form: hidden while it works, a status label, and the progress of the current
/// transfer. Without a display every call does nothing.
class Form {
 public:
  virtual ~Form() = default;
  /// The latest log line.
  virtual void SetStatus(const std::string& line) = 0;
  /// Bytes received so far and in all (0 = unknown).
  virtual void SetProgress(std::int64_t received, std::int64_t total) = 0;
  virtual void Show() = 0;
  virtual void Hide() = 0;
};

}  // namespace vlmr::platform
