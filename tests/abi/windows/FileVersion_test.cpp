// The version resource of the two DLLs: name, version, description.

#include <gtest/gtest.h>
#include <windows.h>

#include <string>
#include <vector>

namespace {

// A text of the version resource of a DLL beside the program.
std::wstring Shown(const wchar_t* file, const std::wstring& name) {
  DWORD ignored = 0;
  std::vector<char> resource(GetFileVersionInfoSizeW(file, &ignored));
  void* text = nullptr;
  UINT length = 0;
  if (resource.empty() ||
      !GetFileVersionInfoW(file, 0, static_cast<DWORD>(resource.size()), resource.data()) ||
      !VerQueryValueW(resource.data(), (L"\\StringFileInfo\\040904B0\\" + name).c_str(), &text, &length)) {
    return L"nothing";
  }
  return static_cast<const wchar_t*>(text);
}

// The version as four numbers, as installers compare it.
std::string Number(const wchar_t* file) {
  DWORD ignored = 0;
  std::vector<char> resource(GetFileVersionInfoSizeW(file, &ignored));
  void* fixed = nullptr;
  UINT length = 0;
  if (resource.empty() ||
      !GetFileVersionInfoW(file, 0, static_cast<DWORD>(resource.size()), resource.data()) ||
      !VerQueryValueW(resource.data(), L"\\", &fixed, &length)) {
    return "none";
  }
  const auto& info = *static_cast<const VS_FIXEDFILEINFO*>(fixed);
  return std::to_string(HIWORD(info.dwFileVersionMS)) + '.' + std::to_string(LOWORD(info.dwFileVersionMS)) +
         '.' + std::to_string(HIWORD(info.dwFileVersionLS));
}

TEST(FileVersion, IsTheProjects) {
  const std::string version = PROJECT_VERSION;
  const std::wstring wide(version.begin(), version.end());
  for (const wchar_t* file : {L"DbmsAPI.dll", L"sqlapi.dll"}) {
    EXPECT_EQ(Shown(file, L"FileVersion"), wide);
    EXPECT_EQ(Shown(file, L"ProductVersion"), wide);
    EXPECT_EQ(Shown(file, L"ProductName"), L"DbmsAPI");
    EXPECT_EQ(Shown(file, L"OriginalFilename"), file);
    EXPECT_EQ(Number(file), version);
  }
}

TEST(FileVersion, DescribesTheLibraries) {
  EXPECT_EQ(Shown(L"DbmsAPI.dll", L"FileDescription"), L"Database access library of a SCADA runtime");
  EXPECT_EQ(Shown(L"sqlapi.dll", L"FileDescription"), L"Client layer of DbmsAPI over libpq");
}

}  // namespace
