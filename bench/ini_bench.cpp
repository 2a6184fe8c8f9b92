// What reading a key of an index of 5 MB costs on the real file system, beside a plain stat of the same file,
// and what a batch of 10,000 key writes costs, beside writing the file once. With --check: fails when a read
// costs more than a stat and a hash look-up (2.5 times a plain stat, or 0.6 us more), or a batch ten times
// the file.

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <random>
#include <string>
#include <vector>

#include "core/ini_store.h"
#include "platform/native.h"

namespace {

using namespace vlmr;
using Microseconds = std::chrono::duration<double, std::micro>;

constexpr int kRounds = 21;
constexpr int kReads = 20000;
constexpr int kWrites = 10000;
constexpr int kSections = 20000;
constexpr double kAllowedReadRatio = 2.5;
constexpr double kAllowedReadExtra = 0.6;
constexpr double kAllowedBatchRatio = 10;

template <class Action>
double Time(Action&& action) {
  const auto start = std::chrono::steady_clock::now();
  action();
  return Microseconds(std::chrono::steady_clock::now() - start).count();
}

double Median(std::vector<double> values) {
  std::nth_element(values.begin(), values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2),
                   values.end());
  return values[values.size() / 2];
}

/// About 5 MB, in the manner of an index with one section for each product.
std::string MakeIndex() {
  std::string text = "[PATTERN]\r\nVersion=1.101\r\nPath_VSAPI=Pattern/vsapi.zip,12345678\r\n";
  for (int product = 0; product < kSections; ++product) {
    const std::string number = std::to_string(product);
    text += "\r\n[Info_" + number + "_1_05058_1]\r\n";
    for (int key = 0; key < 5; ++key) {
      text += "Update_Path." + std::to_string(key) + "=Product/" + number + "/update.zip,123456\r\n";
    }
  }
  return text;
}

void PlainWrite(const std::string& path, const std::string& text) {
  std::FILE* file = std::fopen(path.c_str(), "wb");
  if (file == nullptr) {
    std::perror("ini_bench");
    std::exit(2);
  }
  std::fwrite(text.data(), 1, text.size(), file);
  std::fclose(file);
}

}  // namespace

int main(int argc, char** argv) {
  const bool check = argc > 1 && std::strcmp(argv[1], "--check") == 0;
  const std::filesystem::path folder =
      std::filesystem::temp_directory_path() / ("ini_bench_" + std::to_string(std::random_device()()));
  std::filesystem::create_directories(folder);

  const auto files = platform::MakeFileSystem(folder.string());
  const auto loop = platform::MakeEventLoop();
  const auto clock = platform::MakeClock();
  core::IniStore store(*files, *loop, *clock);
  const std::string index = folder.string() + R"(\server.ini)";
  const std::filesystem::path plain_path = folder / "server.ini";
  const std::string text = MakeIndex();
  files->Replace(index, text);

  std::vector<std::string> sections;
  for (int i = 0; i < kReads; ++i)
    sections.push_back("Info_" + std::to_string(i * 7919 % kSections) + "_1_05058_1");

  const double parse = Time([&] { store.Document(index); });
  // A read that is not the first of its tick is what a run does thousands of times.
  std::size_t found = 0;
  std::vector<double> stats;
  std::vector<double> reads;
  std::vector<double> look_ups;
  for (int round = 0; round < kRounds; ++round) {
    stats.push_back(Time([&] {
                      for (int i = 0; i < kReads; ++i)
                        found +=
                            std::filesystem::status(plain_path).type() == std::filesystem::file_type::regular;
                    }) /
                    kReads);
    reads.push_back(Time([&] {
                      for (int i = 0; i < kReads; ++i) {
                        found += store.ReadIniValue("PATTERN", "Version", index).size();
                      }
                    }) /
                    kReads);
    const core::IniDocument& document = store.Document(index);
    look_ups.push_back(Time([&] {
                         for (const std::string& section : sections) {
                           found += document.Get(section, "Update_Path.3").size();
                         }
                       }) /
                       kReads);
  }

  std::vector<double> plain_writes;
  std::vector<double> batches;
  for (int round = 0; round < kRounds; ++round) {
    plain_writes.push_back(Time([&] { PlainWrite((folder / "plain.ini").string(), text); }));
    batches.push_back(Time([&] {
      core::IniStore::Batch batch(store, index, core::IniStore::BatchKind::kAtEnd);
      const std::string value = "Product/a.zip," + std::to_string(round);
      for (int i = 0; i < kWrites; ++i) {
        store.WriteIniValue(sections[static_cast<std::size_t>(i)], i % 2 == 0 ? "Update_Path.3" : "Version",
                            value, index);
      }
      if (!batch.Finish()) std::exit(2);
    }));
  }
  std::filesystem::remove_all(folder);

  const double stat = Median(stats);
  const double read = Median(reads);
  const double plain_write = Median(plain_writes);
  const double batch = Median(batches);
  std::printf("index of %zu bytes, %d sections; medians of %d rounds (%zu)\n", text.size(), kSections,
              kRounds, found);
  std::printf("read and parse once       %10.0f us\n", parse);
  std::printf("plain stat                %10.3f us\n", stat);
  std::printf("a key read                %10.3f us, %.2f times a plain stat\n", read, read / stat);
  std::printf("a look-up alone, anywhere %10.3f us\n", Median(look_ups));
  std::printf("the file written plainly  %10.0f us\n", plain_write);
  std::printf("a batch of %d writes   %10.0f us, %.2f times the plain file\n", kWrites, batch,
              batch / plain_write);

  const bool read_holds = read <= kAllowedReadRatio * stat || read <= stat + kAllowedReadExtra;
  const bool batch_holds = batch < kAllowedBatchRatio * plain_write;
  if (!read_holds) std::printf("MISSED: a key read may cost 2.5 times a stat, or 0.6 us more\n");
  if (!batch_holds) std::printf("MISSED: a batch must cost less than ten times the file\n");
  return check && !(read_holds && batch_holds) ? 1 : 0;
}
