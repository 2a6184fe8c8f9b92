#pragma once

#include <string>

namespace vlmr::core {

/// The operator's reference of all settings in Markdown, made from `SettingTable`: docs/settings.md is this
/// text.
std::string SettingsReference();

}  // namespace vlmr::core
