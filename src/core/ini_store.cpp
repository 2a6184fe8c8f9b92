#include "core/ini_store.h"

#include <optional>
#include <utility>
#include <vector>

#include "platform/runtime_error.h"

namespace vlmr::core {
namespace {

constexpr std::chrono::milliseconds kFlushInterval{1000};

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
  const bool published = file.find(R"(\ActiveUpdate\)") != std::string::npos;
  return published ? platform::Access::kEverybody : platform::Access::kOwnerAndGroup;
}

}  // namespace

struct IniStore::Entry {
  IniDocument document;
  std::optional<platform::FileStamp>
      stamp;  ///< of the contents that `document` was parsed from or written as
  bool loaded = false;
  bool readable = true;  ///< false: the file is there but cannot be read, so it must not be replaced either
  int batches = 0;
  int at_end_batches = 0;
  std::vector<Change> held;
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
  if (!IniDocument::CanHold(section, key)) return false;
  Entry& entry = Refresh(file);
  if (!entry.readable) return false;
  if (!entry.document.Set(section, key, value)) return true;
  return Keep(file, entry, [&] {
    return Change{.kind = Change::Kind::kSet,
                  .section = std::string(section),
                  .key = std::string(key),
                  .text = std::string(value)};
  });
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

IniStore::Entry& IniStore::Refresh(const std::string& file) {
  std::unique_ptr<Entry>& place = entries_[file];
  if (!place) place = std::make_unique<Entry>();
  Entry& entry = *place;
  const std::optional<platform::FileStamp> stamp = files_.Stamp(file);
  if (entry.loaded && entry.stamp == stamp) return entry;
  entry.document = IniDocument();
  entry.stamp = stamp;
  entry.loaded = true;
  entry.readable = true;
  if (stamp) {
    try {
      std::string text = files_.ReadAll(file);
      entry.readable = text.size() <= IniDocument::kLongestText;
      if (entry.readable) entry.document = IniDocument(std::move(text));
    } catch (const platform::RuntimeError&) {
      // In use or no right: it reads as empty now and is tried again at the next call.
      entry.readable = false;
      entry.loaded = false;
    }
  }
  for (const Change& change : entry.held) Apply(change, entry.document);
  return entry;
}

/// REQUIRES: `entry` has just been refreshed.
bool IniStore::Flush(const std::string& file, Entry& entry) {
  entry.last_flush = clock_.Steady();
  if (!entry.readable) return false;
  try {
    files_.Replace(file, entry.document.Text(), AccessOf(file));
  } catch (const platform::RuntimeError&) {
    // What is in memory is not what is on disk: outside a batch it is dropped, inside it is tried again.
    if (entry.batches == 0) entry.loaded = false;
    return false;
  }
  entry.held.clear();
  entry.stamp = files_.Stamp(file);
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
  std::unique_ptr<Entry>& place = entries_[file];
  if (!place) place = std::make_unique<Entry>();
  if (place->batches++ == 0) place->last_flush = clock_.Steady();
  if (kind == BatchKind::kAtEnd) ++place->at_end_batches;
  if (kind == BatchKind::kEachSecond && periodic_batches_++ == 0) {
    flush_timer_ = loop_.StartTimer(kFlushInterval, [this] { FlushBatches(); });
  }
}

bool IniStore::Close(const std::string& file, BatchKind kind) {
  if (kind == BatchKind::kEachSecond && --periodic_batches_ == 0) {
    loop_.StopTimer(std::exchange(flush_timer_, 0));
  }
  Entry& entry = *entries_[file];
  if (kind == BatchKind::kAtEnd) --entry.at_end_batches;
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
    : store_(store), file_(std::move(file)), kind_(kind) {
  store_.Open(file_, kind_);
}

IniStore::Batch::~Batch() { Finish(); }

bool IniStore::Batch::Finish() { return !std::exchange(open_, false) || store_.Close(file_, kind_); }

}  // namespace vlmr::core
