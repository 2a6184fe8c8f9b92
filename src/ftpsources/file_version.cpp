#include "ftpsources/file_version.h"

#include <algorithm>
#include <cstdint>
#include <optional>
#include <vector>

#include "core/number.h"
#include "platform/runtime_error.h"

namespace vlmr::ftpsources {

namespace {

/// Bytes of one structure; reading behind their end gives nothing rather than a fault.
class Bytes {
 public:
  explicit Bytes(std::string bytes) : bytes_(std::move(bytes)) {}
  std::size_t Size() const { return bytes_.size(); }
  std::uint32_t U16(std::size_t at) const { return Byte(at) | Byte(at + 1) << 8; }
  std::uint32_t U32(std::size_t at) const { return U16(at) | U16(at + 2) << 16; }
  bool Has(std::size_t at, std::string_view text) const { return bytes_.compare(at, text.size(), text) == 0; }

 private:
  std::uint32_t Byte(std::size_t at) const {
    return at < bytes_.size() ? static_cast<unsigned char>(bytes_[at]) : 0U;
  }
  std::string bytes_;
};

Bytes Read(platform::InputFile& file, std::int64_t offset, std::size_t length) {
  std::string bytes(length, '\0');
  bytes.resize(file.ReadAt(offset, bytes));
  return Bytes(std::move(bytes));
}

struct Section {
  std::uint32_t address = 0;
  std::uint32_t size = 0;
  std::uint32_t offset = 0;
};

/// The part of the headers that leads to the resources.
struct Headers {
  std::vector<Section> sections;
  std::uint32_t resources = 0;  ///< relative virtual address

  std::optional<std::int64_t> OffsetOf(std::uint32_t address) const {
    for (const Section& section : sections) {
      if (address >= section.address && address - section.address < section.size) {
        return std::int64_t{section.offset} + (address - section.address);
      }
    }
    return std::nullopt;
  }
};

std::optional<Headers> ReadHeaders(platform::InputFile& file) {
  constexpr std::size_t kMostSections = 96;  // what Windows' loader takes
  const Bytes dos = Read(file, 0, 64);
  if (dos.Size() < 64 || !dos.Has(0, "MZ")) return std::nullopt;
  const std::int64_t start = dos.U32(0x3C);
  const Bytes coff = Read(file, start, 24);
  if (coff.Size() < 24 || !coff.Has(0, std::string_view("PE\0\0", 4))) return std::nullopt;
  const std::size_t section_count = std::min<std::size_t>(coff.U16(6), kMostSections);
  const std::size_t optional_size = coff.U16(20);
  const Bytes optional = Read(file, start + 24, optional_size);
  constexpr std::uint32_t kPe32 = 0x10B;
  constexpr std::uint32_t kPe32Plus = 0x20B;
  const std::uint32_t magic = optional.U16(0);
  if (magic != kPe32 && magic != kPe32Plus) return std::nullopt;
  const std::size_t directories = magic == kPe32 ? 96 : 112;
  constexpr std::size_t kResourceDirectory = 2;
  if (optional.U32(directories - 4) <= kResourceDirectory) return std::nullopt;
  Headers headers;
  headers.resources = optional.U32(directories + 8 * kResourceDirectory);
  if (headers.resources == 0) return std::nullopt;
  const Bytes table = Read(file, start + 24 + static_cast<std::int64_t>(optional_size), section_count * 40);
  for (std::size_t at = 0; at + 40 <= table.Size(); at += 40) {
    const std::uint32_t size_on_disk = table.U32(at + 16);
    headers.sections.push_back(
        {.address = table.U32(at + 12), .size = size_on_disk, .offset = table.U32(at + 20)});
  }
  return headers;
}

/// One step down the resource tree: the offset word of the entry with this id, of the first entry without
/// one.
std::optional<std::uint32_t> EntryOf(platform::InputFile& file, std::int64_t directory,
                                     std::optional<std::uint32_t> id) {
  constexpr std::size_t kMostEntries = 4096;
  const Bytes head = Read(file, directory, 16);
  if (head.Size() < 16) return std::nullopt;
  const std::size_t count = std::min<std::size_t>(head.U16(12) + head.U16(14), kMostEntries);
  const Bytes entries = Read(file, directory + 16, count * 8);
  for (std::size_t at = 0; at + 8 <= entries.Size(); at += 8) {
    if (!id || entries.U32(at) == *id) return entries.U32(at + 4);
  }
  return std::nullopt;
}

/// Type, name and language are the tree's three levels.
std::optional<std::uint32_t> VersionDataEntry(platform::InputFile& file, std::int64_t root) {
  constexpr std::uint32_t kVersionType = 16;
  constexpr std::uint32_t kIsDirectory = 0x8000'0000;
  const auto type = EntryOf(file, root, kVersionType);
  if (!type || (*type & kIsDirectory) == 0) return std::nullopt;
  const auto name = EntryOf(file, root + (*type & ~kIsDirectory), std::nullopt);
  if (!name || (*name & kIsDirectory) == 0) return std::nullopt;
  const auto language = EntryOf(file, root + (*name & ~kIsDirectory), std::nullopt);
  if (!language || (*language & kIsDirectory) != 0) return std::nullopt;
  return language;
}

std::string VersionOf(platform::InputFile& file, const Headers& headers) {
  const auto root = headers.OffsetOf(headers.resources);
  if (!root) return {};
  const auto entry = VersionDataEntry(file, *root);
  if (!entry) return {};
  const Bytes place = Read(file, *root + *entry, 16);
  const auto data = place.Size() < 16 ? std::nullopt : headers.OffsetOf(place.U32(0));
  if (!data) return {};
  // Length, value length and type, then the key in UTF-16, its end and padding to 32 bits, then
  // VS_FIXEDFILEINFO.
  constexpr std::size_t kKey = 6;
  constexpr std::size_t kFixed = 40;
  constexpr std::size_t kFixedSize = 52;
  const Bytes info = Read(file, *data, std::min<std::size_t>(place.U32(4), kFixed + kFixedSize));
  constexpr std::string_view kName("V\0S\0_\0V\0E\0R\0S\0I\0O\0N\0_\0I\0N\0F\0O\0\0\0", 32);
  if (info.Size() < kFixed + kFixedSize || !info.Has(kKey, kName) || info.U16(2) < kFixedSize ||
      info.U32(kFixed) != 0xFEEF04BD) {
    return {};
  }
  std::string version;
  for (const std::size_t at : {kFixed + 10, kFixed + 8, kFixed + 14, kFixed + 12}) {
    if (!version.empty()) version += '.';
    version += core::IntegerText(info.U16(at));
  }
  return version;
}

}  // namespace

std::string FileVersionOf(platform::InputFile& file) {
  const auto headers = ReadHeaders(file);
  return headers ? VersionOf(file, *headers) : std::string();
}

std::string FileVersionOf(const platform::FileReader& files, const std::string& path) {
  try {
    return FileVersionOf(*files.OpenRead(path));
  } catch (const platform::RuntimeError&) {
    return {};  // a program without a version is no fault
  }
}

}  // namespace vlmr::ftpsources
