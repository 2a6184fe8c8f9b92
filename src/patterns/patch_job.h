#pragma once

#include <string>

#include "core/file_helpers.h"
#include "core/runtime.h"

namespace vlmr::patterns {

/// One run of the patch program: it turns the held pattern and an increment into a new pattern.
class PatchJob {
 public:
  /// Both references must outlive this object.
  PatchJob(const core::Runtime& runtime, core::FileHelpers& helpers) : runtime_(runtime), helpers_(helpers) {}

  /// Writes the job file `\Patch.ini`, runs `\Patch.exe`, waits for its end and moves the pattern that it
  /// made into the published folder. True when such a pattern was found, whether or not its move succeeded.
  /// False at once, without a job file, when the increment is not staged under its own name. Both versions
  /// must be usable in file names. Raises nothing.
  bool PatchIni(const std::string& from, const std::string& to);

 private:
  void WriteJobFile(const std::string& from, const std::string& to);
  bool MoveResult(const std::string& to);

  const core::Runtime& runtime_;
  core::FileHelpers& helpers_;
};

}  // namespace vlmr::patterns
