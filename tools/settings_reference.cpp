// Prints docs/settings.md.

#include <cstdio>

#include "core/settings_reference.h"

int main() {
  const std::string text = vlmr::core::SettingsReference();
  return std::fwrite(text.data(), 1, text.size(), stdout) == text.size() ? 0 : 1;
}
