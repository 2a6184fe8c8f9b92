#include "core/ini_document.h"

#include <algorithm>
#include <optional>

#include "core/text.h"

namespace vlmr::core {

namespace {

constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";
constexpr std::string_view kLineEnd = "\r\n";
/// The scope of section names in the hash table; sections themselves are numbered from 0.
constexpr std::uint32_t kSectionNames = IniLineTable::kNone;
/// Up to so many lines, going through a section is quicker than finding a key in the table; an index is made
/// of thousands of short sections.
constexpr std::uint32_t kShortSection = 16;
/// Replaced lines stay in the arena; so many bytes of them, and as many as live ones, are cleared away at
/// once.
constexpr std::size_t kWorthCompacting = 65536;

bool IsBlank(char c) { return c == ' ' || c == '\t'; }

/// As `TrimBlanksAndTabs`, but in place: it runs several times for each line of a long file.
std::string_view Trim(std::string_view text) {
  while (!text.empty() && IsBlank(text.back())) text.remove_suffix(1);
  while (!text.empty() && IsBlank(text.front())) text.remove_prefix(1);
  return text;
}

std::string_view WithoutEnd(std::string_view line) {
  while (line.ends_with('\n') || line.ends_with('\r')) line.remove_suffix(1);
  return line;
}

std::optional<std::string_view> SectionName(std::string_view content) {
  if (!content.starts_with('[')) return std::nullopt;
  const std::size_t end = content.find(']');
  if (end == std::string_view::npos) return std::nullopt;
  return Trim(content.substr(1, end - 1));
}

struct KeyAndValue {
  std::string_view key;
  std::string_view value;
};

/// Empty key: the line is none.
KeyAndValue SplitLine(std::string_view content) {
  if (content.empty() || content.front() == ';' || content.front() == '[') return {};
  const std::size_t equals = content.find('=');
  if (equals == std::string_view::npos) return {};
  return {Trim(content.substr(0, equals)), Trim(content.substr(equals + 1))};
}

std::string_view WithoutQuotes(std::string_view value) {
  const bool quoted =
      value.size() >= 2 && (value.front() == '"' || value.front() == '\'') && value.front() == value.back();
  return quoted ? value.substr(1, value.size() - 2) : value;
}

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
  return Trim(WithoutEnd(bytes));
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
  if (const auto name = SectionName(content)) {
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
    const auto found = SectionName(Content(other));
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
  return line == kNone ? std::string_view() : WithoutQuotes(RawValue(line));
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

bool IniDocument::CanHold(std::string_view section, std::string_view key) {
  key = Trim(key);
  return section.find_first_of("]\r\n") == std::string_view::npos && !key.empty() && key.front() != ';' &&
         key.front() != '[' && key.find_first_of("=\r\n") == std::string_view::npos;
}

bool IniDocument::Set(std::string_view section, std::string_view key, std::string_view value) {
  if (!CanHold(section, key)) return false;
  section = Trim(section);
  key = Trim(key);
  std::string one_line(value);
  std::replace_if(
      one_line.begin(), one_line.end(), [](char c) { return c == '\r' || c == '\n'; }, ' ');
  std::uint32_t in = FindSection(section);
  if (in == kNone) in = AddSection(section);
  const std::uint32_t line = FindKey(in, key);
  if (line == kNone) {
    EndLine(sections_[in].last_filled);
    const std::uint32_t added = InsertBehind(sections_[in].last_filled, in, {key, "=", one_line});
    sections_[in].last_filled = added;
    CountLine(in, added);
    return true;
  }
  if (RawValue(line) == Trim(one_line)) return false;
  const std::string spelling(SplitLine(Content(line)).key);
  Rewrite(line, {spelling, "=", one_line});
  return true;
}

void IniDocument::AppendBlankLine() {
  if (last_ != kNone) EndLine(last_);
  const std::uint32_t section = sections_.empty() ? kNone : static_cast<std::uint32_t>(sections_.size() - 1);
  const std::uint32_t added = InsertBehind(last_, section, {});
  if (section != kNone) CountLine(section, added);
}

std::uint32_t IniDocument::AddSection(std::string_view name) {
  if (last_ != kNone) EndLine(last_);
  const auto section = static_cast<std::uint32_t>(sections_.size());
  const std::uint32_t header = InsertBehind(last_, section, {"[", name, "]"});
  sections_.push_back({.header = header, .last_filled = header, .lines = 0});
  table_.Add(HashOfName(kSectionNames, name), header);
  return section;
}

std::uint32_t IniDocument::InsertBehind(std::uint32_t before, std::uint32_t section, Pieces pieces) {
  const auto line = static_cast<std::uint32_t>(lines_.size());
  lines_.push_back({0, 0, kNone, section});
  if (before == kNone) {
    first_ = line;
  } else {
    lines_[line].next = lines_[before].next;
    lines_[before].next = line;
  }
  if (last_ == before) last_ = line;
  Rewrite(line, pieces);
  return line;
}

void IniDocument::EndLine(std::uint32_t line) {
  const std::string_view bytes = Bytes(lines_[line]);
  if (bytes.ends_with('\n') || bytes.ends_with('\r')) return;
  const std::string content(bytes);
  Rewrite(line, {content});
}

void IniDocument::Rewrite(std::uint32_t line, Pieces pieces) {
  Line& rewritten = lines_[line];
  text_size_ -= rewritten.length;
  rewritten.offset = static_cast<std::uint32_t>(arena_.size());
  for (const std::string_view piece : pieces) arena_.append(piece);
  arena_.append(kLineEnd);
  rewritten.length = static_cast<std::uint32_t>(arena_.size()) - rewritten.offset;
  text_size_ += rewritten.length;
  if (arena_.size() > 2 * text_size_ + kWorthCompacting) Compact();
}

void IniDocument::Compact() {
  std::string arena;
  arena.reserve(text_size_ + kWorthCompacting);
  for (std::uint32_t at = first_; at != kNone; at = lines_[at].next) {
    Line& line = lines_[at];
    const std::string_view bytes = Bytes(line);
    line.offset = static_cast<std::uint32_t>(arena.size());
    arena.append(bytes);
  }
  arena_ = std::move(arena);
}

template <class Visitor>
bool IniDocument::VisitRuns(const Visitor& visit) const {
  for (std::uint32_t at = first_; at != kNone;) {
    const std::size_t start = lines_[at].offset;
    std::size_t end = start;
    // Lines that stand side by side in the arena go out in one piece.
    for (; at != kNone && lines_[at].offset == end; at = lines_[at].next) end += lines_[at].length;
    if (!visit(std::string_view(arena_).substr(start, end - start))) return false;
  }
  return true;
}

std::string IniDocument::Text() const {
  std::string text;
  text.reserve(text_size_);
  VisitRuns([&](std::string_view run) {
    text.append(run);
    return true;
  });
  return text;
}

bool IniDocument::HasText(std::string_view text) const {
  if (text.size() != text_size_) return false;
  return VisitRuns([&](std::string_view run) {
    if (!text.starts_with(run)) return false;
    text.remove_prefix(run.size());
    return true;
  });
}

}  // namespace vlmr::core
