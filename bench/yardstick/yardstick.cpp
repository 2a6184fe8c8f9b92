// The least serial program that does a product pass once and nothing twice; what VlMr's passes are measured
// against.
//
//     yardstick BASE-URL FOLDER LOG-LINES
//
// fetches BASE-URL/server.ini over one kept libcurl handle, parses it and FOLDER/ActiveUpdate/server.ini
// once, asks for each named file with one stat, downloads what is missing or newer beside its place and
// renames it, writes LOG-LINES log lines in all, each with an open, an append and a close, and writes the
// mirror's index once. It checks nothing, logs nothing of use and knows no settings: it is a measure, not a
// mirror.
#include <curl/curl.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <charconv>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <fstream>
#include <iterator>
#include <string>
#include <string_view>
#include <unordered_map>

namespace {

using Section = std::unordered_map<std::string_view, std::string_view>;

struct Index {
  std::string text;
  std::unordered_map<std::string_view, Section> sections;

  void Parse() {
    Section* section = nullptr;
    for (std::size_t at = 0; at < text.size();) {
      std::size_t end = text.find('\n', at);
      if (end == std::string::npos) end = text.size();
      std::string_view line(text.data() + at, end - at);
      at = end + 1;
      if (line.ends_with('\r')) line.remove_suffix(1);
      if (line.starts_with('[')) {
        section = &sections[line.substr(1, line.find(']') - 1)];
      } else if (const auto equals = line.find('='); section != nullptr && equals != line.npos) {
        section->try_emplace(line.substr(0, equals), line.substr(equals + 1));
      }
    }
  }

  std::string_view Get(std::string_view section, std::string_view key) const {
    const auto found = sections.find(section);
    if (found == sections.end()) return {};
    const auto value = found->second.find(key);
    return value == found->second.end() ? std::string_view() : value->second;
  }
};

std::string ReadFile(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

std::size_t WriteBody(char* data, std::size_t size, std::size_t count, void* file) {
  return std::fwrite(data, size, count, static_cast<std::FILE*>(file));
}

class Pass {
 public:
  Pass(std::string base, std::string folder, long log_lines)
      : base_(std::move(base)), folder_(std::move(folder)), log_lines_(log_lines) {
    curl_easy_setopt(curl_, CURLOPT_BUFFERSIZE, 512L * 1024);
    curl_easy_setopt(curl_, CURLOPT_WRITEFUNCTION, WriteBody);
    curl_easy_setopt(curl_, CURLOPT_FAILONERROR, 1L);
    curl_easy_setopt(curl_, CURLOPT_PROXY, "");
  }
  ~Pass() { curl_easy_cleanup(curl_); }
  Pass(const Pass&) = delete;
  Pass& operator=(const Pass&) = delete;

  int Run() {
    if (!Fetch("server.ini", folder_ + "/fresh.ini")) return 1;
    fresh_.text = ReadFile(folder_ + "/fresh.ini");
    fresh_.Parse();
    stored_.text = ReadFile(folder_ + "/ActiveUpdate/server.ini");
    stored_.Parse();
    long count = 0;
    const std::string_view most = fresh_.Get("All_Product", "MaxProductID");
    std::from_chars(most.data(), most.data() + most.size(), count);
    for (long n = 1; n <= count; ++n) {
      Product(n);
      Log(log_lines_ * n / count);
    }
    Log(log_lines_);
    if (changed_) WriteBeside(folder_ + "/ActiveUpdate/server.ini", fresh_.text);
    return 0;
  }

 private:
  void Product(long n) {
    const std::string_view entry = fresh_.Get("All_Product", "Product." + std::to_string(n));
    const auto comma = entry.find(',');
    if (comma == entry.npos) return;
    // The generated entries are all of the form N,1.0.
    const std::string key = "Info_" + std::string(entry.substr(0, comma)) + "_1_01000_1";
    const bool newer = fresh_.Get(key, "Version") > stored_.Get(key, "Version");
    for (const char* which : {"Update_Path", "Path"}) {
      std::string_view path = fresh_.Get(key, which);
      path = path.substr(0, path.find(','));
      if (path.empty()) continue;
      const std::string local = folder_ + "/ActiveUpdate/" + std::string(path);
      struct stat about {};
      if (stat(local.c_str(), &about) == 0 && !newer) continue;
      changed_ = Fetch(std::string(path), local) || changed_;
    }
  }

  bool Fetch(const std::string& path, const std::string& local) {
    const std::string beside = local + ".part";
    std::FILE* file = std::fopen(beside.c_str(), "wb");
    if (file == nullptr) {
      for (std::size_t at = folder_.size(); (at = local.find('/', at + 1)) != local.npos;) {
        mkdir(local.substr(0, at).c_str(), 0777);
      }
      file = std::fopen(beside.c_str(), "wb");
    }
    if (file == nullptr) return false;
    curl_easy_setopt(curl_, CURLOPT_URL, (base_ + "/" + path).c_str());
    curl_easy_setopt(curl_, CURLOPT_WRITEDATA, file);
    const bool good = curl_easy_perform(curl_) == CURLE_OK;
    std::fclose(file);
    return good && std::rename(beside.c_str(), local.c_str()) == 0;
  }

  void Log(long until) {
    for (; logged_ < until; ++logged_) {
      const std::time_t now = std::time(nullptr);
      char line[160];
      const int size = std::snprintf(line, sizeof line,
                                     "%lld : [yardstick]one line of about the usual length, number %ld\r\n",
                                     static_cast<long long>(now), logged_);
      const int file =
          open((folder_ + "/yardstick.log").c_str(), O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC, 0666);
      if (file < 0 || write(file, line, static_cast<std::size_t>(size)) != size) std::exit(1);
      close(file);
    }
  }

  static void WriteBeside(const std::string& path, const std::string& text) {
    std::ofstream(path + ".part", std::ios::binary) << text;
    std::rename((path + ".part").c_str(), path.c_str());
  }

  std::string base_;
  std::string folder_;
  long log_lines_;
  long logged_ = 0;
  bool changed_ = false;
  CURL* curl_ = curl_easy_init();
  Index fresh_;
  Index stored_;
};

}  // namespace

int main(int count, char** arguments) {
  if (count != 4) {
    std::fputs("usage: yardstick BASE-URL FOLDER LOG-LINES\n", stderr);
    return 2;
  }
  curl_global_init(CURL_GLOBAL_DEFAULT);
  mkdir((std::string(arguments[2]) + "/ActiveUpdate").c_str(), 0777);
  return Pass(arguments[1], arguments[2], std::strtol(arguments[3], nullptr, 10)).Run();
}
