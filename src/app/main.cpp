// The process: joins the arguments, puts the program together, runs it, and maps how it ended to an exit
// code.
#include <cstdio>
#include <exception>
#include <string>

#include "app/program.h"
#include "platform/executable.h"
#include "platform/native.h"
#include "platform/runtime_error.h"

namespace {

/// How the process ends, as the system that started it sees it. Everything that the program is described to
/// do ends with `kDone`, failed transfers too: what happened stands in the log.
enum ExitCode { kDone = 0, kUnexpected = 70 };

/// The command line is one text: all arguments joined with one blank.
std::string JoinArguments(int count, char** arguments) {
  std::string text;
  for (int i = 1; i < count; ++i) {
    if (i > 1) text += ' ';
    text += arguments[i];
  }
  return text;
}

}  // namespace

int main(int count, char** arguments) {
  vlmr::platform::PrepareProcess();
  try {
    vlmr::app::Program program(vlmr::platform::FindExecutable());
    try {
      program.Run(JoinArguments(count, arguments));
    } catch (const vlmr::platform::ProcessEnd&) {
      return kDone;
    } catch (const std::exception& error) {
      program.LogUnexpected(error.what());
      return kUnexpected;
    }
  } catch (const std::exception& error) {
    // Not even the log could be made; whether this can be read is the last thing to know of.
    static_cast<void>(std::fprintf(stderr, "%s\n", error.what()));
    return kUnexpected;
  }
  return kDone;
}
