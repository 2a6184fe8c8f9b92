#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "core/error_trap.h"
#include "core/file_helpers.h"
#include "core/runtime.h"
#include "index/index_readers.h"

namespace vlmr::index {

/// Writes the [PATTERN] part of the mirror's own index, from which the network's servers update. Engines and
/// products write their own sections.
class IndexWriter {
 public:
  /// What happens on a higher floor when a new full archive is in place.
  class Needs {
   public:
    virtual ~Needs() = default;
    /// Empties the working folder, so that the next look at it unpacks the new archive. Raises nothing.
    virtual void RefreshPatternFolder() = 0;
  };

  /// All references must outlive this object.
  IndexWriter(const core::Runtime& runtime, const IndexReaders& readers, core::FileHelpers& helpers,
              Needs& needs);

  /// Moves the fetched pattern files into the mirror and rewrites header, version, archive and increment
  /// keys. All of it appears in the index at once. A step that fails is logged and its key is not written;
  /// the rest follows. Raises nothing.
  void CreatingNewPatternServerIni();

  /// The increments in the mirror that lead to the version in its index, ascending by bytes.
  std::vector<std::string> ListMergeFiles() const;

  /// Appends an empty line to the mirror's index.
  void AppendBlankLine();

 private:
  using Names = std::vector<std::string>;

  void WriteHeaderIfAbsent();
  std::string ReadHeader() const;
  void WriteFixedKeys();
  void MoveDownloadedFiles();
  void WriteVersion();
  void WriteArchive(std::string_view key);
  void WriteMergeVersions(const Names& names);
  void WriteMergePaths(std::string_view key, const Names& names);
  void WriteVersionedArchive(std::string_view key);
  std::string PatternFile(std::string_view name) const;
  std::string LengthText(std::string_view name) const;
  void Write(std::string_view key, std::string_view value);

  const core::Runtime& runtime_;
  const IndexReaders& readers_;
  core::FileHelpers& helpers_;
  Needs& needs_;
  core::ErrorTrap trap_;
};

}  // namespace vlmr::index
