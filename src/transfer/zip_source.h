#pragma once

#include <memory>
#include <optional>
#include <string>

#include "platform/file_system.h"
#include "platform/runtime_error.h"

struct zip_source;

namespace vlmr::transfer {

/// What libzip reads from: a file of ours, opened when libzip wants it. The `zip_source` that `Make` gives
/// belongs to libzip once it is handed over, and must not outlive this object.
///
/// Example:
///     ZipInput input(files, path);
///     zip_t* archive = zip_open_from_source(input.Make(), ZIP_RDONLY, &error);
class ZipInput {
 public:
  /// Raises 53 when the file is missing. The reference must outlive this object.
  ZipInput(const platform::FileReader& files, std::string path);
  ZipInput(const ZipInput&) = delete;
  ZipInput& operator=(const ZipInput&) = delete;

  /// A new source. Raises 7 when there is no memory.
  zip_source* Make();
  /// The run-time error behind libzip's "read error", if there was one.
  const std::optional<platform::RuntimeError>& Fault() const { return fault_; }

 private:
  friend struct ZipInputCalls;

  const platform::FileReader& files_;
  std::string path_;
  std::int64_t length_;
  std::int64_t offset_ = 0;
  std::unique_ptr<platform::InputFile> file_;
  std::optional<platform::RuntimeError> fault_;
};

/// What libzip writes a new archive to: a temporary file that takes the archive's name when all of it stands
/// there, and goes when it does not.
class ZipOutput {
 public:
  /// The reference must outlive this object.
  ZipOutput(platform::FileSystem& files, std::string path) : files_(files), path_(std::move(path)) {}
  ZipOutput(const ZipOutput&) = delete;
  ZipOutput& operator=(const ZipOutput&) = delete;

  /// As `ZipInput::Make`.
  zip_source* Make();
  /// As `ZipInput::Fault`.
  const std::optional<platform::RuntimeError>& Fault() const { return fault_; }

 private:
  friend struct ZipOutputCalls;

  platform::FileSystem& files_;
  std::string path_;
  std::int64_t offset_ = 0;
  std::unique_ptr<platform::StagedFile> staged_;
  std::optional<platform::RuntimeError> fault_;
};

}  // namespace vlmr::transfer
