#include "core/ini_line_table.h"

#include <sodium.h>

#include <cstring>

namespace vlmr::core {

namespace {

__extension__ using Product = unsigned __int128;

struct HashKey {
  HashKey() { randombytes_buf(words, sizeof(words)); }
  std::uint64_t words[2];
};

/// ASCII letters to lower case, eight at once: a byte's highest bit tells whether it is a capital.
std::uint64_t FoldWord(std::uint64_t word) {
  constexpr std::uint64_t kEach = 0x0101010101010101;
  constexpr std::uint64_t kHigh = 0x80 * kEach;
  const std::uint64_t low = word & ~kHigh;
  const std::uint64_t from_a = low + (0x80 - 'A') * kEach;
  const std::uint64_t behind_z = low + (0x7F - 'Z') * kEach;
  const std::uint64_t capitals = (from_a ^ behind_z) & ~word & kHigh;
  return word | (capitals >> 2);
}

std::uint64_t Mix(std::uint64_t a, std::uint64_t b) {
  const Product product = static_cast<Product>(a) * b;
  return static_cast<std::uint64_t>(product) ^ static_cast<std::uint64_t>(product >> 64);
}

}  // namespace

std::uint32_t HashOfName(std::uint32_t scope, std::string_view name) {
  static const HashKey kKey;
  std::uint64_t hash = Mix(kKey.words[0] ^ scope, kKey.words[1] ^ name.size());
  while (!name.empty()) {
    std::uint64_t word = 0;
    const std::size_t count = name.size() < sizeof(word) ? name.size() : sizeof(word);
    std::memcpy(&word, name.data(), count);
    hash = Mix(hash ^ FoldWord(word), kKey.words[1]);
    name.remove_prefix(count);
  }
  return static_cast<std::uint32_t>(hash ^ (hash >> 32));
}

void IniLineTable::Add(std::uint32_t hash, std::uint32_t line) {
  if ((used_ + 1) * 4 > slots_.size() * 3) Resize(slots_.empty() ? 16 : slots_.size() * 2);
  Put({hash, line});
  ++used_;
}

void IniLineTable::Put(Slot slot) {
  std::size_t at = slot.hash & mask_;
  while (slots_[at].line != kNone) at = (at + 1) & mask_;
  slots_[at] = slot;
}

void IniLineTable::Resize(std::size_t slots) {
  const std::vector<Slot> old = std::move(slots_);
  slots_.assign(slots, Slot{});
  mask_ = slots - 1;
  for (const Slot& slot : old) {
    if (slot.line != kNone) Put(slot);
  }
}

}  // namespace vlmr::core
