#pragma once

#include <cstdint>
#include <initializer_list>
#include <string>
#include <string_view>
#include <vector>

#include "core/ini_line_table.h"

namespace vlmr::core {

/// One INI file in memory, held line by line so that everything a write does not touch stays byte for byte.
///
/// Rules (those of Windows' private profiles, the same on every system): the first section of a name and the
/// first key in it win, without regard to ASCII case; blanks and tabs around section, key and value are
/// dropped; one pair of matching quotes around a value is dropped on reading; lines that begin with ";" are
/// comments, a ";" inside a value belongs to it; what follows the "]" of a section is ignored, and a "["
/// without "]" begins none; keys before the first section belong to none and are never found. CR LF, LF and
/// CR all end a line. A byte order mark of UTF-8 at the start is passed over.
///
/// Parsing is linear; finding a key costs a hash look-up for its section and, when that has more than a few
/// lines, one for the key, whatever the size of the file; appending a key or a section costs the same. It
/// takes the file's size, 16 bytes for each line, 23 to 33 for each section and 11 to 21 for each key of a
/// long one.
///
///     IniDocument index(text);
///     index.Get("PATTERN", "Version");                          // "1.101"
///     if (index.Set("Server", "AvailableServer", "0")) ...      // Text() has changed
class IniDocument {
 public:
  /// The longest text that can be held, in bytes.
  static constexpr std::size_t kLongestText = std::size_t{1} << 30;

  IniDocument() = default;
  /// REQUIRES: `text` is not longer than `kLongestText`.
  explicit IniDocument(std::string text);

  /// The value without its quotes, or empty when section or key is missing. Valid until the next change.
  std::string_view Get(std::string_view section, std::string_view key) const;
  bool HasKey(std::string_view section, std::string_view key) const;
  /// The numbers N, ascending and each once, for which the section holds a key `prefix`N written in plain
  /// digits, from 1 to a million. Reads the section once.
  std::vector<int> NumberedKeys(std::string_view section, std::string_view prefix) const;

  /// Whether names can be written so that they are found again: no "]" in a section's name, no "=" in a
  /// key's, no line end in either, and a key that is not empty and begins with neither ";" nor "[".
  static bool CanHold(std::string_view section, std::string_view key);

  /// Replaces the value in place (the key keeps its spelling), or adds the key behind the last non-blank line
  /// of its section, or adds the section at the end of the file. CR and LF inside `value` become blanks;
  /// lines that are written end with CR LF. Returns false when nothing changed: the value is already there
  /// (blanks around it apart), or the names cannot be held. REQUIRES: the names are no views of this
  /// document.
  bool Set(std::string_view section, std::string_view key, std::string_view value);

  /// Appends an empty line (CR LF) at the end of the file.
  void AppendBlankLine();

  /// The whole file.
  std::string Text() const;
  std::size_t TextSize() const { return text_size_; }
  /// Whether `text` is the whole file, byte for byte.
  bool HasText(std::string_view text) const;

 private:
  /// One line with its end, in the order of the file by `next`.
  struct Line {
    std::uint32_t offset;
    std::uint32_t length;
    std::uint32_t next;
    std::uint32_t section;
  };
  struct Section {
    std::uint32_t header;
    std::uint32_t last_filled;  ///< its last line that is not blank; its header at first
    std::uint32_t lines;        ///< without the header; the keys of a long section are in the table
  };
  /// What a written line is made of.
  using Pieces = std::initializer_list<std::string_view>;
  static constexpr std::uint32_t kNone = IniLineTable::kNone;
  /// The scope of section names in the hash table; sections themselves are numbered from 0.
  static constexpr std::uint32_t kSectionNames = IniLineTable::kNone;

  std::string_view Bytes(const Line& line) const { return {arena_.data() + line.offset, line.length}; }
  std::string_view Content(std::uint32_t line) const;
  std::uint32_t FindSection(std::string_view name) const;
  std::uint32_t FindInTable(std::uint32_t section, std::uint32_t hash, std::string_view key) const;
  std::uint32_t FindKey(std::uint32_t section, std::string_view key) const;
  std::uint32_t FindKey(std::string_view section, std::string_view key) const;
  std::string_view RawValue(std::uint32_t line) const;

  void ParseLine(std::uint32_t offset, std::uint32_t length);
  void CountLine(std::uint32_t section, std::uint32_t line);
  void AddToTable(std::uint32_t section, std::uint32_t line);
  std::uint32_t AddSection(std::string_view name);
  std::uint32_t InsertBehind(std::uint32_t before, std::uint32_t section, Pieces pieces);
  void EndLine(std::uint32_t line);
  void Rewrite(std::uint32_t line, Pieces pieces);
  void Compact();
  template <class Visitor>
  bool VisitRuns(const Visitor& visit) const;

  std::string arena_;  ///< the text as it was read, followed by every line written since
  std::vector<Line> lines_;
  std::vector<Section> sections_;
  IniLineTable table_;
  std::uint32_t first_ = kNone;
  std::uint32_t last_ = kNone;
  std::size_t text_size_ = 0;
};

}  // namespace vlmr::core
