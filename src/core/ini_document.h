#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace vlmr::core {

/// One INI file in memory, held line by line so that everything a write does not touch stays byte for byte.
///
/// Rules (those of Windows' private profiles, the same on every system): the first section of a name and the
/// first key in it win, without regard to ASCII case; blanks around section, key and value are dropped; one
/// pair of matching quotes around a value is dropped on reading; lines that begin with ";" are comments, a
/// ";" inside a value belongs to it.
///
/// Parsing is linear; finding a key costs one hash look-up whatever the size of the file or the section;
/// appending a key or a section costs the same.
class IniDocument {
 public:
  IniDocument() = default;
  explicit IniDocument(std::string text);

  /// The value without its quotes, or empty when section or key is missing. Valid until the next change.
  std::string_view Get(std::string_view section, std::string_view key) const;
  bool HasKey(std::string_view section, std::string_view key) const;

  /// Replaces the value in place (the key keeps its spelling), or adds the key behind the last non-blank line
  /// of its section, or adds the section at the end of the file. CR and LF inside `value` become blanks. New
  /// lines end with CR LF. Returns false when nothing changed.
  bool Set(std::string_view section, std::string_view key, std::string_view value);

  /// Appends an empty line (CR LF) at the end of the file.
  void AppendBlankLine();

  /// The whole file.
  std::string Text() const;
  std::size_t TextSize() const;

  // (Storage is the implementer's choice.)
};

}  // namespace vlmr::core
