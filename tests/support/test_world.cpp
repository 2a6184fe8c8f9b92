#include "support/test_world.h"

#include <algorithm>

#include "core/ini_document.h"
#include "core/text.h"

namespace vlmr::test {

int ScriptedRandom::Draw() {
  if (!draws.empty()) {
    const int drawn = draws.front();
    draws.pop_front();
    return drawn;
  }
  counter_ = counter_ % 500 + 1;
  return counter_;
}

World::World() = default;

std::vector<std::string> World::LogMessages() const {
  const std::string text = files.Text(R"(\VlMR.log)");
  const std::string bracket = " : [" + paths.Program() + "]";
  std::vector<std::string> messages;
  for (const std::string_view line : core::Lines(text)) {
    const auto found = line.find(bracket);
    messages.emplace_back(found == std::string_view::npos ? line : line.substr(found + bracket.size()));
  }
  return messages;
}

std::vector<std::string> World::LogMessages(std::string_view prefix) const {
  std::vector<std::string> messages = LogMessages();
  std::erase_if(messages, [&](const std::string& message) { return !message.starts_with(prefix); });
  return messages;
}

bool World::Logged(std::string_view message) const {
  const auto messages = LogMessages();
  return std::find(messages.begin(), messages.end(), message) != messages.end();
}

void World::SetSetting(std::string_view section, std::string_view key, std::string_view value) {
  SetIni(R"(\VLMR.ini)", section, key, value);
}

std::string World::GetSetting(std::string_view section, std::string_view key) {
  return GetIni(R"(\VLMR.ini)", section, key);
}

void World::SetIni(std::string_view file, std::string_view section, std::string_view key,
                   std::string_view value) {
  core::IniDocument document(files.Text(file));
  document.Set(section, key, value);
  files.Put(file, document.Text());
}

std::string World::GetIni(std::string_view file, std::string_view section, std::string_view key) const {
  return std::string(core::IniDocument(files.Text(file)).Get(section, key));
}

}  // namespace vlmr::test
