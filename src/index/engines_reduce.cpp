#include "index/engines_reduce.h"

#include <algorithm>

#include "core/number.h"
#include "core/text.h"

namespace vlmr::index {

/// One engine of a procedure, with the lines as they stand.
struct EnginesReduce::Engine {
  std::string key;             ///< in [ENGINE]
  std::string label;           ///< behind "Local " and "Remote "
  std::string fetch_line;      ///< a fetch begins
  std::string failure_line;    ///< it failed
  std::string not_newer_line;  ///< nothing to fetch; empty: nothing is logged
  std::string mail_prefix;     ///< before the version in the mail
};

struct EnginesReduce::Procedure {
  /// How an error is reported.
  enum class ErrorForm { kLogged, kLoggedAndMailed };

  std::string name;  ///< with a colon and a blank, the prefix of the version block
  std::vector<Engine> engines;
  ErrorForm error_form = ErrorForm::kLogged;
};

EnginesReduce::EnginesReduce(const core::Runtime& runtime, const ServiceFetch& fetch,
                             core::Notifier& notifier)
    : runtime_(runtime), fetch_(fetch), notifier_(notifier) {}

void EnginesReduce::GET_ENGINES_REDUCE() {
  // The Netware row reads and writes the entry of the NT_KD engine; "Path_VSAPI32_NLM" has no part in this
  // set.
  static const Procedure kProcedure{
      .name = "GET_ENGINES_REDUCE: ",
      .engines =
          {
              {.key = "Path_VSAPI32_VXD",
               .label = "VXD: ",
               .fetch_line = "GET_ENGINES_REDUCE: Get Engines for 95/Me/98",
               .failure_line = "GET_ENGINES_REDUCE: unable to Get Engines for 95/Me/98",
               .not_newer_line =
                   "GET_ENGINES_REDUCE: No new engines found... Abort the process for 95/98/Me ",
               .mail_prefix = "95 "},
              {.key = "Path_VSAPI32_NT_I386",
               .label = "NT: ",
               .fetch_line = "GET_ENGINES_REDUCE: Get Engines for Manuals Scan NT",
               .failure_line = "GET_ENGINES_REDUCE: unable to Get Engines for Manuals Scan NT",
               .not_newer_line =
                   "GET_ENGINES_REDUCE: No new engines found... Abort the process for Manual Scans NT ",
               .mail_prefix = "NT "},
              {.key = "Path_VSAPI32_NT_KD",
               .label = "NTKD: ",
               .fetch_line = "GET_ENGINES_REDUCE: Get Engines for RealTime Scan NT",
               .failure_line = "GET_ENGINES_REDUCE: unable to Get Engines for RealTime Scan NT",
               .not_newer_line =
                   "GET_ENGINES_REDUCE: No new engines found... Abort the process for Realtime Scans NT ",
               .mail_prefix = "NTKD "},
              {.key = "Path_VSAPI32_NT_KD",
               .label = "NW: ",
               .fetch_line = "GET_ENGINES_REDUCE: Get Engines for RealTime Scan Netware",
               .failure_line = "GET_ENGINES_REDUCE: unable to Get Engines for RealTime Scan Netware",
               .not_newer_line = "GET_ENGINES_REDUCE: No new engines found... Abort the process for "
                                 "Realtime Scans for Netware ",
               .mail_prefix = "NLM "},
          },
      .error_form = Procedure::ErrorForm::kLoggedAndMailed};
  Run(kProcedure);
}

void EnginesReduce::GET_ENGINES_REDUCE_I386() {
  static const Procedure kProcedure{
      .name = "GET_ENGINES_REDUCE_I386: ",
      .engines = {{.key = "Path_VSAPI32_NT_I386",
                   .label = "NT: ",
                   .fetch_line = "GET_ENGINES_REDUCE_I386: Get Engines for Scan NT",
                   .failure_line = "GET_ENGINES_REDUCE_I386: unable to Get Engines for Scan NT",
                   .not_newer_line = {},
                   .mail_prefix = "NT "}}};
  Run(kProcedure);
}

void EnginesReduce::GET_ENGINES_REDUCE_NTKD() {
  static const Procedure kProcedure{
      .name = "GET_ENGINES_REDUCE_NTKD: ",
      .engines = {{.key = "Path_VSAPI32_NT_KD",
                   .label = "NTKD: ",
                   .fetch_line = "GET_ENGINES_REDUCE_NTKD: Get Engines for Scan NTKD",
                   .failure_line = "GET_ENGINES_REDUCE_NTKD: unable to Get Engines for Scan NTKD",
                   .not_newer_line = {},
                   .mail_prefix = "NT "}}};
  Run(kProcedure);
}

void EnginesReduce::GET_ENGINES_REDUCE_NW() {
  // The lines of the fetch carry the name of the NTKD procedure: whoever reads these logs expects it.
  static const Procedure kProcedure{
      .name = "GET_ENGINES_REDUCE_NW: ",
      .engines = {{.key = "Path_VSAPI32_NLM",
                   .label = "Netware: ",
                   .fetch_line = "GET_ENGINES_REDUCE_NTKD: Get Engines for Scan NW",
                   .failure_line = "GET_ENGINES_REDUCE_NTKD: unable to Get Engines for Scan Netware",
                   .not_newer_line = {},
                   .mail_prefix = "NT "}}};
  Run(kProcedure);
}

bool EnginesReduce::IsFreshIndexPresent() const {
  return !runtime_.files.FindFile(runtime_.paths.FreshIndex()).empty();
}

void EnginesReduce::Run(const Procedure& procedure) const {
  if (!IsFreshIndexPresent()) return;
  const core::ErrorTrap trap([&](const platform::RuntimeError& error) { Report(procedure, error); });
  // All entries are read before the first engine is fetched.
  std::vector<std::optional<Pair>> pairs;
  for (const Engine& engine : procedure.engines)
    pairs.push_back(trap.Value([&] { return ReadPair(engine); }));
  if (std::none_of(pairs.begin(), pairs.end(), [](const auto& pair) { return pair.has_value(); })) return;
  LogVersions(procedure, pairs);
  for (std::size_t n = 0; n < pairs.size(); ++n) {
    if (pairs[n]) trap([&] { Refresh(procedure.engines[n], *pairs[n]); });
  }
}

void EnginesReduce::Report(const Procedure& procedure, const platform::RuntimeError& error) const {
  if (procedure.error_form == Procedure::ErrorForm::kLogged) {
    runtime_.Log(procedure.name + "Error " + core::ErrorText(error));
    return;
  }
  const std::string text = procedure.name + "Error found " + core::ErrorText(error);
  runtime_.Log(text);
  notifier_.PrepareMail(core::MailSwitch::kError, text);
}

EnginesReduce::Pair EnginesReduce::ReadPair(const Engine& engine) const {
  const auto read = [&](const std::string& index) {
    EngineEntry entry = ParseEngineEntry(runtime_.ReadIniValue(kEngineSection, engine.key, index));
    entry.version = core::TrimBlanks(entry.version);
    return entry;
  };
  EngineEntry local = read(runtime_.paths.StoredIndex());
  return {.local_version = std::move(local.version), .remote = read(runtime_.paths.FreshIndex())};
}

void EnginesReduce::LogVersions(const Procedure& procedure,
                                const std::vector<std::optional<Pair>>& pairs) const {
  const auto& engines = procedure.engines;
  runtime_.Log(procedure.name + "---------- ENGINES ---------------");
  for (std::size_t n = 0; n < engines.size(); ++n) {
    runtime_.Log(procedure.name + "Local " + engines[n].label + (pairs[n] ? pairs[n]->local_version : ""));
  }
  for (std::size_t n = 0; n < engines.size(); ++n) {
    runtime_.Log(procedure.name + "Remote " + engines[n].label + (pairs[n] ? pairs[n]->remote.version : ""));
  }
  runtime_.Log(procedure.name + "----------------------------------");
}

void EnginesReduce::Refresh(const Engine& engine, const Pair& pair) const {
  const EngineEntry& remote = pair.remote;
  if (core::CompareAsText(pair.local_version, remote.version) >= 0) {
    if (!engine.not_newer_line.empty()) runtime_.Log(engine.not_newer_line);
    return;
  }
  runtime_.Log(engine.fetch_line);
  const std::string mirrored = fetch_.Mirrored(remote.path);
  if (!fetch_.Fetch(remote.path, mirrored)) {
    runtime_.Log(engine.failure_line);
    return;
  }
  runtime_.WriteIniValue(kEngineSection, engine.key, EngineEntryText(remote, runtime_.files.Length(mirrored)),
                         runtime_.paths.StoredIndex());
  notifier_.PrepareMail(core::MailSwitch::kScanEngine, engine.mail_prefix + remote.version);
}

}  // namespace vlmr::index
