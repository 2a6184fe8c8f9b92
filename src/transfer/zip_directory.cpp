#include "transfer/zip_directory.h"

#include <algorithm>
#include <memory>
#include <string_view>

#include "platform/runtime_error.h"

namespace vlmr::transfer {
namespace {

/// The end record with the longest comment behind it, and the records of the 64-bit form before it.
constexpr std::int64_t kLongestEnd = 22 + 65'535 + 20 + 56;

std::int64_t Number(std::string_view bytes, std::size_t offset, std::size_t size) {
  std::uint64_t value = 0;
  if (offset + size > bytes.size()) return 0;
  for (std::size_t n = size; n-- > 0;) value = value << 8U | static_cast<unsigned char>(bytes[offset + n]);
  return static_cast<std::int64_t>(std::min<std::uint64_t>(value, INT64_MAX));
}

/// An end record: its mark, where the directory's size stands in it, and how wide that field and the one
/// behind it, the directory's offset, are.
struct EndRecord {
  std::string_view mark;
  std::size_t size_at;
  std::size_t width;
};
constexpr EndRecord kEnd = {.mark = "PK\x05\x06", .size_at = 12, .width = 4};
constexpr EndRecord kEnd64 = {.mark = "PK\x06\x06", .size_at = 40, .width = 8};

/// The largest size that a record in `end`, the bytes from `start` of the file, declares. Marks that stand
/// there by chance name no directory that lies before them.
std::int64_t Largest(std::string_view end, std::int64_t start, const EndRecord& record) {
  std::int64_t largest = 0;
  for (std::size_t at = end.find(record.mark); at != std::string_view::npos;
       at = end.find(record.mark, at + 1)) {
    const std::int64_t place = start + static_cast<std::int64_t>(at);
    const std::int64_t size = Number(end, at + record.size_at, record.width);
    const std::int64_t offset = Number(end, at + record.size_at + record.width, record.width);
    if (size <= place && offset <= place - size) largest = std::max(largest, size);
  }
  return largest;
}

}  // namespace

std::int64_t ZipDirectoryBytes(const platform::FileReader& files, const std::string& path) {
  try {
    const std::unique_ptr<platform::InputFile> file = files.OpenRead(path);
    const std::int64_t start = std::max<std::int64_t>(file->Length() - kLongestEnd, 0);
    std::string end(static_cast<std::size_t>(file->Length() - start), '\0');
    end.resize(file->ReadAt(start, end));
    return std::max(Largest(end, start, kEnd), Largest(end, start, kEnd64));
  } catch (const platform::RuntimeError&) {
    return 0;
  }
}

}  // namespace vlmr::transfer
