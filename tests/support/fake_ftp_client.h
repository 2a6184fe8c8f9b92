#pragma once

#include <functional>
#include <map>
#include <string>
#include <vector>

#include "platform/runtime_error.h"
#include "support/memory_file_system.h"
#include "transfer/ftp_session.h"

namespace vlmr::test {

/// An FTP server and its client in one: a folder of names and bytes, a result for each operation, and a
/// record of what was asked. Files come from and go to a memory file system.
class FakeFtpClient : public transfer::FtpClient {
 public:
  explicit FakeFtpClient(MemoryFileSystem& files) : files_(files) {}

  void SetPassive(bool passive) override { calls.emplace_back(passive ? "passive" : "active"); }
  void SetProxy(const std::string& proxy_text) override { calls.push_back("proxy " + proxy_text); }
  void SetCredentials(const std::string& user, const std::string& password) override {
    calls.push_back("login " + user + " " + password);
  }
  transfer::FtpResult Connect(const std::string& host) override {
    calls.push_back("connect " + host);
    return connect_result;
  }
  transfer::FtpResult List(const std::string& folder, std::string& names) override {
    calls.push_back("list " + folder);
    names.clear();
    if (!list_result.Ok()) return list_result;
    for (const auto& [name, bytes] : remote) names += (names.empty() ? "" : ";") + name;
    return {};
  }
  transfer::FtpResult Get(const std::string& name, const std::string& local_file) override {
    calls.push_back("get " + name);
    if (on_get) on_get();
    const auto found = remote.find(name);
    if (found == remote.end()) return {550, "no such file"};
    try {
      const std::string folder(platform::FolderOf(local_file));
      if (files_.FindFolder(folder).empty()) files_.MakeFolders(folder);
      files_.Replace(local_file, found->second);
    } catch (const platform::RuntimeError& error) {
      return {error.Number(), error.Description()};
    }
    return {};
  }
  transfer::FtpResult Put(const std::string& local_file, const std::string& name) override {
    calls.push_back("put " + name);
    if (put_result.Ok()) remote[name] = files_.Text(local_file);
    return put_result;
  }

  transfer::FtpResult connect_result;
  transfer::FtpResult list_result;
  transfer::FtpResult put_result;
  std::map<std::string, std::string> remote;  ///< the folder: name and bytes
  std::function<void()> on_get;               ///< called at the beginning of each `Get`
  std::vector<std::string> calls;             ///< "active", "connect host", "get name", ... in order

 private:
  MemoryFileSystem& files_;
};

}  // namespace vlmr::test
