#pragma once

#include <memory>
#include <string>

#include "core/runtime.h"
#include "platform/event_loop.h"
#include "transfer/curl_ftp_exchange.h"
#include "transfer/curl_handle.h"
#include "transfer/ftp_listing.h"
#include "transfer/ftp_session.h"
#include "transfer/ftp_url.h"

namespace vlmr::transfer {

/// `FtpClient` over one long-lived libcurl handle, so that the control connection stays open from `Connect`
/// to the last transfer. It is closed with QUIT by the next `Connect` and by the destructor.
///
/// A file is stored under a temporary name of this machine and renamed when the server has all of it, so that
/// the other mirrors of a shared folder never fetch half a pattern. A server that does not let it store or
/// rename so gets a plain STOR; if that breaks off, the half file is deleted again where the server allows
/// it.
///
/// The transfers block the event loop. A close request is noticed within a second: the transfer is given up
/// and the request's handler runs, which may throw `platform::ProcessEnd`.
class CurlFtpClient : public FtpClient {
 public:
  /// The references must outlive the client. `machine` tells apart the temporary names of the mirrors that
  /// share a folder (the computer's name).
  CurlFtpClient(const core::Runtime& runtime, platform::EventLoop& loop, const std::string& machine,
                FtpLimits limits = {});
  ~CurlFtpClient() override;
  CurlFtpClient(const CurlFtpClient&) = delete;
  CurlFtpClient& operator=(const CurlFtpClient&) = delete;

  void SetPassive(bool passive) override { passive_ = passive; }
  void SetProxy(const std::string& proxy_text) override { proxy_ = proxy_text; }
  void SetCredentials(const std::string& user, const std::string& password) override;
  FtpResult Connect(const std::string& host) override;
  FtpResult List(const std::string& folder, std::string& names) override;
  FtpResult Get(const std::string& name, const std::string& local_file) override;
  FtpResult Put(const std::string& local_file, const std::string& name) override;

 private:
  /// What a control connection was opened with; the later operations must name the same.
  struct Login {
    FtpAddress address;
    std::string user;
    std::string password;
  };

  CurlFtpExchange::Setup RequestFor(const std::string& name) const;
  void Disconnect();
  FtpResult LogIn(const std::string& host);
  FtpResult FetchListing(std::string& text);
  FtpResult Fetch(const std::string& name, const std::string& local_file);
  FtpResult Store(const std::string& local_file, const std::string& name);
  CurlFtpExchange::Outcome StoreAs(platform::InputFile& local, const std::string& remote,
                                   const std::string& final_name);
  void DeleteRemote(const std::string& name, const CurlFtpExchange::Outcome& failed);
  FtpResult GiveWay(FtpResult result);

  const core::Runtime& runtime_;
  platform::EventLoop& loop_;
  const std::string temporary_name_;
  const FtpLimits limits_;

  bool passive_ = false;
  std::string proxy_;
  std::string user_;
  std::string password_;

  EasyHandle handle_;
  bool logged_in_ = false;
  Login login_;
  std::string folder_;
  FtpListing listing_;
};

}  // namespace vlmr::transfer
