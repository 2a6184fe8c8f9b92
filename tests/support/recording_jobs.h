#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "core/starting_operations.h"
#include "core/startup.h"
#include "core/watchdog.h"
#include "support/test_world.h"

namespace vlmr::test {

/// What happened in a world, in order: the messages of all log lines whatever their level, and between them,
/// in angle brackets, the calls and program starts that were made to leave a mark.
std::vector<std::string> Trace(const World& world);
/// Puts a mark into that order.
void Mark(World& world, const std::string& what);
/// Makes each start of these programs, given by file name, leave the mark "<start NAME>".
void MarkStartsOf(World& world, const std::vector<std::string>& programs);

/// The jobs of a run, each of which only leaves its mark. "EndProcess" returns, as a process that hangs
/// would.
class RecordingJobs : public core::Operations::Jobs, public core::Watchdog::Needs {
 public:
  explicit RecordingJobs(World& world) : world_(world) {}
  void TrojanSystemCleaner() override { Mark(world_, "<TrojanSystemCleaner>"); }
  void StartActiveUpdate() override { Mark(world_, "<StartActiveUpdate>"); }
  void StartIntelligentFTP() override { Mark(world_, "<StartIntelligentFTP>"); }
  void GET_CPR_PATTERN() override { Mark(world_, "<GET_CPR_PATTERN>"); }
  void KillPatternServer(const std::string& folder) override {
    Mark(world_, "<KillPatternServer " + folder + ">");
  }
  void EndProcess() override { Mark(world_, "<EndProcess>"); }

 private:
  World& world_;
};

/// What the start needs, leaving marks likewise.
class RecordingStartNeeds : public core::Startup::Needs {
 public:
  explicit RecordingStartNeeds(World& world) : world_(world) {}
  void StartingOperations() override { Mark(world_, "<StartingOperations>"); }
  void GetProducts() override { Mark(world_, "<GetProducts>"); }
  void GET_PRODUCTS_ByName() override { Mark(world_, "<GET_PRODUCTS_ByName>"); }
  void VerifyProductByIndex(std::int16_t number, const std::string& language) override;
  void SetHttpApi(bool enabled) override { Mark(world_, enabled ? "<api on>" : "<api off>"); }
  void DisableTimer() override { Mark(world_, "<DisableTimer>"); }

 private:
  World& world_;
};

}  // namespace vlmr::test
