#include "core/settings_reference.h"

#include "core/settings_table.h"
#include "core/text.h"

namespace vlmr::core {

namespace {

constexpr std::string_view kIntroduction =
    R"(# Settings

Made from the settings table by `settings_reference`; change the table, not this page. How the files are read and
written stands in [formats.md](formats.md). Section and key names may be written in any case. A value is read again
at every use, so an edit counts at once, also during a run. A missing file is a file without keys.

| Kind | Value | When it is empty or missing |
|---|---|---|
| flag | on for exactly `1` | the default is written into the file and used |
| number | whole number, -32768 to 32767 | the default is used |
| number, kept | whole number, -32768 to 32767 | the default is written into the file and used |
| size, kept | number with up to 7 digits, `.` as decimal sign | the default is written into the file and used |
| text | text | the default is used |
| text, trimmed | text, blanks around it dropped | the default is used |
| text, kept | text | the default is written into the file and used |
| plain | text | empty |
| password | enciphered, or in clear as you type it | empty (see "CprPassword" for its default) |
| written | never read by this program | |

A switch is on when its number is 1, unless its line says otherwise.
)";

std::string_view KindText(SettingKind kind) {
  switch (kind) {
    case SettingKind::kFlag:
      return "flag";
    case SettingKind::kInt:
      return "number";
    case SettingKind::kIntWriteBack:
      return "number, kept";
    case SettingKind::kText:
      return "text";
    case SettingKind::kTextTrimmed:
      return "text, trimmed";
    case SettingKind::kTextWriteBack:
      return "text, kept";
    case SettingKind::kPlain:
      return "plain";
    case SettingKind::kSecret:
      return "password";
    case SettingKind::kSingleWriteBack:
      return "size, kept";
    case SettingKind::kWriter:
      return "written";
  }
  return {};
}

std::string_view FileHeading(SettingFile file) {
  switch (file) {
    case SettingFile::kMain:
      return "VLMR.ini: the operator's settings";
    case SettingFile::kDialer:
      return "Dialer.ini: shared with the dial-up program";
    case SettingFile::kMail:
      return "Mail.ini: shared with the mail side";
    case SettingFile::kTsc:
      return "TscVLMR.ini: what is installed of the Trojan System Cleaner";
  }
  return {};
}

std::string Code(std::string_view text) {
  return text.empty() ? std::string() : "`" + std::string(text) + "`";
}

/// Where a section is the only one of its kind, its name says all.
std::string SectionIntroduction(const SettingRow& first_row) {
  if (first_row.section != "NOTIFICATION") return {};
  return "In subjects and bodies these are replaced: `%SERVER%` (name of this computer), `%Pattern%` (newest "
         "pattern held), `%PatternCPR%` (newest CPR pattern), `%Line%` (ten asterisks), `%CRLF%` (a new "
         "line).\n\n";
}

std::string RowText(const SettingRow& row) {
  std::string text = "| " + Code(row.key);
  if (row.written_key != row.key) text.append(" (written as ").append(Code(row.written_key)).append(")");
  text.append(" | ").append(KindText(row.kind)).append(" | ").append(Code(row.default_text));
  return text.append(" | ").append(ReplaceAll(row.meaning, "|", "\\|")).append(" |\n");
}

}  // namespace

std::string SettingsReference() {
  std::string text(kIntroduction);
  const SettingRow* previous = nullptr;
  for (const SettingRow& row : SettingTable()) {
    const bool new_file = previous == nullptr || previous->file != row.file;
    if (new_file) text.append("\n## ").append(FileHeading(row.file)).append("\n");
    if (new_file || previous->section != row.section) {
      text.append("\n### [").append(row.section).append("]\n\n").append(SectionIntroduction(row));
      text += "| Key | Kind | Default | Meaning |\n|---|---|---|---|\n";
    }
    text += RowText(row);
    previous = &row;
  }
  return text;
}

}  // namespace vlmr::core
