#include "core/ini_store.h"

#include <algorithm>
#include <exception>
#include <optional>
#include <utility>
#include <vector>

#include "platform/ascii_case.h"
#include "platform/runtime_error.h"

namespace vlmr::core {
namespace {

constexpr std::chrono::milliseconds kFlushInterval{1000};
/// What stamps cannot tell: two changes within one tick of the file system's clock, which takes 10 ms at most
/// on the usual ones. (FAT counts in 2 s; there a second edit of the same length may be missed.)
constexpr std::chrono::milliseconds kStampTick{20};

/// One write that a batch holds, kept so that it can be done again on contents that another program wrote
/// meanwhile.
struct Change {
  enum class Kind { kSet, kBlankLine, kCreate };
  Kind kind;
  std::string section;
  std::string key;
  std::string text;  ///< value, or the whole file for `kCreate`
};

bool Apply(const Change& change, IniDocument& document) {
  switch (change.kind) {
    case Change::Kind::kSet:
      return document.Set(change.section, change.key, change.text);
    case Change::Kind::kBlankLine:
      document.AppendBlankLine();
      return true;
    case Change::Kind::kCreate:
      if (document.HasText(change.text)) return false;
      document = IniDocument(change.text);
      return true;
  }
  return false;
}

/// The network's servers read what is published; every other file can hold a password or lead to one.
platform::Access AccessOf(const std::string& file) {
  const bool published = platform::AsciiUpper(file).find(R"(\ACTIVEUPDATE\)") != std::string::npos;
  return published ? platform::Access::kEverybody : platform::Access::kOwnerAndGroup;
}

}  // namespace

std::size_t IniStore::PathHash::operator()(std::string_view path) const {
  std::uint64_t hash = 14695981039346656037U;  // FNV-1a
  for (const char c : path) {
    hash = (hash ^ static_cast<unsigned char>(platform::AsciiUpper(c))) * 1099511628211U;
  }
  return static_cast<std::size_t>(hash);
}

bool IniStore::PathEqual::operator()(std::string_view a, std::string_view b) const {
  return platform::SameName(a, b);
}

struct IniStore::Entry {
  IniDocument document;
  /// Of the contents that `document` was parsed from or written as; nothing when the file was absent.
  std::optional<platform::FileStamp> stamp;
  bool loaded = false;
  /// Whether the contents were looked at when the stamp was older than a tick, so that equal stamps prove
  /// equal contents from then on.
  bool settled = false;
  std::chrono::steady_clock::time_point stamped;  ///< when this stamp was first seen
  bool readable = true;  ///< false: the file is there but cannot be read, so it must not be replaced either
  int fault = 0;         ///< the number of the error that was reported last; 0 since the file was written
  int batches = 0;
  int at_end_batches = 0;
  std::vector<Change> held;
  std::size_t held_before_at_end = 0;  ///< how many were held when the outermost `kAtEnd` batch began
  std::chrono::steady_clock::time_point last_flush;
};

IniStore::IniStore(platform::FileSystem& files, platform::EventLoop& loop, const platform::Clock& clock)
    : files_(files), loop_(loop), clock_(clock) {}

IniStore::~IniStore() {
  if (flush_timer_ != 0) loop_.StopTimer(flush_timer_);
}

std::string IniStore::ReadIniValue(std::string_view section, std::string_view key, const std::string& file) {
  return std::string(Document(file).Get(section, key).substr(0, kLongestValue));
}

bool IniStore::WriteIniValue(std::string_view section, std::string_view key, std::string_view value,
                             const std::string& file) {
  return WriteIniValues(section, {{.key = key, .value = value}}, file);
}

bool IniStore::WriteIniValues(std::string_view section, std::initializer_list<KeyValue> values,
                              const std::string& file) {
  Entry& entry = Refresh(file);
  bool all_written = true;
  for (const auto& [key, value] : values) {
    if (!entry.readable || !IniDocument::CanHold(section, key)) {
      all_written = false;
    } else if (entry.document.Set(section, key, value)) {
      const bool kept = Keep(file, entry, [&, key = key, value = value] {
        return Change{.kind = Change::Kind::kSet,
                      .section = std::string(section),
                      .key = std::string(key),
                      .text = std::string(value)};
      });
      all_written = all_written && kept;
    }
  }
  return all_written;
}

bool IniStore::Create(const std::string& file, std::string text) {
  Entry& entry = Refresh(file);
  Change change{.kind = Change::Kind::kCreate, .section = {}, .key = {}, .text = std::move(text)};
  if (!entry.readable) return false;
  if (!Apply(change, entry.document) && entry.stamp) return true;
  return Keep(file, entry, [&] { return std::move(change); });
}

bool IniStore::AppendBlankLine(const std::string& file) {
  Entry& entry = Refresh(file);
  if (!entry.readable) return false;
  entry.document.AppendBlankLine();
  return Keep(file, entry,
              [] { return Change{.kind = Change::Kind::kBlankLine, .section = {}, .key = {}, .text = {}}; });
}

const IniDocument& IniStore::Document(const std::string& file) { return Refresh(file).document; }

template <class MakeChange>
bool IniStore::Keep(const std::string& file, Entry& entry, const MakeChange& make_change) {
  if (entry.batches == 0) return Flush(file, entry);
  entry.held.push_back(make_change());
  if (entry.at_end_batches == 0 && clock_.Steady() - entry.last_flush >= kFlushInterval) Flush(file, entry);
  return true;
}

IniStore::Entry& IniStore::EntryOf(const std::string& file) {
  if (last_used_ == nullptr || last_used_->first != file) last_used_ = &*entries_.try_emplace(file).first;
  std::unique_ptr<Entry>& place = last_used_->second;
  if (!place) place = std::make_unique<Entry>();
  return *place;
}

IniStore::Entry& IniStore::Refresh(const std::string& file) {
  Entry& entry = EntryOf(file);
  const std::optional<platform::FileStamp> stamp = files_.Stamp(file);
  const bool same = entry.loaded && entry.stamp == stamp;
  // What a batch holds would have to be taken out again before contents can be compared: that look waits.
  const bool trusted = entry.settled || !entry.held.empty() || clock_.Steady() - entry.stamped < kStampTick;
  if (same && trusted) return entry;
  if (!same) {
    entry.stamp = stamp;
    entry.stamped = clock_.Steady();
  }
  // An absent file has no contents that could change behind an equal stamp.
  entry.settled = same || !stamp;
  Load(file, entry);
  return entry;
}

void IniStore::Load(const std::string& file, Entry& entry) {
  const bool was_loaded = std::exchange(entry.loaded, true);
  entry.readable = true;
  std::string text;
  if (entry.stamp) {
    try {
      entry.readable = entry.stamp->size <= static_cast<std::int64_t>(IniDocument::kLongestText);
      if (entry.readable) text = files_.ReadAll(file);
    } catch (const platform::RuntimeError& error) {
      // Gone since it was stamped, or in use, or no right: it reads as empty now and is tried again at the
      // next call. Only what is gone may be made anew.
      const bool gone = error.Number() == platform::error_number::kFileNotFound ||
                        error.Number() == platform::error_number::kPathNotFound;
      entry.readable = gone;
      entry.loaded = false;
      if (!gone) Report(file, entry, error);
    }
  }
  // Looking again at a long file that did not change costs its reading, not its parsing.
  if (was_loaded && entry.loaded && entry.held.empty() && entry.document.HasText(text)) return;
  entry.document = IniDocument(std::move(text));
  for (const Change& change : entry.held) Apply(change, entry.document);
}

void IniStore::Report(const std::string& file, Entry& entry, const platform::RuntimeError& error) {
  // A disk stays full, and a missing key is written whenever it is asked for: one report is enough.
  if (std::exchange(entry.fault, error.Number()) != error.Number() && on_fault_) on_fault_(file, error);
}

/// REQUIRES: `entry` has just been refreshed.
bool IniStore::Flush(const std::string& file, Entry& entry) {
  entry.last_flush = clock_.Steady();
  if (!entry.readable) return false;
  try {
    files_.Replace(file, entry.document.Text(), AccessOf(file));
  } catch (const platform::RuntimeError& error) {
    // What is in memory is not what is on disk: outside a batch it is dropped, inside it is tried again.
    if (entry.batches == 0) entry.loaded = false;
    Report(file, entry, error);
    return false;
  }
  entry.fault = 0;
  entry.held.clear();
  // Should another program have replaced the file since, the look at the settled file finds it out.
  entry.stamp = files_.Stamp(file);
  entry.stamped = clock_.Steady();
  entry.settled = false;
  entry.loaded = true;
  return true;
}

void IniStore::FlushBatches() {
  for (auto& [file, entry] : entries_) {
    if (entry->held.empty() || entry->at_end_batches > 0) continue;
    Refresh(file);
    Flush(file, *entry);
  }
}

void IniStore::Open(const std::string& file, BatchKind kind) {
  Entry& entry = EntryOf(file);
  if (entry.batches++ == 0) entry.last_flush = clock_.Steady();
  if (kind == BatchKind::kAtEnd && entry.at_end_batches++ == 0) entry.held_before_at_end = entry.held.size();
  if (kind == BatchKind::kEachSecond && periodic_batches_++ == 0) {
    flush_timer_ = loop_.StartTimer(kFlushInterval, [this] { FlushBatches(); });
  }
}

bool IniStore::Close(const std::string& file, BatchKind kind, bool is_whole) {
  if (kind == BatchKind::kEachSecond && --periodic_batches_ == 0) {
    loop_.StopTimer(std::exchange(flush_timer_, 0));
  }
  Entry& entry = EntryOf(file);
  if (kind == BatchKind::kAtEnd) --entry.at_end_batches;
  if (!is_whole) {
    entry.held.resize(std::min(entry.held.size(), entry.held_before_at_end));
    entry.loaded = false;
  }
  if (entry.held.empty()) {
    --entry.batches;
    return true;
  }
  if (entry.batches > 1) {
    --entry.batches;
    return true;
  }
  Refresh(file);
  const bool written = Flush(file, entry);
  --entry.batches;
  if (!written) {
    entry.held.clear();
    entry.loaded = false;
  }
  return written;
}

IniStore::Batch::Batch(IniStore& store, std::string file, BatchKind kind)
    : store_(store), file_(std::move(file)), kind_(kind), unwinding_(std::uncaught_exceptions()) {
  store_.Open(file_, kind_);
}

IniStore::Batch::~Batch() {
  if (!open_) return;
  // An exception that passes through ends the run in the middle of the work.
  const bool is_whole = kind_ == BatchKind::kEachSecond || std::uncaught_exceptions() == unwinding_;
  store_.Close(file_, kind_, is_whole);
}

bool IniStore::Batch::Finish() {
  return !std::exchange(open_, false) || store_.Close(file_, kind_, /*is_whole=*/true);
}

}  // namespace vlmr::core
