// Asks a running VlMr to close as Windows does: posts WM_CLOSE to the main form of the process whose
// executable is the one argument. Ends with 0 when that form was found.
#include "main_form.h"

int main(int count, char** arguments) {
  const HWND form = MainFormOf(count > 1 ? arguments[1] : "");
  return form != nullptr && PostMessageW(form, WM_CLOSE, 0, 0) ? 0 : 1;
}
