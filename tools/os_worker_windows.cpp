#include <windows.h>
// It needs the types of windows.h.
#include <stdio.h>
#include <stdlib.h>

#include <csignal>
#include <cwchar>
#include <string>
#include <vector>

#include "error.h"
#include "os_worker.h"

namespace tool::os {

namespace {

/** Tells a process that it is a worker, and the handle of the memory that it shares. */
constexpr const wchar_t* worker_variable = L"ZOLP_WORKER_MEMORY";

struct CrashName {
  DWORD code;
  const char* name;
};

/** What the system ends a process with that crashes; empty for an exit code of its own. */
std::string crash_text(DWORD code) {
  static constexpr CrashName names[] = {{0xC0000005, "an access violation"},
                                        {0xC00000FD, "a stack overflow"},
                                        {0xC0000094, "a division by zero"},
                                        {0xC000001D, "an illegal instruction"},
                                        {0x40000015, "SIGABRT"},
                                        {0xC0000374, "heap corruption"},
                                        {0xC0000409, "a fast failure"}};
  for (const CrashName& known : names) {
    if (known.code == code) {
      return known.name;
    }
  }
  char text[32];
  std::snprintf(text, sizeof text, "exception 0x%08lX", static_cast<unsigned long>(code));
  // Errors and warnings of the system have one of the two highest bits.
  return code >= 0xC0000000 || (code & 0xF0000000) == 0x80000000 ? text : "";
}

/** What `abort` ends a worker with: by itself it would look like any other exit. */
constexpr UINT abort_code = 0x40000015;

void end_aborted(int) {
  TerminateProcess(GetCurrentProcess(), abort_code);
}

/** Control-C reaches both processes: this one goes on, to see how the worker ends. */
BOOL WINAPI note_request(DWORD) {
  return TRUE;
}

[[noreturn]] void refuse_to_start() {
  throw Error("a process for handlers cannot be started (system error " +
                  std::to_string(GetLastError()) + ")",
              "make room for the program");
}

/** All processes of a job end with the last handle of it. */
HANDLE job_of_workers() {
  static const HANDLE job = [] {
    const HANDLE made = CreateJobObjectW(nullptr, nullptr);
    JOBOBJECT_EXTENDED_LIMIT_INFORMATION limits{};
    limits.BasicLimitInformation.LimitFlags = JOB_OBJECT_LIMIT_KILL_ON_JOB_CLOSE;
    SetInformationJobObject(made, JobObjectExtendedLimitInformation, &limits, sizeof limits);
    return made;
  }();
  return job;
}

}  // namespace

Worker::Worker(std::size_t shared_size) : shared_size_(shared_size) {
  wchar_t handle_text[32];
  const DWORD length = GetEnvironmentVariableW(worker_variable, handle_text, 32);
  is_here_ = length > 0 && length < 32;
  HANDLE memory = nullptr;
  if (is_here_) {
    SetEnvironmentVariableW(worker_variable, nullptr);
    memory = reinterpret_cast<HANDLE>(std::wcstoull(handle_text, nullptr, 10));
    SetErrorMode(SEM_FAILCRITICALERRORS | SEM_NOGPFAULTERRORBOX);  // nobody is there to answer
    std::signal(SIGABRT, end_aborted);
  } else {
    SECURITY_ATTRIBUTES inherited{sizeof inherited, nullptr, TRUE};
    memory = CreateFileMappingW(INVALID_HANDLE_VALUE, &inherited, PAGE_READWRITE, 0,
                                static_cast<DWORD>(shared_size), nullptr);
  }
  shared_ =
      memory != nullptr ? MapViewOfFile(memory, FILE_MAP_ALL_ACCESS, 0, 0, shared_size) : nullptr;
  if (shared_ == nullptr) {
    refuse_to_start();
  }
  if (is_here_) {
    return;
  }
  fflush(nullptr);
  SetConsoleCtrlHandler(note_request, TRUE);
  SetEnvironmentVariableW(worker_variable,
                          std::to_wstring(reinterpret_cast<unsigned long long>(memory)).c_str());
  std::wstring program(32768, L'\0');
  program.resize(GetModuleFileNameW(nullptr, program.data(), static_cast<DWORD>(program.size())));
  std::wstring command_line = GetCommandLineW();
  STARTUPINFOW startup{};
  startup.cb = sizeof startup;
  PROCESS_INFORMATION started{};
  const bool is_started =
      CreateProcessW(program.c_str(), command_line.data(), nullptr, nullptr, TRUE, CREATE_SUSPENDED,
                     nullptr, nullptr, &startup, &started) != 0;
  SetEnvironmentVariableW(worker_variable, nullptr);
  if (!is_started) {
    refuse_to_start();
  }
  AssignProcessToJobObject(job_of_workers(), started.hProcess);
  ResumeThread(started.hThread);
  CloseHandle(started.hThread);
  CloseHandle(memory);
  id_ = started.dwProcessId;
  process_ = reinterpret_cast<std::intptr_t>(started.hProcess);
}

Worker::~Worker() {
  if (is_here_) {
    return;  // it tells what it does until the end
  }
  if (process_ != 0) {
    kill();
    wait(-1);
  }
  UnmapViewOfFile(shared_);
  SetConsoleCtrlHandler(note_request, FALSE);
}

bool Worker::wait(int milliseconds) {
  if (process_ == 0) {
    return true;
  }
  const HANDLE process = reinterpret_cast<HANDLE>(process_);
  const DWORD limit = milliseconds < 0 ? INFINITE : static_cast<DWORD>(milliseconds);
  if (WaitForSingleObject(process, limit) == WAIT_TIMEOUT) {
    return false;
  }
  DWORD code = 0;
  GetExitCodeProcess(process, &code);
  CloseHandle(process);
  process_ = 0;
  end_.is_own = code == STATUS_CONTROL_C_EXIT;
  end_.crash = end_.is_own ? "" : crash_text(code);
  end_.signal = end_.crash.empty() ? 0 : static_cast<int>(code);
  end_.exit_code = static_cast<int>(code);
  return true;
}

void Worker::kill() {
  if (process_ != 0) {
    TerminateProcess(reinterpret_cast<HANDLE>(process_), 1);
  }
}

void end_like(const ProcessEnd& end) {
  fflush(nullptr);
  ExitProcess(static_cast<UINT>(end.exit_code));
}

void print_at_once() {
  setvbuf(stdout, nullptr, _IONBF, 0);  // there are no lines between that and all at once
}

}  // namespace tool::os
