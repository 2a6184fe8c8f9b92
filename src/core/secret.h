#pragma once

#include <string>
#include <string_view>

#include "core/app_paths.h"
#include "platform/file_system.h"

namespace vlmr::core {

/// Enciphers the passwords of the settings file: libsodium's secret box under a key of 32 random bytes that
/// lies beside the settings in `\VLMR.key`, made on first use and readable by its owner only. The stored form
/// is a fixed mark and hexadecimal digits, at most 254 characters, so that it survives an INI read; passwords
/// of up to 84 bytes fit.
class SecretCipher {
 public:
  SecretCipher(const AppPaths& paths, platform::FileSystem& files);

  /// Why a stored password could not be read.
  enum class Fault { kNone, kKeyMissing, kKeyUnusable, kWrongKeyOrDamaged, kTooLong };
  struct Result {
    std::string text;  ///< the clear or enciphered text; empty on a fault
    Fault fault = Fault::kNone;
  };

  /// A fault in words for the log.
  static std::string Describe(Fault fault);
  /// Whether a stored text carries the mark of this cipher.
  static bool IsEnciphered(std::string_view stored);
  /// Makes the key file when there is none (never over an existing one).
  Result Encipher(std::string_view clear);
  /// Never makes or changes the key file.
  Result Decipher(std::string_view stored);

 private:
  Fault ReadKey(std::string& key) const;
  Fault MakeKey(std::string& key);

  const AppPaths& paths_;
  platform::FileSystem& files_;
};

}  // namespace vlmr::core
