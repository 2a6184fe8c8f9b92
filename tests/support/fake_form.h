#pragma once

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "platform/form.h"

namespace vlmr::test {

/// Records what the form would show.
class FakeForm : public platform::Form {
 public:
  void SetStatus(const std::string& line) override { statuses.push_back(line); }
  void SetProgress(std::int64_t received, std::int64_t total) override {
    progress.emplace_back(received, total);
  }
  void Show() override { shown.push_back(true); }
  void Hide() override { shown.push_back(false); }

  std::vector<std::string> statuses;                            ///< every status line
  std::vector<std::pair<std::int64_t, std::int64_t>> progress;  ///< received, total
  std::vector<bool> shown;                                      ///< true per `Show`, false per `Hide`
};

}  // namespace vlmr::test
