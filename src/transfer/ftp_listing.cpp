#include "transfer/ftp_listing.h"

#include <algorithm>

#include "core/outside_name.h"
#include "core/text.h"
#include "transfer/ftp_fetch.h"

namespace vlmr::transfer {

namespace {

constexpr char kSeparator = ';';

}  // namespace

FtpListing::FtpListing(std::string_view text) {
  for (const std::string_view line : core::Lines(text)) Take(line);
}

void FtpListing::Take(std::string_view line) {
  const auto separator = line.find_last_of("/\\");
  const std::string_view name = separator == std::string_view::npos ? line : line.substr(separator + 1);
  if (name.empty() || name == "." || name == "..") return;
  const core::NameFault fault = core::CheckOutsideFileName(name);
  if (fault == core::NameFault::kTemporaryMark) return;
  // A name with the separator in it would be read as two others.
  const bool splits = name.find(kSeparator) != std::string_view::npos;
  if (fault == core::NameFault::kNone && !splits) {
    names_.emplace_back(name);
    return;
  }
  if (refused_++ == 0) {
    first_refusal_ = splits ? "[" + std::string(name.substr(0, 100)) + "] holds the separator of listings"
                            : RefusalOfName(name);
  }
}

std::string FtpListing::Joined() const {
  std::string joined;
  for (const std::string& name : names_) {
    if (!joined.empty()) joined += kSeparator;
    joined += name;
  }
  return joined;
}

std::string FtpListing::SpellingOf(const std::string& wanted) const {
  if (std::find(names_.begin(), names_.end(), wanted) != names_.end()) return wanted;
  const auto found = std::find_if(names_.begin(), names_.end(), [&](const std::string& name) {
    return core::EqualsIgnoringCase(name, wanted);
  });
  return found == names_.end() ? wanted : *found;
}

}  // namespace vlmr::transfer
