#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "platform/file_system.h"
#include "transfer/zip_source.h"

struct zip;

namespace vlmr::transfer {

/// One entry of an archive, as its directory tells.
struct ZipEntry {
  std::int64_t index = 0;     ///< its place in the directory, from 0
  std::string name;           ///< bytes as stored; NUL bytes have become blanks
  std::int64_t size = 0;      ///< unpacked, as declared
  bool is_encrypted = false;  ///< with whatever method
  bool IsFolder() const { return name.ends_with('/') || name.ends_with('\\'); }
};

/// An archive opened for reading. Any reader's error is a `RuntimeError` with libzip's number and text, or
/// with those of the file underneath.
class ZipReader {
 public:
  /// Raises 53, 70 and so on when the file cannot be read, libzip's error when it is no archive.
  ZipReader(const platform::FileReader& files, const std::string& path);

  /// Number of entries.
  std::int64_t Count() const;
  /// All entries, in the order of the directory.
  std::vector<ZipEntry> Entries() const;
  /// Hands the unpacked bytes of an entry to `sink` in pieces, verifying size and checksum. Raises libzip's
  /// error (method, encryption, damage, more bytes than declared) and whatever the sink raises.
  void Read(const ZipEntry& entry, const std::function<void(std::string_view)>& sink) const;

 private:
  struct Closer {
    void operator()(zip* archive) const;
  };
  ZipInput input_;
  std::unique_ptr<zip, Closer> archive_;
};

/// A file that goes into a new archive.
struct ZipAddition {
  std::string name;  ///< the entry's name
  std::string path;  ///< the file
};

/// Builds an archive from files and puts it in place in one step, over an existing one. Raises libzip's error
/// or those of the files; nothing has changed then.
void BuildZip(platform::FileSystem& files, const std::string& path,
              const std::vector<ZipAddition>& additions);

}  // namespace vlmr::transfer
