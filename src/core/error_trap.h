#pragma once

#include <functional>
#include <optional>
#include <type_traits>
#include <utility>

#include "platform/runtime_error.h"

namespace vlmr::core {

/// Carries "report the error and go on with the next statement" through a procedure.
///
///     ErrorTrap trap([&](const auto& e) { log.WriteLog("PatchVsapI: Error code " + ErrorText(e)); });
///     trap([&] { files.Delete(path); });               // goes on behind it, whatever happened
///     auto size = trap.Value([&] { return files.Length(path); });  // nothing when it failed
///     if (!trap.Test([&] { return IsOn(...); })) ...   // a test that fails counts as not met
///
/// Numbers 0 and 20 are silent. Put it around statements that can fail, not around every line. Only
/// `RuntimeError` is trapped.
class ErrorTrap {
 public:
  using Report = std::function<void(const platform::RuntimeError&)>;

  explicit ErrorTrap(Report report) : report_(std::move(report)) {}

  /// Runs one statement; true when it did not fail.
  template <class Statement>
  bool operator()(Statement&& statement) const {
    try {
      std::forward<Statement>(statement)();
      return true;
    } catch (const platform::RuntimeError& error) {
      Handle(error);
      return false;
    }
  }

  /// Runs an expression; nothing when it failed.
  template <class Expression>
  auto Value(Expression&& expression) const -> std::optional<std::invoke_result_t<Expression>> {
    try {
      return std::forward<Expression>(expression)();
    } catch (const platform::RuntimeError& error) {
      Handle(error);
      return std::nullopt;
    }
  }

  /// Runs a condition; one that fails counts as not met.
  template <class Condition>
  bool Test(Condition&& condition) const {
    return Value(std::forward<Condition>(condition)).value_or(false);
  }

 private:
  void Handle(const platform::RuntimeError& error) const {
    if (error.Number() != 0 && error.Number() != 20) {
      report_(error);
    }
  }

  Report report_;
};

/// Number, one blank, description: the form in which most procedures log an error.
std::string ErrorText(const platform::RuntimeError& error);

}  // namespace vlmr::core
