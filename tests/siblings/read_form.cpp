// Tells what the main form of a running VlMr shows, which is the process whose executable is the one
// argument: "hidden" or "shown", then the text of each label, one a line. Ends with 0 when that form was
// found.
#include <cstdio>

#include "main_form.h"

int main(int count, char** arguments) {
  const HWND form = MainFormOf(count > 1 ? arguments[1] : "");
  if (form == nullptr) return 1;
  std::puts(IsWindowVisible(form) ? "shown" : "hidden");
  HWND label = nullptr;
  while ((label = FindWindowExW(form, label, L"STATIC", nullptr)) != nullptr) {
    // A message, because another program's label does not tell its text otherwise.
    char text[512] = "";
    DWORD_PTR length = 0;
    SendMessageTimeoutA(label, WM_GETTEXT, sizeof text, reinterpret_cast<LPARAM>(text), SMTO_ABORTIFHUNG,
                        5000, &length);
    std::puts(text);
  }
  return 0;
}
