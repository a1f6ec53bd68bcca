#include "tests/support/seccomp_child.h"

#include <linux/filter.h>
#include <linux/seccomp.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstddef>

#include "tests/support/realtime_guard.h"

namespace {

constexpr unsigned kTimeoutSeconds = 60;

// What the child tells its parent, in memory both see.
struct Report {
  volatile bool sealed = false;
  volatile bool done = false;
  volatile int systemCall = -1;
};

Report* report = nullptr;

void noteSystemCall(int, siginfo_t* info, void*) {
  report->systemCall = info->si_syscall;
  _exit(0);
}

// As SECCOMP_MODE_STRICT, but without read and write, and possible in a process that a container
// has already put under a filter.
bool seal() {
  struct sigaction action = {};
  action.sa_sigaction = noteSystemCall;
  action.sa_flags = SA_SIGINFO;
  if (sigaction(SIGSYS, &action, nullptr) != 0) return false;

  sock_filter rules[] = {
      BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr)),
      BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, SYS_exit_group, 1, 0),
      BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_TRAP),
      BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW),
  };
  const sock_fprog program = {std::size(rules), rules};
  return prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) == 0 &&
         prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &program) == 0;
}

[[noreturn]] void runChild(const std::function<void()>& prepare,
                           const std::function<void()>& process) {
  alarm(kTimeoutSeconds);
  prepare();
  report->sealed = seal();
  if (report->sealed) process();
  report->done = true;
  _exit(0);
}

SeccompEnd endOfChild(pid_t child) {
  int status = 0;
  if (waitpid(child, &status, 0) != child || WIFSIGNALED(status)) return {SeccompEnd::kCrashed};
  if (!report->sealed) return {};
  if (report->systemCall >= 0) return {"made system call " + std::to_string(report->systemCall)};
  return {report->done ? SeccompEnd::kClean : SeccompEnd::kCrashed};
}

}  // namespace

SeccompEnd runUnderSeccomp(const std::function<void()>& prepare,
                           const std::function<void()>& process) {
  if (CORVANTHELIS_SANITIZED != 0) return {};
  static void* const shared =
      mmap(nullptr, sizeof(Report), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
  report = new (shared) Report;
  const pid_t child = fork();
  if (child == 0) runChild(prepare, process);
  return endOfChild(child);
}
