#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace vlmr::transfer {

/// The names of one folder as a server lists them (NLST, RFC 959): a name per line, path parts dropped. What
/// is no bare file name is left out, and so are the folder's own names ("." and ".."), what ends in a
/// separator, and uploads under way.
class FtpListing {
 public:
  FtpListing() = default;
  /// Reads the text that came over the data connection; lines end with CR LF, LF or CR.
  explicit FtpListing(std::string_view text);

  const std::vector<std::string>& Names() const { return names_; }
  /// All names joined by ";", none at the end.
  std::string Joined() const;
  /// How a wanted name is spelled on the server: exactly as wanted when that is listed, else as the first
  /// name that differs from it in ASCII case only, else as wanted.
  std::string SpellingOf(const std::string& wanted) const;

  /// How many names were refused, and the first of them with the reason, in words for the log.
  std::size_t Refused() const { return refused_; }
  const std::string& FirstRefusal() const { return first_refusal_; }

 private:
  void Take(std::string_view line);

  std::vector<std::string> names_;
  std::size_t refused_ = 0;
  std::string first_refusal_;
};

}  // namespace vlmr::transfer
