#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace vlmr::test {

/// One entry of an archive that is written byte by byte (PKWARE APPNOTE, 4.3), so that it can say what no
/// library would write.
struct RawZipEntry {
  std::string name;
  std::string data;                            ///< as stored, whatever the method
  std::uint16_t method = 0;                    ///< 0 = stored, 8 = deflated
  std::uint16_t flags = 0;                     ///< bit 0 = encrypted
  std::optional<std::uint32_t> size = {};      ///< unpacked size as declared, else that of `data`
  std::optional<std::uint32_t> checksum = {};  ///< else that of `data`
};

/// The archive's bytes.
std::string RawZip(const std::vector<RawZipEntry>& entries);

}  // namespace vlmr::test
