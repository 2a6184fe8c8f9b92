#pragma once

#include <optional>
#include <string>
#include <vector>

#include "core/error_trap.h"
#include "core/notifier.h"
#include "core/runtime.h"
#include "index/engine_entry.h"
#include "index/service_fetch.h"

namespace vlmr::index {

/// Keeps the few scan engines current that a reduced mirror needs. The four procedures are one, run over
/// tables of keys and texts. Engines go straight into the mirror; what the mirror lists decides alone, a
/// missing file is not noticed. None raises.
class EnginesReduce {
 public:
  /// All references must outlive this object.
  EnginesReduce(const core::Runtime& runtime, const ServiceFetch& fetch, core::Notifier& notifier);

  /// The four engines of the OfficeScan reduced mode.
  void GET_ENGINES_REDUCE();
  /// One engine each, for the ServerProtect and SMEX reduced modes. When nothing is newer they say no more
  /// than which versions they found.
  void GET_ENGINES_REDUCE_I386();
  void GET_ENGINES_REDUCE_NTKD();
  void GET_ENGINES_REDUCE_NW();

 private:
  struct Engine;
  struct Procedure;
  /// The entries of one engine; absent when they could not be read, which ends that engine.
  struct Pair {
    std::string local_version;
    EngineEntry remote;
  };

  bool IsFreshIndexPresent() const;
  void Run(const Procedure& procedure) const;
  void Report(const Procedure& procedure, const platform::RuntimeError& error) const;
  Pair ReadPair(const Engine& engine) const;
  void LogVersions(const Procedure& procedure, const std::vector<std::optional<Pair>>& pairs) const;
  void Refresh(const Engine& engine, const Pair& pair) const;

  const core::Runtime& runtime_;
  const ServiceFetch& fetch_;
  core::Notifier& notifier_;
};

}  // namespace vlmr::index
