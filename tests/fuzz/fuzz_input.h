#pragma once

#include <cstdint>
#include <cstdlib>
#include <iostream>
#include <string>
#include <string_view>
#include <utility>

namespace vlmr::test {

/// The bytes of one run, taken piece by piece.
class FuzzInput {
 public:
  FuzzInput(const std::uint8_t* data, std::size_t size) : text_(reinterpret_cast<const char*>(data), size) {}

  /// Up to the next line end, which is dropped.
  std::string Line() { return Until('\n'); }
  /// Up to the next such character, which is dropped: for texts that may hold line ends.
  std::string Until(char mark) {
    const std::size_t end = text_.find(mark);
    const std::string piece(text_.substr(0, end));
    text_.remove_prefix(end == std::string_view::npos ? text_.size() : end + 1);
    return piece;
  }
  /// All that is left.
  std::string Rest() { return std::string(std::exchange(text_, {})); }

 private:
  std::string_view text_;
};

/// Ends the run as a finding when a promise is broken.
inline void Promise(bool kept, const char* what) {
  if (kept) return;
  std::cerr << "broken promise: " << what << "\n";
  std::abort();
}

}  // namespace vlmr::test
