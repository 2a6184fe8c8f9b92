#include <algorithm>

#include "core/ini_document.h"
#include "core/ini_syntax.h"

/// How the text of an INI file changes, and how it is given out.
namespace vlmr::core {

using ini::SplitLine;
using ini::Trim;

namespace {

constexpr std::string_view kLineEnd = "\r\n";
/// Replaced lines stay in the arena; so many bytes of them, and as many as live ones, are cleared away at
/// once.
constexpr std::size_t kWorthCompacting = 65536;

}  // namespace

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
