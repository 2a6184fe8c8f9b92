// The demo's patch program for Windows: the same job, increments and wilful faults as demo/patch_program.py,
// whose head describes them.
#include <sodium.h>
#include <windows.h>

#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <set>
#include <sstream>
#include <string>
#include <string_view>

namespace {

namespace fs = std::filesystem;
using Values = std::map<std::string, std::string>;

/// The increment does not fit; the number is what the job file gets as ErrorID.
struct PatchError {
  int number;
};

std::string ReadFile(const fs::path& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

void WriteFileInOneStep(const fs::path& path, std::string_view bytes) {
  const fs::path part = path.wstring() + L".part";
  std::ofstream(part, std::ios::binary).write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
  fs::rename(part, path);
}

std::string Describe(const std::string& pattern) {
  unsigned char hash[crypto_hash_sha256_BYTES];
  crypto_hash_sha256(hash, reinterpret_cast<const unsigned char*>(pattern.data()), pattern.size());
  char hex[2 * sizeof hash + 1];
  sodium_bin2hex(hex, sizeof hex, hash, sizeof hash);
  return std::to_string(pattern.size()) + " " + hex;
}

std::uint64_t BigEndian(const std::string& bytes, std::size_t at, int count) {
  std::uint64_t value = 0;
  for (int i = 0; i < count; ++i)
    value = value << 8U | static_cast<unsigned char>(bytes[at + static_cast<std::size_t>(i)]);
  return value;
}

std::string ApplyIncrement(const std::string& old, const std::string& increment) {
  constexpr std::string_view kMagic = "VLMR INCREMENT 1\n";
  if (!increment.starts_with(kMagic)) throw PatchError{1};
  std::size_t at = kMagic.size();
  std::string head[3];
  const std::string words[3] = {"from ", "to ", "records "};
  for (int i = 0; i < 3; ++i) {
    const std::size_t end = increment.find('\n', at);
    const std::string line = increment.substr(at, end - at);
    if (end == std::string::npos || !line.starts_with(words[i])) throw PatchError{1};
    head[i] = line.substr(words[i].size());
    at = end + 1;
  }
  if (head[0] != Describe(old)) throw PatchError{2};
  std::string made = old;
  made.resize(std::stoull(head[1]));
  for (auto records = std::stoull(head[2]); records > 0; --records) {
    if (at + 12 > increment.size()) throw PatchError{3};
    const auto offset = static_cast<std::size_t>(BigEndian(increment, at, 8));
    const auto length = static_cast<std::size_t>(BigEndian(increment, at + 8, 4));
    at += 12;
    if (at + length > increment.size() || offset + length > made.size()) throw PatchError{3};
    made.replace(offset, length, increment, at, length);
    at += length;
  }
  if (at != increment.size() || Describe(made) != head[1]) throw PatchError{3};
  return made;
}

std::string Lower(std::string text) {
  std::transform(text.begin(), text.end(), text.begin(),
                 [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c; });
  return text;
}

Values ReadJob(const fs::path& path) {
  Values values;
  bool inside = false;
  std::istringstream file(ReadFile(path));
  for (std::string line; std::getline(file, line);) {
    if (line.ends_with('\r')) line.pop_back();
    const std::size_t equals = line.find('=');
    if (line.starts_with('[')) {
      inside = Lower(line) == "[main]";
    } else if (inside && equals != std::string::npos) {
      values.emplace(Lower(line.substr(0, equals)), line.substr(equals + 1));
    }
  }
  return values;
}

/// A folder of the job. Its text is in the code page of the system, as everything that VlMr writes.
fs::path FolderOf(Values& job, const char* key) {
  const std::string& text = job[key];
  const int size = static_cast<int>(text.size());
  std::wstring wide(text.size(), L'\0');
  if (size > 0)
    wide.resize(
        static_cast<std::size_t>(MultiByteToWideChar(CP_ACP, 0, text.data(), size, wide.data(), size)));
  return wide;
}

void Patch(Values job, const std::set<std::string>& modes) {
  const fs::path source = FolderOf(job, "source");
  const fs::path destination = FolderOf(job, "destination");
  const fs::path backup = FolderOf(job, "backup");
  const std::string old_name = "lpt$vpn." + job["patternfrom"];
  const std::string new_name = "lpt$vpn." + job["patternto"];
  const fs::path increment = source / ("v_" + job["patternfrom"] + "." + job["patternto"]);
  if (!fs::exists(increment) || !fs::exists(destination / old_name)) throw PatchError{4};
  const std::string made = ApplyIncrement(ReadFile(destination / old_name), ReadFile(increment));
  if (!modes.contains("leave-old")) {
    fs::create_directories(backup);
    fs::rename(destination / old_name, backup / old_name);
  }
  WriteFileInOneStep((modes.contains("into-source") ? source : destination) / new_name, made);
}

/// Fills the [Log] section that VlMr left empty.
void Report(const fs::path& path, int error) {
  const Values values = {
      {"Finished", "1"}, {"Result", error != 0 ? "0" : "1"}, {"ErrorID", std::to_string(error)}};
  std::string text;
  bool inside = false;
  std::istringstream file(ReadFile(path));
  for (std::string line; std::getline(file, line);) {
    if (line.ends_with('\r')) line.pop_back();
    const std::string key = line.substr(0, line.find('='));
    if (line.starts_with('[')) {
      inside = Lower(line) == "[log]";
    } else if (inside && values.contains(key)) {
      line = key + "=" + values.at(key);
    }
    text += line + "\r\n";
  }
  std::ofstream(path, std::ios::binary) << text;
}

std::set<std::string> ReadModes(const fs::path& folder) {
  std::istringstream words(ReadFile(folder / "patch_mode.txt"));
  return {std::istream_iterator<std::string>(words), std::istream_iterator<std::string>()};
}

}  // namespace

int main() {
  std::wstring own(32768, L'\0');
  own.resize(GetModuleFileNameW(nullptr, own.data(), static_cast<DWORD>(own.size())));
  const fs::path folder = fs::path(own).parent_path();
  const std::set<std::string> modes = ReadModes(folder);
  while (modes.contains("never-end") && !fs::exists(folder / "patch_end.txt")) Sleep(50);
  for (const std::string& mode : modes) {
    if (mode.starts_with("exit=")) return std::stoi(mode.substr(5));
  }
  if (modes.contains("no-output")) return 0;
  int error = 0;
  try {
    Patch(ReadJob(folder / "Patch.ini"), modes);
  } catch (const PatchError& failure) {
    error = failure.number;
  }
  if (!modes.contains("keep-job")) Report(folder / "Patch.ini", error);
  return error;
}
