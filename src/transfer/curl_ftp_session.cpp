#include "transfer/curl_ftp_session.h"

#include <curl/curl.h>

#include <algorithm>
#include <utility>

#include "core/number.h"
#include "platform/runtime_error.h"
#include "transfer/ftp_fetch.h"
#include "transfer/stage_file.h"
#include "transfer/text_limits.h"

namespace vlmr::transfer {

namespace {

using platform::RuntimeError;
namespace error_number = platform::error_number;

/// A name that no search for "lpt$vpn." finds, in which the machine is told apart, and which every listing of
/// ours leaves out. It is the same at each upload, so that what a broken one left is overwritten by the next.
std::string TemporaryName(const std::string& machine) {
  std::string name = "upload-";
  for (const char c : machine.substr(0, 64)) {
    const bool plain = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '-';
    name += plain ? c : '_';
  }
  return name.append(platform::kTemporaryMark);
}

bool HasControlCharacter(const std::string& text) {
  return std::any_of(text.begin(), text.end(),
                     [](char c) { return static_cast<unsigned char>(c) < ' ' || c == '\x7f'; });
}

FtpResult Refused(const std::string& reason) { return {error_number::kInvalidCall, "Refused " + reason}; }

/// The server has no names to tell. 450 and 550 are how many servers answer NLST in an empty folder.
bool MeansNoNames(const CurlFtpExchange::Outcome& outcome) {
  return outcome.library_code == CURLE_FTP_COULDNT_RETR_FILE &&
         (outcome.reply == 226 || outcome.reply == 250 || outcome.reply == 450 || outcome.reply == 550);
}

/// The server will not have this name, stored or renamed; nothing tells that it lacks space.
bool RefusesTheName(const CurlFtpExchange::Outcome& outcome) {
  return outcome.library_code == CURLE_QUOTE_ERROR ||
         (outcome.library_code == CURLE_UPLOAD_FAILED && outcome.reply >= 500 && outcome.reply != 552);
}

}  // namespace

CurlFtpClient::CurlFtpClient(const core::Runtime& runtime, platform::EventLoop& loop,
                             const std::string& machine, FtpLimits limits)
    : runtime_(runtime), loop_(loop), temporary_name_(TemporaryName(machine)), limits_(limits) {}

CurlFtpClient::~CurlFtpClient() { Disconnect(); }

void CurlFtpClient::SetCredentials(const std::string& user, const std::string& password) {
  user_ = user;
  password_ = password;
}

FtpResult CurlFtpClient::Connect(const std::string& host) {
  Disconnect();
  try {
    return GiveWay(LogIn(host));
  } catch (const RuntimeError& error) {
    return {error.Number(), error.Description()};
  }
}

FtpResult CurlFtpClient::List(const std::string& folder, std::string& names) {
  names.clear();
  folder_ = folder;
  listing_ = {};
  std::string text;
  FtpResult result = FetchListing(text);
  if (result.Ok()) {
    listing_ = FtpListing(text);
    names = listing_.Joined();
    if (listing_.Refused() > 0) {
      runtime_.Log(
          "FtpListing: Refused names=" + core::IntegerText(static_cast<std::int64_t>(listing_.Refused())) +
          " first " + listing_.FirstRefusal());
    }
  }
  return GiveWay(std::move(result));
}

FtpResult CurlFtpClient::Get(const std::string& name, const std::string& local_file) {
  const std::string refusal = RefusalOfName(name);
  if (!refusal.empty()) return Refused(refusal);
  try {
    return GiveWay(Fetch(name, local_file));
  } catch (const RuntimeError& error) {
    return {error.Number(), error.Description()};
  }
}

FtpResult CurlFtpClient::Put(const std::string& local_file, const std::string& name) {
  const std::string refusal = RefusalOfName(name);
  if (!refusal.empty()) return Refused(refusal);
  try {
    return GiveWay(Store(local_file, name));
  } catch (const RuntimeError& error) {
    return {error.Number(), error.Description()};
  }
}

FtpResult CurlFtpClient::LogIn(const std::string& host) {
  if (!handle_) handle_ = MakeEasyHandle();
  folder_.clear();
  listing_ = {};
  const std::string server(proxy_.empty() ? std::string_view(host) : ProxyAddress(proxy_));
  const auto address = ParseFtpAddress(server);
  if (!address || host.empty() || HasControlCharacter(host)) {
    return {CURLE_URL_MALFORMAT, host.empty() ? "No server is named" : "No usable server name"};
  }
  if (HasControlCharacter(user_) || HasControlCharacter(password_)) {
    return Refused("a user or password with control characters");
  }
  const std::string anonymous = "anonymous";
  login_ = {.address = *address,
            .user = proxy_.empty() ? user_ : (user_.empty() ? anonymous : user_) + "@" + host,
            .password = password_};
  CurlFtpExchange exchange(RequestFor(""));
  exchange.TransferNothing();
  FtpResult result = exchange.Perform().result;
  logged_in_ = result.Ok();
  return result;
}

void CurlFtpClient::Disconnect() {
  if (!std::exchange(logged_in_, false)) return;
  CurlFtpExchange exchange(RequestFor(""));
  exchange.TransferNothing();
  exchange.CloseAtEnd();
  exchange.Perform();
}

FtpResult CurlFtpClient::FetchListing(std::string& text) {
  if (!logged_in_) return {CURLE_COULDNT_CONNECT, "Not connected"};
  CurlFtpExchange exchange(RequestFor(""));
  exchange.ListNames();
  exchange.Receive([&](std::string_view bytes) {
    if (text.size() + bytes.size() > limits_.listing) {
      throw RuntimeError(
          CURLE_FILESIZE_EXCEEDED,
          "The listing is over " + core::IntegerText(static_cast<std::int64_t>(limits_.listing)) + " bytes");
    }
    text += bytes;
  });
  const auto outcome = exchange.Perform();
  if (outcome.result.Ok() || MeansNoNames(outcome)) return {};
  return outcome.result;
}

FtpResult CurlFtpClient::Fetch(const std::string& name, const std::string& local_file) {
  if (!logged_in_) return {CURLE_COULDNT_CONNECT, "Not connected"};
  const auto staged = StageMakingFolders(runtime_.files, local_file);
  CurlFtpExchange exchange(RequestFor(listing_.SpellingOf(name)));
  const std::int64_t most = MostBytesOf(local_file);
  exchange.Receive([&](std::string_view bytes) {
    if (most > 0 && staged->Length() + static_cast<std::int64_t>(bytes.size()) > most) {
      throw RuntimeError(CURLE_FILESIZE_EXCEEDED, "The file is over " + core::IntegerText(most) + " bytes");
    }
    staged->Write(bytes);
  });
  FtpResult result = exchange.Perform().result;
  if (result.Ok()) staged->Commit();
  return result;
}

FtpResult CurlFtpClient::Store(const std::string& local_file, const std::string& name) {
  if (!logged_in_) return {CURLE_COULDNT_CONNECT, "Not connected"};
  const auto local = runtime_.files.OpenRead(local_file);
  const auto staged = StoreAs(*local, temporary_name_, name);
  if (staged.result.Ok()) return {};
  if (staged.transfer_started) DeleteRemote(temporary_name_, staged);
  if (!RefusesTheName(staged)) return staged.result;
  const auto plain = StoreAs(*local, name, name);
  // A refusal before the transfer has touched nothing: what has that name is another's.
  if (!plain.result.Ok() && plain.transfer_started) DeleteRemote(name, plain);
  return plain.result;
}

CurlFtpExchange::Outcome CurlFtpClient::StoreAs(platform::InputFile& local, const std::string& remote,
                                                const std::string& final_name) {
  CurlFtpExchange exchange(RequestFor(remote));
  exchange.SendFrom(local);
  if (remote != final_name) exchange.SendAfterwards({"RNFR " + remote, "RNTO " + final_name});
  return exchange.Perform();
}

void CurlFtpClient::DeleteRemote(const std::string& name, const CurlFtpExchange::Outcome& failed) {
  if (loop_.CloseRequested()) return;
  CurlFtpExchange exchange(RequestFor(""));
  exchange.TransferNothing();
  exchange.SendAfterwards({"DELE " + name});
  // Without a last word of the server's its next reply would be taken for the answer to DELE.
  if (failed.result.number != failed.reply) exchange.OnNewConnection();
  exchange.Perform();
}

CurlFtpExchange::Setup CurlFtpClient::RequestFor(const std::string& name) const {
  return {.handle = handle_.get(),
          .clock = runtime_.clock,
          .loop = loop_,
          .limits = limits_,
          .url = FtpUrlOf(login_.address, folder_, name),
          .user = login_.user,
          .password = login_.password,
          .passive = passive_};
}

FtpResult CurlFtpClient::GiveWay(FtpResult result) {
  // A close request may have been what ended the transfer; its handler decides.
  loop_.Pump(std::chrono::milliseconds(0));
  return result;
}

}  // namespace vlmr::transfer
