#include <windows.h>

#include <algorithm>

#include "platform/close_request_windows.h"
#include "platform/native.h"
#include "platform/native_text_windows.h"

namespace vlmr::platform {
namespace {

constexpr wchar_t kClassName[] = L"Form1";
constexpr int kWidth = 640;
constexpr int kHeight = 130;
constexpr int kMargin = 12;

LRESULT CALLBACK FormProcedure(HWND window, UINT message, WPARAM wparam, LPARAM lparam) {
  switch (message) {
    case WM_CLOSE:
      RequestClose();
      return 0;
    case WM_QUERYENDSESSION:
      return TRUE;
    case WM_ENDSESSION:
      if (wparam != 0) EndWithLastWords();
      return 0;
    default:
      return DefWindowProcW(window, message, wparam, lparam);
  }
}

/// The main form: made hidden, with a label for the status and one for the progress. Without a window station
/// every call does nothing.
class WindowsForm : public Form {
 public:
  WindowsForm() {
    const HINSTANCE instance = GetModuleHandleW(nullptr);
    WNDCLASSEXW form_class{};
    form_class.cbSize = sizeof form_class;
    form_class.lpfnWndProc = FormProcedure;
    form_class.hInstance = instance;
    form_class.hIcon = LoadIconW(instance, MAKEINTRESOURCEW(1));
    form_class.hCursor = LoadCursorW(nullptr, MAKEINTRESOURCEW(32512));
    form_class.hbrBackground = GetSysColorBrush(COLOR_BTNFACE);
    form_class.lpszClassName = kClassName;
    RegisterClassExW(&form_class);
    window_ =
        CreateWindowExW(0, kClassName, L"VlMr", WS_OVERLAPPEDWINDOW & ~WS_THICKFRAME & ~WS_MAXIMIZEBOX,
                        CW_USEDEFAULT, CW_USEDEFAULT, kWidth, kHeight, nullptr, nullptr, instance, nullptr);
    if (window_ == nullptr) return;
    status_ = Label(kMargin);
    progress_ = Label(kMargin + 36);
  }
  ~WindowsForm() override {
    if (window_ != nullptr) DestroyWindow(window_);
  }
  WindowsForm(const WindowsForm&) = delete;
  WindowsForm& operator=(const WindowsForm&) = delete;

  void SetStatus(const std::string& line) override {
    if (status_ != nullptr) SetWindowTextW(status_, ToWide(line).c_str());
  }

  void SetProgress(std::int64_t received, std::int64_t total) override {
    if (progress_ == nullptr || !IsWindowVisible(window_)) return;
    std::wstring text = std::to_wstring(received);
    if (total > 0) {
      text += L" / " + std::to_wstring(total) + L" (" + std::to_wstring(received * 100 / total) + L" %)";
    }
    SetWindowTextW(progress_, text.c_str());
    UpdateWindow(window_);
  }

  void Show() override {
    if (window_ != nullptr) ShowWindow(window_, SW_SHOWNOACTIVATE);
  }
  void Hide() override {
    if (window_ != nullptr) ShowWindow(window_, SW_HIDE);
  }

 private:
  HWND Label(int top) const {
    return CreateWindowExW(0, L"STATIC", L"", WS_CHILD | WS_VISIBLE | SS_LEFTNOWORDWRAP, kMargin, top,
                           kWidth - 3 * kMargin, 28, window_, nullptr, GetModuleHandleW(nullptr), nullptr);
  }

  HWND window_ = nullptr;
  HWND status_ = nullptr;
  HWND progress_ = nullptr;
};

}  // namespace

std::unique_ptr<Form> MakeForm() { return std::make_unique<WindowsForm>(); }

}  // namespace vlmr::platform
