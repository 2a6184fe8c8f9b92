#include "support/executable_sample.h"

#include <string_view>

namespace vlmr::test {

namespace {

void Put16(std::string& bytes, std::size_t at, std::uint32_t value) {
  bytes[at] = static_cast<char>(value & 0xFF);
  bytes[at + 1] = static_cast<char>(value >> 8 & 0xFF);
}

void Put32(std::string& bytes, std::size_t at, std::uint32_t value) {
  Put16(bytes, at, value & 0xFFFF);
  Put16(bytes, at + 2, value >> 16);
}

}  // namespace

std::string SampleExecutable(const ExecutableSample& sample) {
  constexpr std::size_t kHeaders = 0x40;
  constexpr std::size_t kOptional = kHeaders + 24;
  constexpr std::uint32_t kSectionAddress = 0x3000;
  constexpr std::uint32_t kSectionOffset = 0x200;
  constexpr std::uint32_t kSectionSize = 0x100;
  const std::size_t optional_size = sample.is_64_bit ? 240 : 224;
  const std::size_t directories = kOptional + (sample.is_64_bit ? 112 : 96);

  std::string bytes(kSectionOffset + kSectionSize, '\0');
  bytes.replace(0, 2, "MZ");
  Put32(bytes, 0x3C, kHeaders);
  bytes.replace(kHeaders, 2, "PE");
  Put16(bytes, kHeaders + 4, sample.is_64_bit ? 0x8664 : 0x14C);
  Put16(bytes, kHeaders + 6, 1);  // sections
  Put16(bytes, kHeaders + 20, static_cast<std::uint32_t>(optional_size));
  Put16(bytes, kOptional, sample.is_64_bit ? 0x20B : 0x10B);
  Put32(bytes, directories - 4, 16);
  Put32(bytes, directories + 16, kSectionAddress);
  Put32(bytes, directories + 20, kSectionSize);
  const std::size_t section = kOptional + optional_size;
  bytes.replace(section, 5, ".rsrc");
  Put32(bytes, section + 8, kSectionSize);
  Put32(bytes, section + 12, kSectionAddress);
  Put32(bytes, section + 16, kSectionSize);
  Put32(bytes, section + 20, kSectionOffset);

  // Three directories of one entry each (the type's has an icon before it), then the data entry, then the
  // data.
  const std::size_t root = kSectionOffset;
  Put16(bytes, root + 14, 2);
  Put32(bytes, root + 16, 3);  // icon
  Put32(bytes, root + 20, 0x8000'0020);
  Put32(bytes, root + 24, sample.has_version ? 16 : 14);
  Put32(bytes, root + 28, 0x8000'0020);
  Put16(bytes, root + 0x20 + 14, 1);
  Put32(bytes, root + 0x20 + 16, 1);
  Put32(bytes, root + 0x20 + 20, 0x8000'0038);
  Put16(bytes, root + 0x38 + 14, 1);
  Put32(bytes, root + 0x38 + 16, 1033);
  Put32(bytes, root + 0x38 + 20, 0x50);
  Put32(bytes, root + 0x50, kSectionAddress + 0x60);
  Put32(bytes, root + 0x54, 92);

  const std::size_t info = root + 0x60;
  Put16(bytes, info, 92);
  Put16(bytes, info + 2, 52);
  constexpr std::string_view kKey = "VS_VERSION_INFO";
  for (std::size_t i = 0; i < kKey.size(); ++i) bytes[info + 6 + 2 * i] = kKey[i];
  Put32(bytes, info + 40, 0xFEEF04BD);
  Put32(bytes, info + 44, 0x10000);
  Put16(bytes, info + 48, sample.version[1]);
  Put16(bytes, info + 50, sample.version[0]);
  Put16(bytes, info + 52, sample.version[3]);
  Put16(bytes, info + 54, sample.version[2]);
  return bytes;
}

}  // namespace vlmr::test
