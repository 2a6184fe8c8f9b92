#include "support/recording_jobs.h"

namespace vlmr::test {

std::vector<std::string> Trace(const World& world) {
  const std::string bracket = " : [" + world.paths.Program() + "]";
  std::vector<std::string> trace;
  for (const std::string& status : world.form.statuses) {
    const auto found = status.find(bracket);
    trace.push_back(found == std::string::npos ? status : status.substr(found + bracket.size()));
  }
  return trace;
}

void Mark(World& world, const std::string& what) { world.form.SetStatus(what); }

void MarkStartsOf(World& world, const std::vector<std::string>& programs) {
  for (const std::string& program : programs) {
    world.processes.Script(program,
                           {.on_start = [&world, program] { Mark(world, "<start " + program + ">"); }});
  }
}

void RecordingStartNeeds::VerifyProductByIndex(std::int16_t number, const std::string& language) {
  Mark(world_, "<VerifyProductByIndex " + std::to_string(number) + " " + language + ">");
}

}  // namespace vlmr::test
