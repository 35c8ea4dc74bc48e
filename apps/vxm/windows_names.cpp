// From UTF-8 to what Windows takes, and back.
#include "windows_names.h"

#define WIN32_LEAN_AND_MEAN
#include <windows.h>

namespace {

std::wstring WideOf(const std::string& text) {
  const int size = static_cast<int>(text.size());
  std::wstring wide(
      static_cast<size_t>(MultiByteToWideChar(CP_UTF8, 0, text.data(), size, nullptr, 0)), 0);
  MultiByteToWideChar(CP_UTF8, 0, text.data(), size, wide.data(), static_cast<int>(wide.size()));
  return wide;
}

constexpr size_t shortName = 248;  // the limit of a folder's name

bool IsPrefixed(const std::wstring& name) { return name.rfind(LR"(\\?\)", 0) == 0; }

}  // namespace

std::wstring FullWindowsName(const std::string& name) {
  const std::wstring wide = WideOf(name);
  if (IsPrefixed(wide)) return wide;
  std::wstring full(GetFullPathNameW(wide.c_str(), 0, nullptr, nullptr), 0);
  full.resize(
      GetFullPathNameW(wide.c_str(), static_cast<DWORD>(full.size()), full.data(), nullptr));
  if (full.size() < shortName) return full;
  if (full.rfind(LR"(\\)", 0) == 0) return LR"(\\?\UNC)" + full.substr(1);
  return LR"(\\?\)" + full;
}

std::wstring WindowsName(const std::string& name) {
  const std::wstring full = FullWindowsName(name);
  return IsPrefixed(full) ? full : WideOf(name);  // so that names of devices stay what they are
}

std::string Utf8Of(const std::wstring& text) {
  const int size = static_cast<int>(text.size());
  std::string utf8(static_cast<size_t>(WideCharToMultiByte(CP_UTF8, 0, text.data(), size, nullptr,
                                                           0, nullptr, nullptr)),
                   0);
  WideCharToMultiByte(CP_UTF8, 0, text.data(), size, utf8.data(), static_cast<int>(utf8.size()),
                      nullptr, nullptr);
  return utf8;
}
