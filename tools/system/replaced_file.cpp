#include "system/replaced_file.hpp"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <boost/filesystem/operations.hpp>
#include <boost/filesystem/path.hpp>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <utility>

#include "system/failure.hpp"

namespace tool {

namespace {

namespace fs = boost::filesystem;

fs::path followLinks(const std::string& target) {
  boost::system::error_code error;
  const fs::path real = fs::canonical(target, error);
  return error ? fs::path(target) : real;
}

std::string temporaryBeside(const fs::path& place) {
  const std::string name = "." + place.filename().string() + "." + std::to_string(getpid());
  return (place.parent_path() / name).string();
}

}  // namespace

ReplacedFile::ReplacedFile(const std::string& target, std::string whatToDo)
    : advice(std::move(whatToDo)), place(followLinks(target).string()) {
  boost::system::error_code ignored;
  if (fs::is_directory(place, ignored)) {
    fail(target, "it is a folder");
  }
  const std::string name = temporaryBeside(place);
  file =
      FileDescriptor(open(name.c_str(), O_RDWR | O_CREAT | O_TRUNC | O_CLOEXEC | O_NOFOLLOW, 0666));
  if (file.get() < 0) {
    fail(target, std::strerror(errno));
  }
  temporary = name;
}

ReplacedFile::~ReplacedFile() {
  if (!temporary.empty()) {
    unlink(temporary.c_str());
  }
}

void ReplacedFile::commit() {
  struct stat earlier {};
  if (stat(place.c_str(), &earlier) == 0) {
    fchmod(file.get(), earlier.st_mode & 07777);
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
