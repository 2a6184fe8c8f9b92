#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "core/error_trap.h"
#include "core/notifier.h"
#include "core/process_services.h"
#include "core/runtime.h"
#include "platform/form.h"
#include "platform/instance_lock.h"
#include "platform/process.h"

namespace vlmr::core {

/// The program's single entry: prepares the process, then carries out one command word or the normal run.
class Startup {
 public:
  /// What the start needs from the rest of the program. None of it raises.
  class Needs {
   public:
    virtual ~Needs() = default;
    /// The normal run; usually ends the process instead of returning.
    virtual void StartingOperations() = 0;
    /// The pass over all products, without fetching an index.
    virtual void GetProducts() = 0;
    /// The fixed set of products that OfficeScan uses.
    virtual void GET_PRODUCTS_ByName() = 0;
    /// One product in one language.
    virtual void VerifyProductByIndex(std::int16_t number, const std::string& language) = 0;
    /// Whether downloads may use the API control; they ask the settings again at every call.
    virtual void SetHttpApi(bool enabled) = 0;
    /// Stops the timer that ends a hung process.
    virtual void DisableTimer() = 0;
  };

  /// All references must outlive this object.
  Startup(const Runtime& runtime, ProcessServices& services, platform::ProcessRunner& processes,
          platform::InstanceLock& instance, platform::Form& form, Notifier& notifier, Needs& needs);

  /// The start. `command_line` is all arguments joined with one blank, untrimmed; empty starts the normal
  /// run. The process is to end with code 0 when this returns.
  void Form_Load(const std::string& command_line);

 private:
  void Prepare();
  void Impersonate();
  void RunCommand(const std::string& command_line);
  void CheckAllProducts();
  void CheckOneProduct(const std::string& argument);
  void LogBanner();
  bool IsOn(Setting setting) const;

  const Runtime& runtime_;
  ProcessServices& services_;
  platform::ProcessRunner& processes_;
  platform::InstanceLock& instance_;
  platform::Form& form_;
  Notifier& notifier_;
  Needs& needs_;
  ErrorTrap trap_;
};

}  // namespace vlmr::core
