// Up to the first "|": the subject, to the next one: the body; the rest is the "whatsnew.txt" of the pattern.
#include <algorithm>

#include "core/text.h"
#include "fuzz/fuzz_input.h"
#include "notify/notify_world.h"

namespace {

using namespace vlmr;
using test::Promise;

/// Whether an INI file gives this value back as it is.
bool IsPlain(const std::string& value) {
  return value.find_first_of("\r\n\"'") == std::string::npos && value == core::TrimBlanksAndTabs(value);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  test::FuzzInput input(data, size);
  const std::string subject = input.Until('|');
  const std::string body = input.Until('|');
  const std::string whats_new = input.Rest();
  notify::NotifyWorld world;
  world.files.Put(R"(\ActiveUpdate\Pattern\whatsnew.txt)", whats_new);
  const bool with_list = !whats_new.empty();
  world.queue.CreateSmtpMail(body, subject, with_list, false);

  const auto [control, text] = world.OnlyPair();
  Promise(control != "no single pair", "one mail is one pair of files");
  Promise(std::count(control.begin(), control.end(), '\n') == 3 &&
              std::count(control.begin(), control.end(), '\r') == 3,
          "a subject is one line of the control file");
  const std::string file = R"(\mQueue\)" + world.ControlFiles().front();
  Promise(world.GetIni(file, "MAIL", "F") == world.BodyFiles().front(), "the control file names the body");
  Promise(!IsPlain(subject) || world.GetIni(file, "MAIL", "S") == subject, "the subject is read back");
  Promise(text.starts_with(body) && text.ends_with("\r\n"), "the body stands first and ends its line");
  Promise(with_list || text == body + "\r\n", "a body is not changed");
  return 0;
}
