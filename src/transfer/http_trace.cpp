#include "transfer/http_trace.h"

#include "core/text.h"
#include "transfer/printable.h"

namespace vlmr::transfer {

namespace {

constexpr std::string_view kSecretFields[] = {"Authorization", "Proxy-Authorization", "Cookie", "Set-Cookie"};

std::string_view MarkOf(TraceKind kind) {
  switch (kind) {
    case TraceKind::kRemark:
      return "* ";
    case TraceKind::kHeaderReceived:
      return "< ";
    case TraceKind::kHeaderSent:
      return "> ";
  }
  return "";
}

std::string Masked(std::string_view line) {
  const std::string_view name = line.substr(0, line.find(':'));
  for (const std::string_view secret : kSecretFields) {
    if (core::EqualsIgnoringCase(name, secret)) return std::string(name) + ": ***";
  }
  return PrintableLine(line);
}

}  // namespace

std::vector<std::string> TraceLines(TraceKind kind, std::string_view piece) {
  std::vector<std::string> lines;
  for (const std::string_view line : core::Lines(piece)) {
    std::string shown = Masked(line);
    if (!shown.empty()) lines.push_back(std::string(MarkOf(kind)) + shown);
  }
  return lines;
}

}  // namespace vlmr::transfer
