#include "support/raw_zip.h"

namespace vlmr::test {

namespace {

std::uint32_t Checksum(const std::string& data) {
  std::uint32_t sum = 0xFFFFFFFF;
  for (const char c : data) {
    sum ^= static_cast<unsigned char>(c);
    for (int bit = 0; bit < 8; ++bit) sum = (sum >> 1) ^ ((sum & 1) != 0 ? 0xEDB88320 : 0);
  }
  return ~sum;
}

/// Little-endian numbers of `width` bytes each.
void Put(std::string& bytes, std::uint64_t value, int width) {
  for (int i = 0; i < width; ++i) bytes += static_cast<char>(value >> (8 * i) & 0xFF);
}

/// What local header and directory entry share: version wanted to the length of the extra field.
std::string Common(const RawZipEntry& entry) {
  std::string bytes;
  Put(bytes, 20, 2);
  Put(bytes, entry.flags, 2);
  Put(bytes, entry.method, 2);
  Put(bytes, 0, 2);       // time: midnight
  Put(bytes, 0x5A21, 2);  // date: 2025-01-01
  Put(bytes, entry.checksum.value_or(Checksum(entry.data)), 4);
  Put(bytes, entry.data.size(), 4);
  Put(bytes, entry.size.value_or(static_cast<std::uint32_t>(entry.data.size())), 4);
  Put(bytes, entry.name.size(), 2);
  Put(bytes, 0, 2);
  return bytes;
}

}  // namespace

std::string RawZip(const std::vector<RawZipEntry>& entries) {
  std::string bytes;
  std::string directory;
  for (const RawZipEntry& entry : entries) {
    directory += "PK\x01\x02";
    Put(directory, 20, 2);
    directory += Common(entry);
    directory.append(10, '\0');  // comment, disk, attributes
    Put(directory, bytes.size(), 4);
    directory += entry.name;
    bytes += "PK\x03\x04" + Common(entry) + entry.name + entry.data;
  }
  std::string end = "PK\x05\x06";
  Put(end, 0, 4);
  Put(end, entries.size(), 2);
  Put(end, entries.size(), 2);
  Put(end, directory.size(), 4);
  Put(end, bytes.size(), 4);
  Put(end, 0, 2);
  return bytes + directory + end;
}

}  // namespace vlmr::test
