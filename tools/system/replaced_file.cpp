#include "system/replaced_file.hpp"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <boost/filesystem/operations.hpp>
#include <boost/filesystem/path.hpp>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <random>
#include <utility>

#include "system/failure.hpp"

namespace tool {

namespace {

namespace fs = boost::filesystem;

constexpr mode_t permissions = 0666;  // without those that the umask takes away

fs::path followLinks(const std::string& target) {
  boost::system::error_code error;
  const fs::path real = fs::canonical(target, error);
  return error ? fs::path(target) : real;
}

std::string folderOf(const fs::path& place) {
  return place.has_parent_path() ? place.parent_path().string() : ".";
}

std::string unguessableNameBeside(const fs::path& place) {
  std::random_device random;
  std::string name = ".kqtts-";
  for (int i = 0; i < 4; ++i) {
    char digits[16];
    std::snprintf(digits, sizeof digits, "%08x", random());
    name += digits;
  }
  return folderOf(place) + "/" + name;
}

}  // namespace

ReplacedFile::ReplacedFile(const std::string& target, std::string whatToDo)
    : advice(std::move(whatToDo)), place(followLinks(target).string()) {
  boost::system::error_code ignored;
  if (fs::is_directory(place, ignored)) {
    fail(target, "it is a folder");
  }
  file = FileDescriptor(open(folderOf(place).c_str(), O_TMPFILE | O_RDWR | O_CLOEXEC, permissions));
  if (file.get() < 0 || access(path().c_str(), F_OK) != 0) {
    createNamed();
  }
  if (file.get() < 0) {
    fail(target, std::strerror(errno));
  }
}

ReplacedFile::~ReplacedFile() {
  if (!temporary.empty()) {
    unlink(temporary.c_str());
  }
}

void ReplacedFile::createNamed() {
  const std::string name = unguessableNameBeside(place);
  file = FileDescriptor(
      open(name.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC | O_NOFOLLOW, permissions));
  if (file.get() >= 0) {
    temporary = name;
  }
}

std::string ReplacedFile::path() const {
  return temporary.empty() ? "/proc/self/fd/" + std::to_string(file.get()) : temporary;
}

/// Gives the file a name. \return whether that was possible
bool ReplacedFile::linkTo(const std::string& name) const {
  return linkat(AT_FDCWD, path().c_str(), AT_FDCWD, name.c_str(), AT_SYMLINK_FOLLOW) == 0;
}

void ReplacedFile::commit() {
  struct stat earlier {};
  if (stat(place.c_str(), &earlier) == 0) {
    fchmod(file.get(), earlier.st_mode & 07777);
  }
  if (temporary.empty()) {
    if (linkTo(place)) {
      return;
    }
    // A link cannot replace a file, so the file needs a name of its own for a moment.
    const std::string name = unguessableNameBeside(place);
    if (errno != EEXIST || !linkTo(name)) {
      fail(place, std::strerror(errno));
    }
    temporary = name;
  }
  if (std::rename(temporary.c_str(), place.c_str()) != 0) {
    fail(place, std::strerror(errno));
  }
  temporary.clear();
}

void ReplacedFile::fail(const std::string& name, const char* reason) const {
  throw Failure("cannot write " + name + ": " + reason, advice);
}

}  // namespace tool
