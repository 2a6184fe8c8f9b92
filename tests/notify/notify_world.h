#pragma once

#include <string>
#include <utility>
#include <vector>

#include "notify/mail_queue.h"
#include "notify/notification_text.h"
#include "notify/virus_list.h"
#include "platform/runtime_error.h"
#include "support/test_world.h"

namespace vlmr::notify {

/// A mail queue with a service that may bring a "whatsnew.txt", and facts that a test lays ready.
class NotifyWorld : public test::World {
 public:
  class Facts : public NotificationText::Facts {
   public:
    std::string PatternStored() override {
      ++scans;
      if (error != 0) {
        throw platform::RuntimeError(error);
      }
      return pattern;
    }
    std::string CprVersion() override { return cpr_version; }
    std::string CprBuild() override { return cpr_build; }
    std::string ComputerName() override { return "MIRROR1"; }

    std::string pattern = "101";
    std::string cpr_version = "1.890";
    std::string cpr_build = "3";
    int scans = 0;
    int error = 0;
  };

  class Source : public VirusListReport::WhatsNewSource {
   public:
    explicit Source(NotifyWorld& world) : world_(world) {}
    void DownloadWhatsNew() override {
      ++fetches;
      if (!served.empty()) {
        world_.files.Put(R"(\ActiveUpdate\Pattern\whatsnew.txt)", served);
      }
    }
    std::string served;
    int fetches = 0;

   private:
    NotifyWorld& world_;
  };

  static std::string WhatsNew(const std::string& list) {
    return "News\r\nAll detail virus names please refer to the list below.\r\n" + list;
  }
  void PutWhatsNew(const std::string& list) {
    files.Put(R"(\ActiveUpdate\Pattern\whatsnew.txt)", WhatsNew(list));
  }
  std::string Report() const { return files.Text(R"(\ListVir_Official.ini)"); }

  /// The queue's control and body files, in the order of a listing.
  std::vector<std::string> ControlFiles() { return files.List(At(R"(\mQueue\*.ini)")); }
  std::vector<std::string> BodyFiles() { return files.List(At(R"(\mQueue\*.tmp)")); }
  /// Whole texts of the queue's only pair: control file, body file.
  std::pair<std::string, std::string> OnlyPair() {
    if (ControlFiles().size() != 1 || BodyFiles().size() != 1) {
      return {"no single pair", ""};
    }
    return {files.Text(R"(\mQueue\)" + ControlFiles().front()),
            files.Text(R"(\mQueue\)" + BodyFiles().front())};
  }
  /// Turns every send switch on or off.
  void SetAllSwitches(const std::string& value) {
    for (const char* key : {"Enable", "Enable_OPP_Send", "Enable_SPAM_Send", "Enable_PRODUCTS_Send",
                            "Enable_RedAlert_Send", "Enable_Engine_Send", "Enable_TSC_Send"}) {
      SetSetting("NOTIFICATION", key, value);
    }
  }

  Facts facts;
  Source source{*this};
  VirusListReport virus_list{runtime, source};
  MailQueue queue{runtime, random, virus_list, facts};
};

using Lines = std::vector<std::string>;

}  // namespace vlmr::notify
