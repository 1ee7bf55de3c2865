#include "isolation/sandbox.hpp"

#include <asm/ioctls.h>
#include <fcntl.h>
#include <linux/capability.h>
#include <linux/landlock.h>
#include <linux/sched.h>
#include <seccomp.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstddef>
#include <cstring>
#include <filesystem>
#include <utility>

namespace KQ::isolation {

namespace {

namespace fs = std::filesystem;

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr bool isSanitized = true;
#else
constexpr bool isSanitized = false;
#endif

class Step {
 public:
  Step(SandboxReport& report, std::string name) : report(report), name(std::move(name)) {}

  /// Adds the step to the report, by whether it failed and why.
  void finish(bool succeeded, const std::string& reason) {
    (succeeded ? report.holding : report.missing)
        .push_back(succeeded ? name : name + ": not so, " + reason);
  }
  void finish(bool succeeded) { finish(succeeded, std::strerror(errno)); }

 private:
  SandboxReport& report;
  const std::string name;
};

// Privileges ----------------------------------------------------------------------------------

bool dropCapabilities() {
  for (unsigned long capability = 0; capability <= CAP_LAST_CAP; ++capability) {
    // A process without privileges cannot drop what it has not: no failure.
    prctl(PR_CAPBSET_DROP, capability, 0, 0, 0);
  }
  prctl(PR_CAP_AMBIENT, PR_CAP_AMBIENT_CLEAR_ALL, 0, 0, 0);
  __user_cap_header_struct header{_LINUX_CAPABILITY_VERSION_3, 0};
  std::array<__user_cap_data_struct, _LINUX_CAPABILITY_U32S_3> sets{};
  if (syscall(SYS_capget, &header, sets.data()) != 0) {
    return false;
  }
  // A host of the system may keep its packages where only its right to read all files reaches them.
  const std::uint32_t kept = 1U << CAP_DAC_READ_SEARCH;
  sets[0] = {sets[0].effective & kept, sets[0].permitted & kept, 0};
  sets[1] = {};
  return syscall(SYS_capset, &header, sets.data()) == 0;
}

// Files ---------------------------------------------------------------------------------------

// Rights that later kernels know; the system's header may be older.
constexpr std::uint64_t truncateRight = 1ULL << 14;  // since version 3
constexpr std::uint64_t ioctlRight = 1ULL << 15;     // since version 5

struct NewerRuleset {
  std::uint64_t files;
  std::uint64_t network;
  std::uint64_t scoped;
};

constexpr std::uint64_t readRights = LANDLOCK_ACCESS_FS_READ_FILE | LANDLOCK_ACCESS_FS_READ_DIR;
constexpr std::uint64_t firstVersionRights = (LANDLOCK_ACCESS_FS_MAKE_SYM << 1) - 1;

/// What the rules of the kernel's version can forbid.
NewerRuleset forbidden(long version) {
  constexpr std::uint64_t bindAndConnect = 3;
  constexpr std::uint64_t abstractSocketsAndSignals = 3;
  NewerRuleset rules{firstVersionRights, 0, 0};
  rules.files |= version >= 2 ? LANDLOCK_ACCESS_FS_REFER : 0;
  rules.files |= version >= 3 ? truncateRight : 0;
  rules.files |= version >= 5 ? ioctlRight : 0;
  rules.network = version >= 4 ? bindAndConnect : 0;
  rules.scoped = version >= 6 ? abstractSocketsAndSignals : 0;
  return rules;
}

class Descriptor {
 public:
  explicit Descriptor(long number) : number(static_cast<int>(number)) {}
  ~Descriptor() {
    if (number >= 0) {
      close(number);
    }
  }
  Descriptor(const Descriptor&) = delete;
  Descriptor& operator=(const Descriptor&) = delete;

  const int number;
};

/// Allows rights beneath a path. \return whether there is such a path, too
bool allow(const Descriptor& ruleset, const std::string& path, std::uint64_t rights) {
  const Descriptor folder(open(path.c_str(), O_PATH | O_CLOEXEC));
  const landlock_path_beneath_attr rule{rights, folder.number};
  return folder.number >= 0 &&
         syscall(SYS_landlock_add_rule, ruleset.number, LANDLOCK_RULE_PATH_BENEATH, &rule, 0) == 0;
}

/// Makes a folder, and those above it, for their owner alone.
void makePrivateFolder(const fs::path& folder) {
  fs::path made;
  for (const fs::path& part : folder) {
    made /= part;
    mkdir(made.c_str(), S_IRWXU);
  }
}

bool restrictFiles(const SandboxRules& rules) {
  const long version =
      syscall(SYS_landlock_create_ruleset, nullptr, 0, LANDLOCK_CREATE_RULESET_VERSION);
  if (version < 1) {
    return false;
  }
  const NewerRuleset all = forbidden(version);
  // A kernel that does not know the newer fields refuses a size that holds them.
  const std::size_t size = version >= 6   ? sizeof all
                           : version >= 4 ? offsetof(NewerRuleset, scoped)
                                          : offsetof(NewerRuleset, network);
  const Descriptor ruleset(syscall(SYS_landlock_create_ruleset, &all, size, 0));
  if (ruleset.number < 0 || !allow(ruleset, "/", readRights)) {
    return false;
  }
  constexpr std::uint64_t changeRights = LANDLOCK_ACCESS_FS_WRITE_FILE |
                                         LANDLOCK_ACCESS_FS_MAKE_REG |
                                         LANDLOCK_ACCESS_FS_REMOVE_FILE | truncateRight;
  allow(ruleset, "/dev/null", LANDLOCK_ACCESS_FS_WRITE_FILE);
  for (const std::string& folder : rules.writableFolders) {
    makePrivateFolder(folder);
    allow(ruleset, folder, (changeRights & all.files) | readRights);
  }
  return syscall(SYS_landlock_restrict_self, ruleset.number, 0) == 0;
}

// System calls --------------------------------------------------------------------------------

/// What is always refused. A name that the architecture does not have is passed over.
constexpr std::array refusedCalls{
    // other programs and processes
    "execve", "execveat", "fork", "vfork", "ptrace", "process_vm_readv", "process_vm_writev",
    "process_madvise", "kcmp", "pidfd_open", "pidfd_getfd", "pidfd_send_signal", "tkill",
    // sockets; io_uring would open them unseen
    "socket", "socketpair", "socketcall", "connect", "bind", "listen", "accept", "accept4",
    "io_uring_setup", "io_uring_enter", "io_uring_register",
    // what the rules for files do not cover
    "chmod", "fchmod", "fchmodat", "fchmodat2", "chown", "lchown", "fchown", "fchownat", "setxattr",
    "lsetxattr", "fsetxattr", "removexattr", "lremovexattr", "fremovexattr", "utime", "utimes",
    "futimesat", "utimensat", "open_by_handle_at", "mknod", "mknodat", "truncate", "truncate64",
    // the system
    "mount", "umount", "umount2", "move_mount", "open_tree", "fsopen", "fsmount", "fsconfig",
    "mount_setattr", "pivot_root", "chroot", "setns", "unshare", "reboot", "kexec_load",
    "kexec_file_load", "init_module", "finit_module", "delete_module", "bpf", "perf_event_open",
    "keyctl", "add_key", "request_key", "userfaultfd", "swapon", "swapoff", "acct", "quotactl",
    "quotactl_fd", "sethostname", "setdomainname", "settimeofday", "clock_settime", "adjtimex",
    "clock_adjtime", "syslog", "iopl", "ioperm", "vhangup", "shmget", "msgget", "semget",
    "mq_open"};

class Filter {
 public:
  Filter() : context(seccomp_init(SCMP_ACT_ALLOW)) {}
  ~Filter() { seccomp_release(context); }
  Filter(const Filter&) = delete;
  Filter& operator=(const Filter&) = delete;

  template <typename... Conditions>
  void refuse(const char* call, std::uint32_t action, Conditions... conditions) {
    const int number = seccomp_syscall_resolve_name(call);
    if (number == __NR_SCMP_ERROR) {
      return;
    }
    const std::array<scmp_arg_cmp, sizeof...(conditions)> all{conditions...};
    note(seccomp_rule_add_array(context, action, number, all.size(), all.data()));
  }

  /// \return 0, or an error number
  int load() {
    note(seccomp_attr_set(context, SCMP_FLTATR_CTL_TSYNC, 1));
    if (error == 0) {
      note(seccomp_load(context));
    }
    return error;
  }

 private:
  void note(int result) { error = error == 0 ? -result : error; }

  scmp_filter_ctx context;
  int error = 0;
};

constexpr std::uint32_t refusal = SCMP_ACT_ERRNO(EPERM);

/// What depends on the arguments: threads may be started, and the process may signal itself.
void refuseByArguments(Filter& filter) {
  const auto self = static_cast<scmp_datum_t>(getpid());
  for (const char* call : {"kill", "tgkill", "rt_sigqueueinfo", "rt_tgsigqueueinfo"}) {
    filter.refuse(call, refusal, scmp_arg_cmp{0, SCMP_CMP_NE, self, 0});
  }
  // 0 stands for the caller.
  for (const char* call : {"prlimit64", "sched_setscheduler", "sched_setaffinity"}) {
    filter.refuse(call, refusal, scmp_arg_cmp{0, SCMP_CMP_NE, 0, 0});
  }
  filter.refuse("setpriority", refusal, scmp_arg_cmp{1, SCMP_CMP_NE, 0, 0});
  // Older kernels let a file be cut short through a descriptor that may only read.
  filter.refuse("open", refusal,
                scmp_arg_cmp{1, SCMP_CMP_MASKED_EQ, O_TRUNC | O_ACCMODE, O_TRUNC | O_RDONLY});
  filter.refuse("openat", refusal,
                scmp_arg_cmp{2, SCMP_CMP_MASKED_EQ, O_TRUNC | O_ACCMODE, O_TRUNC | O_RDONLY});
  filter.refuse("openat2", SCMP_ACT_ERRNO(ENOSYS));
  filter.refuse("clone", refusal, scmp_arg_cmp{0, SCMP_CMP_MASKED_EQ, CLONE_THREAD, 0});
  // Its flags lie in memory, where a filter cannot look; the C library then calls clone().
  filter.refuse("clone3", SCMP_ACT_ERRNO(ENOSYS));
  // Would type into the terminal that the host was started from.
  filter.refuse("ioctl", refusal, scmp_arg_cmp{1, SCMP_CMP_MASKED_EQ, 0xFFFFFFFF, TIOCSTI});
  filter.refuse("ioctl", refusal, scmp_arg_cmp{1, SCMP_CMP_MASKED_EQ, 0xFFFFFFFF, TIOCLINUX});
}

int filterSystemCalls() {
  Filter filter;
  for (const char* call : refusedCalls) {
    filter.refuse(call, refusal);
  }
  refuseByArguments(filter);
  return filter.load();
}

// Limits --------------------------------------------------------------------------------------

bool limit(decltype(RLIMIT_AS) resource, rlim_t value) {
  rlimit limits{};
  if (getrlimit(resource, &limits) != 0) {
    return false;
  }
  const rlim_t lowered = std::min(value, limits.rlim_max);
  limits = {lowered, lowered};
  return setrlimit(resource, &limits) == 0;
}

}  // namespace

SandboxReport enterSandbox(const SandboxRules& rules) {
  SandboxReport report;
  Step(report, "no core files are written").finish(limit(RLIMIT_CORE, 0));
  if (rules.memory != 0 && !isSanitized) {
    Step(report, "memory is limited to " + std::to_string(rules.memory >> 20) + " MiB")
        .finish(limit(RLIMIT_AS, rules.memory));
  }
  Step(report, "privileges cannot be gained").finish(prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) == 0);
  Step(report, "files are read-only but for the user's dictionaries").finish(restrictFiles(rules));
  Step(report, "capabilities are dropped").finish(dropCapabilities());
  const int error = filterSystemCalls();
  Step(report, "system calls are filtered").finish(error == 0, std::strerror(error));
  return report;
}

}  // namespace KQ::isolation
