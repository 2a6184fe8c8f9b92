#include "patterns/auxiliary_patterns.h"

#include <array>
#include <compare>

#include "core/number.h"
#include "core/text.h"
#include "transfer/url.h"

namespace vlmr::patterns {
namespace {

/// The words of one auxiliary pattern, irregular as administrators know them.
struct Row {
  index::AuxiliaryPattern pattern;
  const char* prefix;
  const char* stored_message;
  const char* server_message;
};

constexpr std::array<Row, 4> kRows = {{
    {index::AuxiliaryPattern::kMpp,
     "GetMPPPattern:", "GetMPPPattern: MPP stored=", "GetMPPPattern: MPP stored On ActiveUpdate Server="},
    {index::AuxiliaryPattern::kOpp,
     "GetOPPPattern:", "GetOPPPattern:OPP Store Version=", "GetOPPPattern:OPP ActiveUPdate Version="},
    {index::AuxiliaryPattern::kSpam, "GetSPAMPattern:", "GetSPAMPattern: SPAM stored=",
     "GetSPAMPattern: SPAM stored on ActiveUpdate server="},
    {index::AuxiliaryPattern::kRedAlert, "GetRedAlertPattern:", "GetRedAlertPattern:RedAlerte stored=",
     "GetRedAlertPattern:RedAlerte stored On ActiveUpdate Server="},
}};

const Row& RowOf(index::AuxiliaryPattern pattern) {
  for (const Row& row : kRows) {
    if (row.pattern == pattern) {
      return row;
    }
  }
  return kRows.front();
}

}  // namespace

bool AuxiliaryPatterns::GetPattern(index::AuxiliaryPattern pattern) {
  const Row& row = RowOf(pattern);
  const std::string prefix = row.prefix;
  const std::string& key = index::AuxiliaryKey(pattern);
  const std::string mirror_index = runtime_.paths.StoredIndex();

  const std::string value1 = runtime_.ReadIniValue("PATTERN", key, mirror_index);
  runtime_.Log(prefix + "Value1=" + value1);
  const std::string stored = core::GetVersionField(value1);
  const std::string value2 = runtime_.ReadIniValue("PATTERN", key, runtime_.paths.FreshIndex());
  const std::string web = core::GetVersionField(value2);
  runtime_.Log(prefix + "Value2=" + value2);
  runtime_.Log(row.stored_message + stored);
  runtime_.Log(row.server_message + web);

  const std::string path = core::BeforeComma(value2);
  const bool is_usable = fetch_.IsUsable(path);
  const std::string published = fetch_.Mirrored(path);
  const std::string found = fetch_.FindMirrored(path);
  runtime_.Log(prefix + "Tests=" + found);
  // Compared in any case: a version that is no number ends the procedure also when the file is missing.
  const bool is_older = std::is_lt(core::CompareAsSingles(stored, web));
  if (!found.empty() && !is_older) {
    return false;
  }
  const std::string staged = fetch_.Staged(path);
  const auto fetch_from = [&](core::Setting source) {
    const std::string base = runtime_.settings.Text(source);
    runtime_.Log(prefix + "Try to get " + transfer::JoinUrl(base, path));
    runtime_.Log(prefix + "Save it in " + staged);
    return is_usable && fetch_.FetchFrom(base, path, staged) ? runtime_.files.FindFile(staged) : "";
  };
  std::string fetched = fetch_from(core::Setting::kActiveUpdateMaster);
  if (fetched.empty()) {
    // An index of the second source may name what only that source carries.
    fetched = fetch_from(core::Setting::kActiveUpdateEps);
  }
  runtime_.Log(prefix + "Tests1=" + fetched);
  if (fetched.empty()) {
    return false;
  }
  fetch_.Publish(path);
  const std::string size = core::IntegerText(runtime_.files.Length(published));
  runtime_.WriteIniValue("PATTERN", key, path + "," + web + "," + size, mirror_index);
  return true;
}

}  // namespace vlmr::patterns
