#include "ftpsources/latest_ini.h"

namespace vlmr::ftpsources {

namespace {

std::string PatternVersion(core::IniStore& ini, const std::string& file) {
  return ini.ReadIniValue("LatestPattern", "PatternVersion", file);
}

}  // namespace

std::string ReadCprVersion(core::IniStore& ini, const std::string& file) {
  const std::string value = PatternVersion(ini, file);
  return value.empty() ? "0" : value.substr(0, value.find(' '));
}

std::string ReadCprBuild(core::IniStore& ini, const std::string& file) {
  const std::string value = PatternVersion(ini, file);
  const auto mark = value.find('v');
  return mark == std::string::npos ? "0" : value.substr(mark + 1);
}

bool WriteLatestIni(core::IniStore& ini, const LatestIni& latest, const std::string& file) {
  core::IniStore::Batch batch(ini, file, core::IniStore::BatchKind::kAtEnd);
  ini.WriteIniValue("LatestPattern", "PatternVersion", latest.version + " v" + latest.build, file);
  ini.WriteIniValue("LatestPattern", "PatternCreated", latest.pattern_created, file);
  ini.WriteIniValue("LatestPattern", "PatternSize", latest.pattern_size, file);
  ini.WriteIniValue("Zip", "ZipFile", latest.zip_file, file);
  ini.WriteIniValue("Zip", "ZipCreated", latest.zip_created, file);
  ini.WriteIniValue("Zip", "ZipSize", latest.zip_size, file);
  return batch.Finish();
}

}  // namespace vlmr::ftpsources
