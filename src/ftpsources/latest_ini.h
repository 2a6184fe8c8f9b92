#pragma once

#include <string>

#include "core/ini_store.h"

namespace vlmr::ftpsources {

/// What a "latest.ini" says of a CPR pattern. All values are texts and are compared as such.
struct LatestIni {
  std::string version;          ///< of "PatternVersion", "0" when it is empty
  std::string build;            ///< of "PatternVersion", "0" when there is none
  std::string pattern_created;  ///< date and time as published
  std::string pattern_size;     ///< bytes of the unpacked pattern
  std::string zip_file;         ///< name of the archive on the server; not checked
  std::string zip_created;      ///< date and time as published
  std::string zip_size;         ///< bytes of the archive
};

/// The version in a "PatternVersion" ("1.890 v3"): the text before the first blank, all of it without one;
/// "0" when the key is empty or missing.
std::string ReadCprVersion(core::IniStore& ini, const std::string& file);

/// The build in a "PatternVersion": the text behind the first "v"; "0" when there is no "v", or the key is
/// empty or missing.
std::string ReadCprBuild(core::IniStore& ini, const std::string& file);

/// Writes the six keys of a "latest.ini" over what is there, in their fixed order; readers see all of them or
/// none. False when the file cannot be written.
bool WriteLatestIni(core::IniStore& ini, const LatestIni& latest, const std::string& file);

}  // namespace vlmr::ftpsources
