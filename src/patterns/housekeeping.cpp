#include "patterns/housekeeping.h"

#include <vector>

#include "core/error_trap.h"
#include "core/text.h"
#include "patterns/pattern_paths.h"

namespace vlmr::patterns {

void Housekeeping::DeleteOldIncrementFiles(const std::string& keep) {
  const std::string root = PublishedPatterns(runtime_.paths);
  runtime_.Log("DeleteOldIncrementFiles: ROOT=" + root + "=> exclude pattern=" + keep);
  const core::ErrorTrap quiet([](const platform::RuntimeError&) {});
  const std::string folder = root + "\\";
  for (const std::string& name : runtime_.files.List(folder + "*.*")) {
    const bool is_archive = core::ToUpper(core::LastCharacters(name, 3)) == "ZIP";
    if (!is_archive && name != keep) {
      const std::string path = folder + name;
      runtime_.Log("DeleteOldIncrementFiles: Kill => " + path);
      quiet([&] { runtime_.files.Delete(path); });
    }
  }
}

void Housekeeping::DownloadWhatsNew() {
  const core::ErrorTrap trap([&](const platform::RuntimeError& error) {
    runtime_.Log("DownloadWhatsNew: Error " + core::ErrorText(error));
  });
  trap([&] {
    const std::string local_file = runtime_.paths.MirrorRoot() + R"(Pattern\whatsnew.txt)";
    if (!fetch_.Fetch("Pattern/whatsnew.txt", local_file)) {
      runtime_.Log("DownloadWhatsNew: error to get virus list");
      return;
    }
    const std::string count = virus_list_.ReadVirusListFile(local_file);
    if (!count.empty()) {
      runtime_.Log("DownloadWhatsNew: Find " + count + " new viruses");
    }
  });
}

}  // namespace vlmr::patterns
