#include "isolation/sandbox.hpp"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <stdlib.h>
#include <sys/ioctl.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/ptrace.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <fstream>
#include <functional>
#include <ostream>
#include <string>
#include <thread>
#include <vector>

#include "support/row_name.hpp"
#include "support/temp_folder.hpp"

namespace {

namespace fs = std::filesystem;
using KQ::isolation::enterSandbox;
using KQ::isolation::SandboxRules;

/// The files of an attempt.
struct Place {
  fs::path folder;        ///< nothing in this folder may change
  fs::path file;          ///< in that folder
  fs::path dictionaries;  ///< may change
};

/// Returns 0 if a system call succeeded, otherwise its error number.
int errorOf(long result) {
  return result < 0 ? errno : 0;
}

int makeFile(const fs::path& file) {
  return errorOf(open(file.c_str(), O_CREAT | O_WRONLY | O_CLOEXEC, 0600));
}

/// Runs work in a child process. \return its exit status, or 1000 + the signal that ended it
int inChild(const std::function<int()>& work) {
  const pid_t child = fork();
  if (child == 0) {
    _exit(work());
  }
  int status = 0;
  EXPECT_EQ(waitpid(child, &status, 0), child);
  return WIFEXITED(status) ? WEXITSTATUS(status) : 1000 + WTERMSIG(status);
}

struct Attempt {
  const char* name;
  int (*run)(const Place&);
  std::vector<int> expected;  ///< error numbers, any of them
};

std::ostream& operator<<(std::ostream& out, const Attempt& attempt) {
  return out << attempt.name;
}

class Sandbox : public testing::TestWithParam<Attempt> {
 protected:
  Sandbox() {
    fs::create_directory(place.folder);
    std::ofstream(place.file) << "text";
  }

  SandboxRules rules() const { return {{place.dictionaries.string()}}; }

  test::TempFolder folder;
  const fs::path root = folder.path().string();
  const Place place{root / "folder", root / "folder/file", root / "home/dictionaries"};
};

TEST_P(Sandbox, AnswersAnAttempt) {
  const int result = inChild([&] {
    enterSandbox(rules());
    return GetParam().run(place);
  });
  EXPECT_THAT(GetParam().expected, testing::Contains(result));
}

const Attempt refused[] = {
    {"RunningAProgram",
     [](const Place&) {
       char name[] = "/bin/true";
       char* arguments[] = {name, nullptr};
       return errorOf(execv(name, arguments));
     },
     {EPERM}},
    {"Forking",
     [](const Place&) {
       const pid_t child = fork();
       if (child == 0) {
         _exit(0);
       }
       return errorOf(child);
     },
     {EPERM}},
    {"AnInternetSocket",
     [](const Place&) { return errorOf(socket(AF_INET, SOCK_STREAM, 0)); },
     {EPERM}},
    {"ALocalSocket",
     [](const Place&) { return errorOf(socket(AF_UNIX, SOCK_STREAM, 0)); },
     {EPERM}},
    {"APairOfSockets",
     [](const Place&) {
       int pair[2];
       return errorOf(socketpair(AF_UNIX, SOCK_STREAM, 0, pair));
     },
     {EPERM}},
    {"AnInputOutputRing",
     [](const Place&) { return errorOf(syscall(SYS_io_uring_setup, 1, nullptr)); },
     {EPERM}},
    {"TracingItsParent",
     [](const Place&) { return errorOf(ptrace(PTRACE_ATTACH, getppid(), nullptr, nullptr)); },
     {EPERM}},
    {"KillingItsParent", [](const Place&) { return errorOf(kill(getppid(), 0)); }, {EPERM}},
    {"KillingItsGroup", [](const Place&) { return errorOf(kill(0, 0)); }, {EPERM}},
    {"LimitingItsParent",
     [](const Place&) {
       const rlimit none{0, 0};
       return errorOf(prlimit(getppid(), RLIMIT_NOFILE, &none, nullptr));
     },
     {EPERM}},
    {"ReadingItsParentsMemory",
     [](const Place&) {
       const std::string file = "/proc/" + std::to_string(getppid()) + "/mem";
       return errorOf(open(file.c_str(), O_RDONLY | O_CLOEXEC));
     },
     {EACCES, EPERM}},
    {"MakingAFile", [](const Place& place) { return makeFile(place.folder / "new"); }, {EACCES}},
    {"WritingAFile",
     [](const Place& place) { return errorOf(open(place.file.c_str(), O_WRONLY | O_CLOEXEC)); },
     {EACCES}},
    {"CuttingAFileShort",
     [](const Place& place) { return errorOf(truncate(place.file.c_str(), 0)); },
     {EPERM}},
    {"CuttingAFileShortByReading",
     [](const Place& place) {
       return errorOf(open(place.file.c_str(), O_RDONLY | O_TRUNC | O_CLOEXEC));
     },
     {EPERM, EACCES}},
    {"RemovingAFile",
     [](const Place& place) { return errorOf(unlink(place.file.c_str())); },
     {EACCES}},
    {"MovingAFileAway",
     [](const Place& place) {
       return errorOf(rename(place.file.c_str(), (place.dictionaries / "stolen").c_str()));
     },
     {EACCES, EXDEV}},
    {"MakingAFolder",
     [](const Place& place) { return errorOf(mkdir((place.folder / "new").c_str(), 0700)); },
     {EACCES}},
    {"MakingALink",
     [](const Place& place) {
       return errorOf(symlink("/etc/passwd", (place.dictionaries / "link").c_str()));
     },
     {EACCES}},
    {"ChangingAMode",
     [](const Place& place) { return errorOf(chmod(place.file.c_str(), 0777)); },
     {EPERM}},
    {"ChangingAnOwner",
     [](const Place& place) { return errorOf(chown(place.file.c_str(), getuid(), getgid())); },
     {EPERM}},
    {"TypingIntoTheTerminal",
     [](const Place&) {
       // The kernel ignores the upper half of a request.
       return errorOf(syscall(SYS_ioctl, 0, 0x100000000UL | TIOCSTI, "x"));
     },
     {EPERM}},
    {"LiftingItsMemoryLimit",
     [](const Place&) {
       rlimit limits{};
       getrlimit(RLIMIT_CORE, &limits);
       limits.rlim_max = 1;
       return errorOf(setrlimit(RLIMIT_CORE, &limits));
     },
     {EPERM}},
    {"GainingPrivileges",
     [](const Place&) { return prctl(PR_GET_NO_NEW_PRIVS, 0, 0, 0, 0) == 1 ? EPERM : 0; },
     {EPERM}},
    {"Mounting",
     [](const Place& place) {
       return errorOf(syscall(SYS_mount, "none", place.folder.c_str(), "tmpfs", 0, nullptr));
     },
     {EPERM}},
};

INSTANTIATE_TEST_SUITE_P(Refuses, Sandbox, testing::ValuesIn(refused), test::RowName());

const Attempt granted[] = {
    {"ReadingAFile",
     [](const Place& place) { return errorOf(open(place.file.c_str(), O_RDONLY | O_CLOEXEC)); },
     {0}},
    {"ListingAFolder",
     [](const Place& place) {
       std::error_code error;
       const fs::directory_iterator entries(place.folder, error);
       return error ? error.value() : 0;
     },
     {0}},
    {"AThread",
     [](const Place&) {
       int result = EAGAIN;
       std::thread([&] { result = 0; }).join();
       return result;
     },
     {0}},
    {"WritingADictionary",
     [](const Place& place) { return makeFile(place.dictionaries / "French"); },
     {0}},
    {"ReplacingADictionary",
     [](const Place& place) {
       makeFile(place.dictionaries / "French.new");
       makeFile(place.dictionaries / "French");
       return errorOf(rename((place.dictionaries / "French.new").c_str(),
                             (place.dictionaries / "French").c_str()));
     },
     {0}},
    {"AMemoryFile",
     [](const Place&) { return errorOf(memfd_create("text", MFD_CLOEXEC | MFD_ALLOW_SEALING)); },
     {0}},
    {"DyingByItsOwnSignal",
     [](const Place&) {
       signal(SIGABRT, SIG_DFL);
       abort();
       return 0;
     },
     {1000 + SIGABRT}},
};

INSTANTIATE_TEST_SUITE_P(Grants, Sandbox, testing::ValuesIn(granted), test::RowName());

class SandboxAsAWhole : public Sandbox {};

TEST_F(SandboxAsAWhole, ReportsEachStepAsHolding) {
  const int missing =
      inChild([&] { return static_cast<int>(enterSandbox(rules()).missing.size()); });
  EXPECT_EQ(missing, 0);
}

TEST_F(SandboxAsAWhole, MakesMissingFoldersForTheirOwnerAlone) {
  const int mode = inChild([&] {
    umask(0);
    enterSandbox(rules());
    struct stat status {};
    return stat(place.dictionaries.c_str(), &status) == 0 ? status.st_mode & 0077 : 1;
  });
  EXPECT_EQ(mode, 0);
  EXPECT_TRUE(fs::is_directory(place.dictionaries));
}

TEST_F(SandboxAsAWhole, GoesOnWithoutAFolderThatCannotBeMade) {
  const int result = inChild([&] {
    const auto report = enterSandbox({{(place.file / "below/a/file").string()}});
    return static_cast<int>(report.missing.size()) +
           (makeFile(place.folder / "new") == EACCES ? 0 : 9);
  });
  EXPECT_EQ(result, 0);
}

TEST_F(SandboxAsAWhole, HoldsInThreadsStartedLater) {
  const int result = inChild([&] {
    enterSandbox(rules());
    int error = 0;
    std::thread([&] { error = makeFile(place.folder / "new"); }).join();
    return error;
  });
  EXPECT_EQ(result, EACCES);
}

TEST_F(SandboxAsAWhole, LimitsMemory) {
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
  constexpr int expected = 0;  // a sanitizer's own memory would exceed any limit
#else
  constexpr int expected = ENOMEM;
#endif
  const int result = inChild([&] {
    SandboxRules small = rules();
    small.memory = 64 << 20;
    enterSandbox(small);
    return mmap(nullptr, 65 << 20, PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0) ==
                   MAP_FAILED
               ? errno
               : 0;
  });
  EXPECT_EQ(result, expected);
}

TEST_F(SandboxAsAWhole, LeavesAPrivilegedProcessTheRightToReadAlone) {
  if (geteuid() != 0) {
    GTEST_SKIP() << "needs a privileged process";
  }
  const int effective = inChild([&] {
    enterSandbox({});
    std::ifstream status("/proc/self/status");
    for (std::string line; std::getline(status, line);) {
      if (line.rfind("CapEff:", 0) == 0) {
        return static_cast<int>(std::stoull(line.substr(7), nullptr, 16));
      }
    }
    return -1;
  });
  constexpr int readSearch = 1 << 2;
  EXPECT_EQ(effective, readSearch);
}

}  // namespace
