#pragma once

#include <string>

#include "core/runtime.h"

namespace vlmr::notify {

/// Expands the placeholders of subject and body templates.
class NotificationText {
 public:
  /// What the placeholders stand for.
  class Facts {
   public:
    virtual ~Facts() = default;
    /// The newest pattern version held; runs a full scan of the pattern store.
    virtual std::string PatternStored() = 0;
    /// Version and build of the published CPR pattern, each "0" when there is none.
    virtual std::string CprVersion() = 0;
    virtual std::string CprBuild() = 0;
    /// This computer's name.
    virtual std::string ComputerName() = 0;
  };

  /// Both references must outlive this object.
  NotificationText(const core::Runtime& runtime, Facts& facts) : runtime_(runtime), facts_(facts) {}

  /// The text with every %CRLF%, %SERVER%, %Pattern%, %PatternCPR% and %Line% replaced, in this order and
  /// with regard to case. All facts are asked for at each call, whether the text needs them or not. Raises
  /// nothing.
  std::string ReplaceNotifsTexte(const std::string& text);

 private:
  const core::Runtime& runtime_;
  Facts& facts_;
};

}  // namespace vlmr::notify
