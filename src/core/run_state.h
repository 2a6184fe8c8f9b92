#pragma once

#include <string>
#include <utility>

namespace vlmr::core {

/// What travels between procedures of one run without being an argument. Every value starts cleared and is
/// reached through one pair of accessors; texts are copied on both sides. Nothing is saved or reset.
class RunState {
 public:
  /// Copy every log line into the temporary log. Fixed at start.
  bool DebugMain() const { return debug_main_; }
  void SetDebugMain(bool on) { debug_main_ = on; }

  /// Detailed tracing of the HTTP layer. Fixed at start.
  bool DebugHttp() const { return debug_http_; }
  void SetDebugHttp(bool on) { debug_http_ = on; }

  /// Full path of the temporary log; empty without the main debug switch.
  std::string TempLogPath() const { return temp_log_path_; }
  void SetTempLogPath(std::string path) { temp_log_path_ = std::move(path); }

  /// The product updates found in this run, as the text of their mail; empty when none.
  std::string ProductUpdates() const { return product_updates_; }
  void SetProductUpdates(std::string text) { product_updates_ = std::move(text); }
  /// Adds to that text without copying it.
  void AppendProductUpdates(const std::string& text) { product_updates_ += text; }

  /// A new-pattern mail is due.
  bool NewPatternFound() const { return new_pattern_found_; }
  void SetNewPatternFound(bool found) { new_pattern_found_ = found; }

  /// The version text of that mail.
  std::string NewPatternText() const { return new_pattern_text_; }
  void SetNewPatternText(std::string text) { new_pattern_text_ = std::move(text); }

 private:
  bool debug_main_ = false;
  bool debug_http_ = false;
  bool new_pattern_found_ = false;
  std::string temp_log_path_;
  std::string product_updates_;
  std::string new_pattern_text_;
};

}  // namespace vlmr::core
