#include "support/scoped_temp_dir.h"

#include <algorithm>
#include <fstream>
#include <iterator>
#include <random>
#include <system_error>

namespace vlmr::test {

ScopedTempDir::ScopedTempDir() {
  const std::filesystem::path base = std::filesystem::canonical(std::filesystem::temp_directory_path());
  std::random_device random;
  do {
    path_ = base / ("vlmr-test-" + std::to_string(random()));
  } while (!std::filesystem::create_directory(path_));
}

ScopedTempDir::~ScopedTempDir() {
  std::error_code ignored;
  std::filesystem::remove_all(path_, ignored);
}

std::filesystem::path ScopedTempDir::Real(std::string_view below) const {
  std::string text = At(below);
  std::replace(text.begin() + static_cast<std::ptrdiff_t>(Folder().size()), text.end(), '\\', '/');
  return text;
}

void ScopedTempDir::Put(std::string_view below, std::string_view bytes) const {
  const std::filesystem::path path = Real(below);
  std::filesystem::create_directories(path.parent_path());
  std::ofstream(path, std::ios::binary).write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
}

std::string ScopedTempDir::Text(std::string_view below) const {
  std::ifstream file(Real(below), std::ios::binary);
  return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

}  // namespace vlmr::test
