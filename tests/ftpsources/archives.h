#pragma once

#include <map>
#include <string>

#include "support/test_world.h"
#include "transfer/zip.h"

namespace vlmr::ftpsources {

/// The bytes of an archive with these entries, made in the world's memory without a trace.
inline std::string ArchiveOf(test::World& world, const std::map<std::string, std::string>& entries) {
  std::string names;
  for (const auto& [name, bytes] : entries) {
    world.files.Put(R"(\archive-source\)" + name, bytes);
    names += (names.empty() ? "" : ",") + name;
  }
  world.files.PutFolder(R"(\archive-made)");
  transfer::ZIP zip(world.runtime);
  zip.ZipFiles(world.At(R"(\archive-made)"), "a.zip", world.At(R"(\archive-source)"), names);
  const std::string bytes = world.files.Text(R"(\archive-made\a.zip)");
  world.files.Remove(R"(\archive-made)");
  world.files.Remove(R"(\archive-source)");
  return bytes;
}

}  // namespace vlmr::ftpsources
