#pragma once

#include <string>

#include "core/notifier.h"
#include "core/runtime.h"
#include "index/engine_entry.h"
#include "index/service_fetch.h"

namespace vlmr::index {

/// Keeps all twelve scan engines of the mirror current.
class ScanEngines {
 public:
  /// All references must outlive this object.
  ScanEngines(const core::Runtime& runtime, const ServiceFetch& fetch, core::Notifier& notifier);

  /// Checks every engine, in their fixed order; nothing stops the sequence. Raises nothing.
  void GetEngines();

  /// Checks one engine by its key in [ENGINE]: fetches it when the mirror lacks the file or the index
  /// `temp_index` lists a version that is greater as text than the one in `stored_index`, moves it into the
  /// mirror, records it in `stored_index` and queues a mail. An error is logged and ends this engine. Raises
  /// nothing.
  void Checkengine(const std::string& temp_index, const std::string& stored_index, const std::string& key);

 private:
  void CheckOneEngine(const std::string& temp_index, const std::string& stored_index,
                      const std::string& key) const;
  EngineEntry ReadEntry(const std::string& index, const std::string& key, const std::string& place) const;
  bool IsInMirror(const EngineEntry& entry) const;
  bool Download(const EngineEntry& entry) const;
  bool MoveIntoMirror(const EngineEntry& entry) const;
  bool Exists(const std::string& label, const std::string& file) const;
  void Record(const EngineEntry& entry, const std::string& stored_index, const std::string& key) const;
  void QueueMail(const EngineEntry& entry, const std::string& key) const;
  std::string Staged(const EngineEntry& entry) const;
  std::string Mirrored(const EngineEntry& entry) const;

  const core::Runtime& runtime_;
  const ServiceFetch& fetch_;
  core::Notifier& notifier_;
};

}  // namespace vlmr::index
