#include "process.hpp"

#include <fcntl.h>
#include <pty.h>
#include <sys/ioctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <stdexcept>

extern char** environ;

namespace tool_test {

namespace {

constexpr unsigned secondsToLive = 200;

struct Pipe {
  Pipe() {
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0) {
      throw std::runtime_error("pipe");
    }
    reading = ends[0];
    writing = ends[1];
  }
  int reading;
  int writing;
};

struct Terminal {
  Terminal() {
    if (openpty(&reading, &writing, nullptr, nullptr, nullptr) != 0) {
      throw std::runtime_error("openpty");
    }
    fcntl(reading, F_SETFD, FD_CLOEXEC);
  }
  int reading;
  int writing;
};

/// A temporary file without a name.
int anonymousFile() {
  return open("/tmp", O_TMPFILE | O_RDWR | O_CLOEXEC, 0600);
}

std::vector<std::string> environmentWith(const std::map<std::string, std::string>& changes) {
  std::vector<std::string> variables;
  for (char** variable = environ; *variable != nullptr; ++variable) {
    const std::string text = *variable;
    if (changes.count(text.substr(0, text.find('='))) == 0) {
      variables.push_back(text);
    }
  }
  for (const auto& [name, value] : changes) {
    if (!value.empty()) {
      variables.push_back(name + "=" + value);
    }
  }
  return variables;
}

std::vector<char*> pointers(const std::vector<std::string>& texts) {
  std::vector<char*> result;
  for (const std::string& text : texts) {
    result.push_back(const_cast<char*>(text.c_str()));
  }
  result.push_back(nullptr);
  return result;
}

/// Reads the available data. \return whether more may come
bool readSome(int fd, std::string& text) {
  char piece[65536];
  const ssize_t count = read(fd, piece, sizeof piece);
  if (count > 0) {
    text.append(piece, static_cast<std::size_t>(count));
  }
  return count > 0;
}

}  // namespace

Process::Process(const std::vector<std::string>& command, const Launch& launch) {
  const std::vector<std::string> variables = environmentWith(launch.environment);
  const std::vector<char*> environment = pointers(variables);
  const std::vector<char*> arguments = pointers(command);
  const Pipe in;
  const Pipe out;
  int errorsInChild = errors = anonymousFile();
  if (launch.errorsOnTerminal) {
    const Terminal terminal;
    const winsize size = {24, launch.terminalColumns, 0, 0};
    ioctl(terminal.reading, TIOCSWINSZ, &size);
    errors = terminal.reading;
    errorsInChild = terminal.writing;
  }
  child = fork();
  if (child == 0) {
    dup2(in.reading, STDIN_FILENO);
    dup2(out.writing, STDOUT_FILENO);
    dup2(errorsInChild, STDERR_FILENO);
    if (!launch.outputFile.empty()) {
      dup2(open(launch.outputFile.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600), STDOUT_FILENO);
    }
    std::signal(SIGPIPE, SIG_DFL);
    if (launch.ignoreInterrupts) {
      std::signal(SIGINT, SIG_IGN);
    }
    alarm(secondsToLive);
    execve(arguments[0], arguments.data(), environment.data());
    _exit(127);
  }
  close(in.reading);
  close(out.writing);
  if (launch.errorsOnTerminal) {
    close(errorsInChild);
  }
  input = in.writing;
  output = out.reading;
  std::signal(SIGPIPE, SIG_IGN);
}

Process::~Process() {
  closeInput();
  closeOutput();
  close(errors);
  if (child > 0) {
    kill(child, SIGKILL);
    waitpid(child, nullptr, 0);
  }
}

void Process::write(const std::string& text) const {
  const char* next = text.data();
  const char* end = next + text.size();
  while (next < end) {
    const ssize_t count = ::write(input, next, static_cast<std::size_t>(end - next));
    if (count <= 0) {
      return;
    }
    next += count;
  }
}

void Process::closeInput() {
  if (input >= 0) {
    close(input);
  }
  input = -1;
}

void Process::closeOutput() {
  if (output >= 0) {
    close(output);
  }
  output = -1;
}

std::string Process::readLine() {
  std::size_t end = 0;
  while ((end = unread.find('\n')) == std::string::npos && readSome(output, unread)) {
  }
  const std::string line = unread.substr(0, end == std::string::npos ? end : end + 1);
  unread.erase(0, line.size());
  return line;
}

void Process::signal(int number) const {
  kill(child, number);
}

Outcome Process::wait() {
  closeInput();
  Outcome outcome{};
  outcome.output = unread;
  while (output >= 0 && readSome(output, outcome.output)) {
  }
  int status = 0;
  const pid_t ended = child;
  child = -1;
  waitpid(ended, &status, 0);
  outcome.status = WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
  lseek(errors, 0, SEEK_SET);
  while (readSome(errors, outcome.errors)) {
  }
  return outcome;
}

}  // namespace tool_test
