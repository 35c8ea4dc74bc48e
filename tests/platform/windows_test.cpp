// The library as a host on Windows meets it: loaded at run time, its functions
// found by name, its strings COM's own; and what happens when Windows gives no
// worker thread.
#include <windows.h>

#include <gtest/gtest.h>
#include <oleauto.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <future>
#include <stdexcept>
#include <string>

#include "support/made_templates.h"

namespace {

using made::Bytes;

// A function of the loaded library, as the header declares it.
#define LOADED(name) reinterpret_cast<decltype(&(name))>(Address(#name))

class WindowsTest : public testing::Test {
 protected:
  void SetUp() override {
    ASSERT_NE(library, nullptr);
    ASSERT_EQ(LOADED(VXM_Create)(&matcher), VXM_OK);
  }

  void TearDown() override {
    EXPECT_EQ(LOADED(VXM_Delete)(matcher), VXM_OK);
    EXPECT_TRUE(FreeLibrary(library));
  }

  void* Address(const char* name) const {
    void* address = reinterpret_cast<void*>(GetProcAddress(library, name));
    if (address == nullptr) ADD_FAILURE() << "no " << name;
    return address;
  }

  const Bytes probe = made::Touch(TEMPLATE_NATIVE, 1, 1);
  const Bytes mate = made::Touch(TEMPLATE_NATIVE, 1, 2);
  const Bytes impostor = made::Touch(TEMPLATE_NATIVE, 2, 1);
  const unsigned char* const gallery[2] = {impostor.data(), mate.data()};
  const int sizes[2] = {static_cast<int>(impostor.size()), static_cast<int>(mate.size())};
  const int probeSize = static_cast<int>(probe.size());

  HMODULE library = LoadLibraryA("vxmkit.dll");
  MatcherHandle matcher = nullptr;
};

TEST_F(WindowsTest, EveryFunctionIsFoundByNameAndWorks) {
  MatcherHandle second = nullptr;
  EXPECT_EQ(LOADED(VXM_CreateEx)(&second, "text"), VXM_OK);
  EXPECT_EQ(LOADED(VXM_Delete)(second), VXM_OK);

  int value = 6;
  EXPECT_EQ(LOADED(VXM_SetParameter)(matcher, VXM_PARAM_SECURITY_LEVEL, &value), VXM_OK);
  value = 0;
  EXPECT_EQ(LOADED(VXM_GetParameter)(matcher, VXM_PARAM_SECURITY_LEVEL, &value), VXM_OK);
  EXPECT_EQ(value, 6);
  EXPECT_EQ(LOADED(VXM_SetTemplateType)(matcher, TEMPLATE_NATIVE), VXM_OK);
  EXPECT_EQ(LOADED(VXM_GetTemplateType)(matcher, &value), VXM_OK);
  EXPECT_EQ(value, TEMPLATE_NATIVE);

  int output = -1;
  float score = 0.0f;
  EXPECT_EQ(LOADED(VXM_Verify)(matcher, probe.data(), probeSize, mate.data(), sizes[1], &output),
            VXM_OK);
  EXPECT_EQ(output, 1);
  EXPECT_EQ(
      LOADED(VXM_VerifyEx)(matcher, probe.data(), probeSize, gallery[0], sizes[0], &score, &output),
      VXM_OK);
  EXPECT_EQ(output, 0);

  Bytes inBuffer = impostor;
  inBuffer.insert(inBuffer.end(), mate.begin(), mate.end());
  const unsigned char* const buffer[] = {inBuffer.data()};
  const auto expectMate = [&](int status) {
    EXPECT_EQ(status, VXM_OK);
    EXPECT_EQ(output, 1);
    output = -1;
  };
  expectMate(LOADED(VXM_Identify)(matcher, probe.data(), probeSize, gallery, sizes, 2, 0, &output));
  expectMate(
      LOADED(VXM_IdentifyMT)(matcher, probe.data(), probeSize, gallery, sizes, 2, 0, &output));
  expectMate(
      LOADED(VXM_Identify_J)(matcher, probe.data(), probeSize, buffer, sizes, 2, 0, &output));
  expectMate(
      LOADED(VXM_IdentifyMT_J)(matcher, probe.data(), probeSize, buffer, sizes, 2, 0, &output));
  EXPECT_EQ(LOADED(VXM_AbortIdentify)(matcher), VXM_OK);
  EXPECT_EQ(LOADED(VXM_IdentifyInit)(matcher, probe.data(), probeSize), VXM_OK);
  expectMate(LOADED(VXM_IdentifyNext)(matcher, mate.data(), sizes[1], &output));

  Bytes turned = probe;
  EXPECT_EQ(LOADED(VXM_RotateTemplate)(matcher, turned.data(), probeSize), VXM_OK);
  EXPECT_NE(turned, probe);

  char text[VXM_ERROR_TEXT_SIZE];
  EXPECT_EQ(LOADED(VXM_GetErrorString)(VXM_ERR_MATCH_ABORTED, text), VXM_OK);
  EXPECT_STREQ(text, "ERROR: Match aborted");
  BSTR wide = nullptr;
  EXPECT_EQ(LOADED(VXM_GetErrorString_B)(VXM_ERR_MATCH_ABORTED, &wide), VXM_OK);
  EXPECT_STREQ(wide, L"ERROR: Match aborted");
  EXPECT_EQ(SysStringLen(wide), std::strlen(text));
  SysFreeString(wide);
}

TEST_F(WindowsTest, VersionResourceTellsTheVersion) {
  char bytes[4096];
  ASSERT_TRUE(GetFileVersionInfoA("vxmkit.dll", 0, sizeof(bytes), bytes));
  void* fixed = nullptr;
  UINT length = 0;
  ASSERT_TRUE(VerQueryValueA(bytes, "\\", &fixed, &length));
  const auto* info = static_cast<const VS_FIXEDFILEINFO*>(fixed);
  char told[32];
  std::snprintf(told, sizeof(told), "v%d.%d.%d_", HIWORD(info->dwFileVersionMS),
                LOWORD(info->dwFileVersionMS), HIWORD(info->dwFileVersionLS));
  char version[VXM_PARAMETER_TEXT_SIZE];
  EXPECT_EQ(LOADED(VXM_GetParameter)(matcher, VXM_PARAM_VERSION, version), VXM_OK);
  EXPECT_NE(std::strstr(version, told), nullptr) << version << " " << told;
}

// Puts a function in the place of one that a module imports, for its lifetime.
class ReplacedImport {
 public:
  ReplacedImport(HMODULE module, const char* name, void* replacement)
      : slot_(FindSlot(reinterpret_cast<char*>(module), name)), original_(*slot_) {
    Write(replacement);
  }
  ~ReplacedImport() { Write(original_); }
  ReplacedImport(const ReplacedImport&) = delete;
  ReplacedImport& operator=(const ReplacedImport&) = delete;

 private:
  template <typename T>
  static T* At(char* base, size_t offset) {
    return static_cast<T*>(static_cast<void*>(base + offset));
  }

  static void** FindSlot(char* base, const char* name) {
    const auto* headers =
        At<IMAGE_NT_HEADERS>(base, static_cast<size_t>(At<IMAGE_DOS_HEADER>(base, 0)->e_lfanew));
    const IMAGE_DATA_DIRECTORY& imports =
        headers->OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_IMPORT];
    const auto* imported = At<IMAGE_IMPORT_DESCRIPTOR>(base, imports.VirtualAddress);
    for (; imported->Name != 0; imported++) {
      const auto* entry = At<IMAGE_THUNK_DATA>(base, imported->OriginalFirstThunk);
      void** slot = At<void*>(base, imported->FirstThunk);
      for (; entry->u1.AddressOfData != 0; entry++, slot++) {
        const auto* byName = At<IMAGE_IMPORT_BY_NAME>(base, entry->u1.AddressOfData);
        if (std::strcmp(byName->Name, name) == 0) return slot;
      }
    }
    throw std::runtime_error(std::string("not imported: ") + name);
  }

  void Write(void* function) {
    DWORD before = 0;
    VirtualProtect(slot_, sizeof(*slot_), PAGE_READWRITE, &before);
    *slot_ = function;
    VirtualProtect(slot_, sizeof(*slot_), before, &before);
  }

  void** slot_;
  void* original_;
};

struct {
  int boxes;
  std::string text;
  UINT kind;
  DWORD thread;
} shown;

HANDLE WINAPI NoThread(LPSECURITY_ATTRIBUTES, SIZE_T, LPTHREAD_START_ROUTINE, LPVOID, DWORD,
                       LPDWORD) {
  SetLastError(ERROR_NOT_ENOUGH_MEMORY);
  return nullptr;
}

BOOL WINAPI NoState(HANDLE, LPDWORD) { return FALSE; }

int WINAPI NoteBox(HWND, LPCSTR text, LPCSTR, UINT kind) {
  shown = {shown.boxes + 1, text, kind, GetCurrentThreadId()};
  return IDOK;
}

TEST_F(WindowsTest, AMissingWorkerIsToldAndLeavesNothingLocked) {
  int index = 7;
  const auto search = [&] {
    return LOADED(VXM_IdentifyMT)(matcher, probe.data(), probeSize, gallery, sizes, 2, 0, &index);
  };
  shown = {};
  {
    const ReplacedImport thread(library, "CreateThread", reinterpret_cast<void*>(NoThread));
    const ReplacedImport box(library, "MessageBoxA", reinterpret_cast<void*>(NoteBox));
    EXPECT_EQ(search(), VXM_ERROR);
  }
  EXPECT_EQ(index, -1);
  EXPECT_EQ(shown.boxes, 1);
  EXPECT_EQ(shown.text, "CreateThread is failed");
  EXPECT_EQ(shown.kind & MB_TYPEMASK, static_cast<UINT>(MB_OK));
  EXPECT_EQ(shown.thread, GetCurrentThreadId());

  // From another thread, since this one could take the lock twice.
  auto decision = std::async(std::launch::async, [&] {
    int verified = -1;
    LOADED(VXM_Verify)(matcher, probe.data(), probeSize, mate.data(), sizes[1], &verified);
    return verified;
  });
  if (decision.wait_for(std::chrono::seconds(30)) != std::future_status::ready) std::abort();
  EXPECT_EQ(decision.get(), 1);

  // Where the worker's state cannot be read, its end is waited for all the same.
  const ReplacedImport state(library, "GetExitCodeThread", reinterpret_cast<void*>(NoState));
  EXPECT_EQ(search(), VXM_OK);
  EXPECT_EQ(index, 1);
  EXPECT_EQ(shown.boxes, 1);
}

}  // namespace
