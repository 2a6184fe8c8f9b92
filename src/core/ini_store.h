#pragma once

#include <chrono>
#include <functional>
#include <initializer_list>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>

#include "core/ini_document.h"
#include "platform/clock.h"
#include "platform/event_loop.h"
#include "platform/file_system.h"
#include "platform/runtime_error.h"

namespace vlmr::core {

/// All INI files of the program. A file is parsed once and kept; before each use one `Stamp` decides whether
/// to parse again, so an edit by another program is seen at the next call. A write that changes nothing
/// writes nothing; a write goes to a temporary file beside the target and is renamed over it, so a reader
/// sees the old file or the new one.
class IniStore {
 public:
  /// A read returns at most so many bytes of a value (a profile buffer of 255 characters with its
  /// terminator).
  static constexpr std::size_t kLongestValue = 254;

  /// All references must outlive the store.
  IniStore(platform::FileSystem& files, platform::EventLoop& loop, const platform::Clock& clock);
  ~IniStore();
  IniStore(const IniStore&) = delete;
  IniStore& operator=(const IniStore&) = delete;

  /// Called when a file cannot be written, or read so that it may be written: once, until it goes well again
  /// or for another reason.
  using FaultHandler = std::function<void(const std::string& file, const platform::RuntimeError& error)>;
  void OnFault(FaultHandler handler) { on_fault_ = std::move(handler); }

  /// The stored value; empty when key, section or file is missing. Raises nothing.
  std::string ReadIniValue(std::string_view section, std::string_view key, const std::string& file);

  /// Stores a value, making file, section and key as needed (not the folder). False when the file cannot be
  /// written. Raises nothing.
  bool WriteIniValue(std::string_view section, std::string_view key, std::string_view value,
                     const std::string& file);

  /// A key and the value that it is to have.
  struct KeyValue {
    std::string_view key;
    std::string_view value;
  };
  /// Stores several values of one section in this order, as so many calls of `WriteIniValue` would, at the
  /// cost of one look at the file. False when one of them cannot be written.
  bool WriteIniValues(std::string_view section, std::initializer_list<KeyValue> values,
                      const std::string& file);

  /// Makes the file anew with this text, through the same cache and batch: inside a batch the new file
  /// appears whole, with all that is written after it, at the batch's end. False when it cannot be written.
  bool Create(const std::string& file, std::string text);

  /// Appends an empty line to the file, through the same cache and batch. False when the file cannot be
  /// written.
  bool AppendBlankLine(const std::string& file);

  /// The parsed file as it stands now (one `Stamp`), for several look-ups at once. Valid until the next call
  /// of anything.
  const IniDocument& Document(const std::string& file);

  /// When the changes of a batch reach the disk.
  enum class BatchKind {
    kAtEnd,      ///< all together at the end of the batch: readers see the old file or the new one
    kEachSecond  ///< at the end, and while it lasts at least once a second and before any child program
                 ///< starts
  };

  /// Holds the writes to one file while it lives; reads see them. Batches of one file nest; nothing is
  /// written while a `kAtEnd` batch is open, and what is held then is written with the last batch. What
  /// another program writes meanwhile is kept: the held changes are applied to the new contents.
  class Batch {
   public:
    Batch(IniStore& store, std::string file, BatchKind kind);
    /// Writes what is held; a failure is dropped here, call `Finish` to learn of it. A `kAtEnd` batch that an
    /// exception leaves writes nothing: what it began would be neither the old file nor the new one.
    ~Batch();
    Batch(const Batch&) = delete;
    Batch& operator=(const Batch&) = delete;
    /// Ends the batch now. False when the file could not be written.
    bool Finish();

   private:
    IniStore& store_;
    std::string file_;
    BatchKind kind_;
    int unwinding_;
    bool open_ = true;
  };

  /// Writes what `kEachSecond` batches hold; called before a child program starts.
  void FlushBatches();

 private:
  struct Entry;
  /// Paths that differ in ASCII case are one file, so a batch is seen under every spelling.
  struct PathHash {
    std::size_t operator()(std::string_view path) const;
  };
  struct PathEqual {
    bool operator()(std::string_view a, std::string_view b) const;
  };
  Entry& EntryOf(const std::string& file);
  Entry& Refresh(const std::string& file);
  void Load(const std::string& file, Entry& entry);
  void Report(const std::string& file, Entry& entry, const platform::RuntimeError& error);
  bool Flush(const std::string& file, Entry& entry);
  template <class MakeChange>
  bool Keep(const std::string& file, Entry& entry, const MakeChange& make_change);
  void Open(const std::string& file, BatchKind kind);
  bool Close(const std::string& file, BatchKind kind, bool is_whole);

  platform::FileSystem& files_;
  platform::EventLoop& loop_;
  const platform::Clock& clock_;
  std::unordered_map<std::string, std::unique_ptr<Entry>, PathHash, PathEqual> entries_;
  /// The file that was asked for last, because the next use is nearly always of the same one; null at first.
  std::pair<const std::string, std::unique_ptr<Entry>>* last_used_ = nullptr;
  FaultHandler on_fault_;
  platform::EventLoop::TimerId flush_timer_ = 0;
  int periodic_batches_ = 0;
};

}  // namespace vlmr::core
