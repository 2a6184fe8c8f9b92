#include "core/secret.h"

#include <sodium.h>

#include <array>
#include <vector>

#include "platform/runtime_error.h"

namespace vlmr::core {
namespace {

/// Names the form of what follows, so that another one can be told apart later.
constexpr std::string_view kMark = "vlmr1:";
/// So that mark, nonce, tag and text, as hexadecimal digits, fit into one value of an INI file.
constexpr std::size_t kLongestText = 254;

using Key = std::array<unsigned char, crypto_secretbox_KEYBYTES>;

const unsigned char* Bytes(std::string_view text) {
  return reinterpret_cast<const unsigned char*>(text.data());
}

std::string ToHex(const std::vector<unsigned char>& bytes) {
  std::string text(bytes.size() * 2 + 1, '\0');
  sodium_bin2hex(text.data(), text.size(), bytes.data(), bytes.size());
  text.pop_back();
  return text;
}

/// Empty when `text` is not all pairs of hexadecimal digits.
std::vector<unsigned char> FromHex(std::string_view text) {
  if (text.empty()) return {};
  std::vector<unsigned char> bytes(text.size() / 2);
  std::size_t size = 0;
  const char* end = nullptr;
  if (text.size() % 2 != 0 ||
      sodium_hex2bin(bytes.data(), bytes.size(), text.data(), text.size(), nullptr, &size, &end) != 0 ||
      end != text.data() + text.size()) {
    return {};
  }
  return bytes;
}

}  // namespace

SecretCipher::SecretCipher(const AppPaths& paths, platform::FileSystem& files)
    : paths_(paths), files_(files) {}

bool SecretCipher::IsEnciphered(std::string_view stored) { return stored.starts_with(kMark); }

std::string SecretCipher::Describe(Fault fault) {
  switch (fault) {
    case Fault::kNone:
      return "no fault";
    case Fault::kKeyMissing:
      return "the key file VLMR.key is missing";
    case Fault::kKeyUnusable:
      return "the key file VLMR.key cannot be read, made or has not 32 bytes";
    case Fault::kWrongKeyOrDamaged:
      return "it was enciphered under another key, or it is damaged";
    case Fault::kTooLong:
      return "it is too long";
  }
  return {};
}

SecretCipher::Fault SecretCipher::ReadKey(std::string& key) const {
  const std::string path = paths_ / R"(\VLMR.key)";
  if (files_.FindFile(path).empty()) return Fault::kKeyMissing;
  try {
    // Nothing of another length is a key; what lies there may be of any length.
    if (files_.Length(path) != static_cast<std::int64_t>(crypto_secretbox_KEYBYTES))
      return Fault::kKeyUnusable;
    key = files_.ReadAll(path);
  } catch (const platform::RuntimeError&) {
    return Fault::kKeyUnusable;
  }
  return key.size() == crypto_secretbox_KEYBYTES ? Fault::kNone : Fault::kKeyUnusable;
}

SecretCipher::Fault SecretCipher::MakeKey(std::string& key) {
  key.resize(crypto_secretbox_KEYBYTES);
  randombytes_buf(key.data(), key.size());
  try {
    files_.Replace(paths_ / R"(\VLMR.key)", key, platform::Access::kOwner);
  } catch (const platform::RuntimeError&) {
    return Fault::kKeyUnusable;
  }
  return Fault::kNone;
}

SecretCipher::Result SecretCipher::Encipher(std::string_view clear) {
  if (sodium_init() < 0) return {.text = {}, .fault = Fault::kKeyUnusable};
  const std::size_t size = crypto_secretbox_NONCEBYTES + crypto_secretbox_MACBYTES + clear.size();
  if (kMark.size() + 2 * size > kLongestText) return {.text = {}, .fault = Fault::kTooLong};
  std::string key;
  Fault fault = ReadKey(key);
  if (fault == Fault::kKeyMissing) fault = MakeKey(key);
  if (fault != Fault::kNone) return {.text = {}, .fault = fault};
  std::vector<unsigned char> box(size);
  randombytes_buf(box.data(), crypto_secretbox_NONCEBYTES);
  crypto_secretbox_easy(box.data() + crypto_secretbox_NONCEBYTES, Bytes(clear), clear.size(), box.data(),
                        Bytes(key));
  sodium_memzero(key.data(), key.size());
  return {.text = std::string(kMark) + ToHex(box), .fault = Fault::kNone};
}

SecretCipher::Result SecretCipher::Decipher(std::string_view stored) {
  if (sodium_init() < 0) return {.text = {}, .fault = Fault::kKeyUnusable};
  const std::size_t overhead = crypto_secretbox_NONCEBYTES + crypto_secretbox_MACBYTES;
  std::string key;
  const Fault fault = ReadKey(key);
  if (fault != Fault::kNone) return {.text = {}, .fault = fault};
  const std::vector<unsigned char> box =
      IsEnciphered(stored) ? FromHex(stored.substr(kMark.size())) : std::vector<unsigned char>();
  if (box.size() < overhead) return {.text = {}, .fault = Fault::kWrongKeyOrDamaged};
  std::string clear(box.size() - overhead, '\0');
  const int wrong = crypto_secretbox_open_easy(
      reinterpret_cast<unsigned char*>(clear.data()), box.data() + crypto_secretbox_NONCEBYTES,
      box.size() - crypto_secretbox_NONCEBYTES, box.data(), Bytes(key));
  sodium_memzero(key.data(), key.size());
  if (wrong != 0) return {.text = {}, .fault = Fault::kWrongKeyOrDamaged};
  return {.text = std::move(clear), .fault = Fault::kNone};
}

}  // namespace vlmr::core
