/** @file Files and folders for their owner alone, on Windows. */
#pragma once

#include <windows.h>
// It needs the types of windows.h.
#include <sddl.h>

#include <string>
#include <system_error>

#include "utf8_path.h"

namespace host::os {

/** What new files and folders get so that their owner and the system alone can use them. */
class PrivateAccess {
 public:
  PrivateAccess() {
    // The owner, administrators and the system; also for what is made in a folder.
    constexpr const wchar_t* access = L"D:P(A;OICI;FA;;;OW)(A;OICI;FA;;;BA)(A;OICI;FA;;;SY)";
    if (ConvertStringSecurityDescriptorToSecurityDescriptorW(access, SDDL_REVISION_1, &descriptor_,
                                                             nullptr) == 0) {
      throw std::system_error(static_cast<int>(GetLastError()), std::system_category());
    }
  }
  ~PrivateAccess() { LocalFree(descriptor_); }
  PrivateAccess(const PrivateAccess&) = delete;
  PrivateAccess& operator=(const PrivateAccess&) = delete;

  SECURITY_ATTRIBUTES* attributes() {
    attributes_ = {sizeof attributes_, descriptor_, FALSE};
    return &attributes_;
  }

 private:
  PSECURITY_DESCRIPTOR descriptor_ = nullptr;
  SECURITY_ATTRIBUTES attributes_{};
};

/** Whether a file has rights of its own, as private ones do, and not those of its folder. */
inline bool has_own_access(const std::string& path) {
  DWORD size = 0;
  const std::wstring wide = utf8_path(path).wstring();
  GetFileSecurityW(wide.c_str(), DACL_SECURITY_INFORMATION, nullptr, 0, &size);
  std::string buffer(size, '\0');
  SECURITY_DESCRIPTOR_CONTROL control = 0;
  DWORD revision = 0;
  return size > 0 &&
         GetFileSecurityW(wide.c_str(), DACL_SECURITY_INFORMATION, buffer.data(), size, &size) !=
             0 &&
         GetSecurityDescriptorControl(buffer.data(), &control, &revision) != 0 &&
         (control & SE_DACL_PROTECTED) != 0;
}

}  // namespace host::os
