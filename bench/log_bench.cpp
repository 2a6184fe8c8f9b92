// What a line of the activity log costs on the real file system, beside a plain open, append and close of the
// same bytes in the same run. With --check: fails when a line costs more than twice as much.

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <random>
#include <string>

#include "core/activity_log.h"
#include "platform/native.h"

namespace {

using namespace vlmr;
using Nanoseconds = std::chrono::duration<double, std::nano>;

// Many short rounds, turn about, of which the quickest counts: what else the machine does only ever adds
// time.
constexpr int kRounds = 300;
constexpr int kLines = 100;
constexpr double kAllowedRatio = 2.0;
constexpr const char* kMessage =
    R"(DownloadFiles: LocalFilename=/opt/mirror\TempDownload\ActiveUpdate\Pattern\vsapi.zip)";

template <class Action>
Nanoseconds TimeEach(Action&& action) {
  const auto start = std::chrono::steady_clock::now();
  for (int i = 0; i < kLines; ++i) {
    action();
  }
  return Nanoseconds(std::chrono::steady_clock::now() - start) / kLines;
}

/// The least that any log must do which is closed after every line.
void PlainAppend(const std::string& path, const std::string& line) {
  std::FILE* file = std::fopen(path.c_str(), "ab");
  if (file == nullptr) {
    std::perror("log_bench");
    std::abort();
  }
  (void)std::setvbuf(file, nullptr, _IONBF, 0);
  (void)std::fwrite(line.data(), 1, line.size(), file);
  (void)std::fclose(file);
}

}  // namespace

int main(int argc, char** argv) {
  const bool check = argc > 1 && std::strcmp(argv[1], "--check") == 0;
  const std::filesystem::path folder =
      std::filesystem::temp_directory_path() / ("vlmr-log-bench-" + std::to_string(std::random_device()()));
  std::filesystem::create_directory(folder);

  const auto files = platform::MakeFileSystem(folder.string());
  const auto clock = platform::MakeClock();
  const auto loop = platform::MakeEventLoop();
  const auto form = platform::MakeForm();
  const core::AppPaths paths(folder.string(), "log_bench");
  core::IniStore ini(*files, *loop, *clock);
  core::SecretCipher cipher(paths, *files);
  core::Settings settings(paths, ini, cipher);
  const core::RunState state;
  core::PseudoRandom random;
  core::ActivityLog log(paths, *files, *clock, ini, settings, state, *form, random);

  // Both files grow alike: the size limit must not cut one of them short.
  ini.WriteIniValue("LOGS", "Level", "0", paths.Settings());
  ini.WriteIniValue("LOGS", "MaxSize", "1000000", paths.Settings());
  const std::string plain_path = (folder / "plain.log").string();
  const std::string line = clock->DateTimeText() + " : [log_bench]" + kMessage + "\r\n";
  log.WriteLog(kMessage);
  PlainAppend(plain_path, line);

  Nanoseconds plain_time = Nanoseconds::max();
  Nanoseconds log_time = Nanoseconds::max();
  for (int round = 0; round < kRounds; ++round) {
    plain_time = std::min(plain_time, TimeEach([&] { PlainAppend(plain_path, line); }));
    log_time = std::min(log_time, TimeEach([&] { log.WriteLog(kMessage); }));
  }
  std::filesystem::remove_all(folder);

  const double ratio = log_time / plain_time;
  std::printf(
      "open/append/close %8.0f ns\nlog line          %8.0f ns\nratio             %8.2f (allowed %.1f)\n",
      plain_time.count(), log_time.count(), ratio, kAllowedRatio);
  if (check && ratio > kAllowedRatio) {
    (void)std::fprintf(stderr, "log_bench: a log line costs too much\n");
    return 1;
  }
  return 0;
}
