#include "captured_stderr.hpp"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <sstream>

CapturedStderr::CapturedStderr()
    : file(memfd_create("stderr", MFD_CLOEXEC)), original(dup(STDERR_FILENO)) {
  fcntl(file, F_SETFL, O_APPEND);  // child processes write to it at the same time
  dup2(file, STDERR_FILENO);
}

CapturedStderr::~CapturedStderr() {
  dup2(original, STDERR_FILENO);
  close(original);
  close(file);
}

std::string CapturedStderr::text() const {
  struct stat status {};
  fstat(file, &status);
  std::string content(static_cast<std::size_t>(status.st_size), '\0');
  content.resize(static_cast<std::size_t>(pread(file, content.data(), content.size(), 0)));
  return content;
}

std::vector<std::string> CapturedStderr::lines() const {
  std::istringstream stream(text());
  std::vector<std::string> result;
  for (std::string line; std::getline(stream, line);) {
    result.push_back(line);
  }
  return result;
}
