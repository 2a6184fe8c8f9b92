#pragma once

#include <cstdint>
#include <string_view>
#include <vector>

namespace vlmr::core {

/// The hash of a name in a scope (a section's number, or one number for the section names themselves),
/// without regard to ASCII case. Names come from strangers, so the hash is keyed anew in every process:
/// nobody can prepare an index whose names all fall into one place.
std::uint32_t HashOfName(std::uint32_t scope, std::string_view name);

/// Finds lines of an INI file by the hash of their name: open addressing, at most three quarters full.
class IniLineTable {
 public:
  static constexpr std::uint32_t kNone = 0xFFFFFFFF;

  /// The line under `hash` for which `matches(line)` holds, or `kNone`.
  template <class Matches>
  std::uint32_t Find(std::uint32_t hash, const Matches& matches) const {
    if (slots_.empty()) return kNone;
    for (std::size_t at = hash & mask_; slots_[at].line != kNone; at = (at + 1) & mask_) {
      if (slots_[at].hash == hash && matches(slots_[at].line)) return slots_[at].line;
    }
    return kNone;
  }

  /// Adds a line whose name is not in the table yet.
  void Add(std::uint32_t hash, std::uint32_t line);

 private:
  struct Slot {
    std::uint32_t hash = 0;
    std::uint32_t line = kNone;
  };

  void Put(Slot slot);
  void Resize(std::size_t slots);

  std::vector<Slot> slots_;
  std::size_t mask_ = 0;
  std::size_t used_ = 0;
};

}  // namespace vlmr::core
