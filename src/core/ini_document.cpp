#include "core/ini_document.h"

#include <algorithm>

#include "core/ini_syntax.h"
#include "core/text.h"

namespace vlmr::core {

using ini::SplitLine;
using ini::Trim;

namespace {

constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";
constexpr std::string_view kLineEnd = "\r\n";
/// Up to so many lines, going through a section is quicker than finding a key in the table; an index is made
/// of thousands of short sections.
constexpr std::uint32_t kShortSection = 16;
/// Gives the places of one character in a text one after the other, and looks at no byte twice: a file of CR
/// lines without any LF must not be searched for LF once per line.
class PlaceFinder {
 public:
  PlaceFinder(std::string_view text, char wanted) : text_(text), wanted_(wanted) { Find(0); }
  /// The first place at or behind `from`, or the text's size. `from` never goes back.
  std::size_t From(std::size_t from) {
    if (place_ < from) Find(from);
    return place_;
  }

 private:
  void Find(std::size_t from) { place_ = std::min(text_.find(wanted_, from), text_.size()); }

  std::string_view text_;
  char wanted_;
  std::size_t place_ = 0;
};

/// A number from 1 to a million in digits without leading zeros; 0 for any other text.
int PlainNumber(std::string_view digits) {
  constexpr int kMost = 1'000'000;
  if (digits.size() > 7 || digits.empty() || digits.front() == '0') return 0;
  int number = 0;
  for (const char c : digits) {
    if (c < '0' || c > '9') return 0;
    number = number * 10 + (c - '0');
  }
  return number <= kMost ? number : 0;
}

}  // namespace

IniDocument::IniDocument(std::string text) : arena_(std::move(text)), text_size_(arena_.size()) {
  const std::string_view all = arena_;
  const auto line_count = static_cast<std::size_t>(std::count(all.begin(), all.end(), '\n')) + 1;
  lines_.reserve(line_count + line_count / 8);
  PlaceFinder feeds(all, '\n');
  PlaceFinder returns(all, '\r');
  for (std::size_t start = 0; start < all.size();) {
    std::size_t end = std::min(feeds.From(start), returns.From(start));
    if (all.substr(end).starts_with(kLineEnd)) ++end;
    end = std::min(end + 1, all.size());
    ParseLine(static_cast<std::uint32_t>(start), static_cast<std::uint32_t>(end - start));
    start = end;
  }
}

std::string_view IniDocument::Content(std::uint32_t line) const {
  std::string_view bytes = Bytes(lines_[line]);
  // Nothing is ever put before the line that was read first.
  if (line == 0 && bytes.starts_with(kByteOrderMark)) bytes.remove_prefix(kByteOrderMark.size());
  return Trim(ini::WithoutEnd(bytes));
}

void IniDocument::ParseLine(std::uint32_t offset, std::uint32_t length) {
  const auto line = static_cast<std::uint32_t>(lines_.size());
  const std::uint32_t section = sections_.empty() ? kNone : static_cast<std::uint32_t>(sections_.size() - 1);
  lines_.push_back({offset, length, kNone, section});
  if (last_ == kNone) {
    first_ = line;
  } else {
    lines_[last_].next = line;
  }
  last_ = line;
  const std::string_view content = Content(line);
  if (content.empty()) {
    if (section != kNone) CountLine(section, line);
    return;
  }
  if (const auto name = ini::SectionName(content)) {
    // A later section of the same name is a section of its own that nothing finds.
    const bool is_first = FindSection(*name) == kNone;
    lines_.back().section = static_cast<std::uint32_t>(sections_.size());
    sections_.push_back({.header = line, .last_filled = line, .lines = 0});
    if (is_first) table_.Add(HashOfName(kSectionNames, *name), line);
    return;
  }
  if (section == kNone) return;
  sections_[section].last_filled = line;
  CountLine(section, line);
}

void IniDocument::CountLine(std::uint32_t section, std::uint32_t line) {
  Section& counted = sections_[section];
  ++counted.lines;
  if (counted.lines > kShortSection + 1) {
    AddToTable(section, line);
  } else if (counted.lines == kShortSection + 1) {
    for (std::uint32_t at = lines_[counted.header].next; at != kNone && lines_[at].section == section;
         at = lines_[at].next) {
      AddToTable(section, at);
    }
  }
}

void IniDocument::AddToTable(std::uint32_t section, std::uint32_t line) {
  const std::string_view key = SplitLine(Content(line)).key;
  if (key.empty()) return;
  const std::uint32_t hash = HashOfName(section, key);
  if (FindInTable(section, hash, key) == kNone) table_.Add(hash, line);
}

std::uint32_t IniDocument::FindSection(std::string_view name) const {
  const std::uint32_t line = table_.Find(HashOfName(kSectionNames, name), [&](std::uint32_t other) {
    const auto found = ini::SectionName(Content(other));
    return found && EqualsIgnoringCase(*found, name);
  });
  return line == kNone ? kNone : lines_[line].section;
}

std::uint32_t IniDocument::FindInTable(std::uint32_t section, std::uint32_t hash,
                                       std::string_view key) const {
  return table_.Find(hash, [&](std::uint32_t other) {
    return lines_[other].section == section && EqualsIgnoringCase(SplitLine(Content(other)).key, key);
  });
}

std::uint32_t IniDocument::FindKey(std::uint32_t section, std::string_view key) const {
  const Section& searched = sections_[section];
  if (searched.lines > kShortSection) return FindInTable(section, HashOfName(section, key), key);
  for (std::uint32_t at = lines_[searched.header].next; at != kNone && lines_[at].section == section;
       at = lines_[at].next) {
    if (EqualsIgnoringCase(SplitLine(Content(at)).key, key)) return at;
  }
  return kNone;
}

std::uint32_t IniDocument::FindKey(std::string_view section, std::string_view key) const {
  const std::uint32_t found = FindSection(section);
  if (found == kNone || key.empty()) return kNone;
  return FindKey(found, key);
}

std::string_view IniDocument::Get(std::string_view section, std::string_view key) const {
  const std::uint32_t line = FindKey(Trim(section), Trim(key));
  return line == kNone ? std::string_view() : ini::WithoutQuotes(RawValue(line));
}

bool IniDocument::HasKey(std::string_view section, std::string_view key) const {
  return FindKey(Trim(section), Trim(key)) != kNone;
}

std::vector<int> IniDocument::NumberedKeys(std::string_view section, std::string_view prefix) const {
  std::vector<int> numbers;
  const std::uint32_t searched = FindSection(Trim(section));
  if (searched == kNone) return numbers;
  for (std::uint32_t at = lines_[sections_[searched].header].next;
       at != kNone && lines_[at].section == searched; at = lines_[at].next) {
    const std::string_view key = SplitLine(Content(at)).key;
    if (key.size() <= prefix.size() || !EqualsIgnoringCase(key.substr(0, prefix.size()), prefix)) continue;
    if (const int number = PlainNumber(key.substr(prefix.size())); number > 0) numbers.push_back(number);
  }
  std::sort(numbers.begin(), numbers.end());
  numbers.erase(std::unique(numbers.begin(), numbers.end()), numbers.end());
  return numbers;
}

std::string_view IniDocument::RawValue(std::uint32_t line) const { return SplitLine(Content(line)).value; }

}  // namespace vlmr::core
