#pragma once

#include <string>
#include <string_view>

namespace vlmr::core {

/// The application folder and the paths that several procedures share, in the system's own notation.
class AppPaths {
 public:
  /// `folder` is the application folder as the platform spells it, without a separator at its end; `program`
  /// is the running file's name without its last extension.
  AppPaths(std::string folder, std::string program)
      : folder_(std::move(folder)), program_(std::move(program)) {}

  /// The application folder itself.
  const std::string& Folder() const { return folder_; }
  /// The name in brackets of every log line.
  const std::string& Program() const { return program_; }

  /// The application folder followed by `relative`, which begins with a backslash.
  std::string operator/(std::string_view relative) const { return folder_ + std::string(relative); }

  std::string Settings() const { return *this / R"(\VLMR.ini)"; }
  std::string Log() const { return *this / R"(\VlMR.log)"; }
  /// The mirror's own index, which the network's servers read.
  std::string StoredIndex() const { return *this / R"(\ActiveUpdate\server.ini)"; }
  /// The service's index as fetched in this run.
  std::string FreshIndex() const { return *this / R"(\TempDownload\ActiveUpdate\server.ini)"; }
  /// Root of the published tree, with the backslash at its end.
  std::string MirrorRoot() const { return *this / R"(\ActiveUpdate\)"; }
  /// Root of the download staging tree, with the backslash at its end.
  std::string StagingRoot() const { return *this / R"(\TempDownload\ActiveUpdate\)"; }
  std::string StoredArchive() const { return *this / R"(\ActiveUpdate\Pattern\vsapi.zip)"; }
  /// The working folder that holds the unpacked pattern.
  std::string PatternFolder() const { return *this / R"(\Pattern)"; }

 private:
  std::string folder_;
  std::string program_;
};

}  // namespace vlmr::core
