#pragma once

#include <sys/types.h>

#include <map>
#include <string>
#include <vector>

namespace tool_test {

/// How a program ended.
struct Outcome {
  int status;          ///< exit status, or minus the signal that ended it
  std::string output;  ///< standard output, as far as readLine() had not taken it
  std::string errors;  ///< standard error
};

/// How a program is started.
struct Launch {
  std::map<std::string, std::string> environment;  ///< over that of this process; "" removes
  std::string outputFile;  ///< where standard output goes in place of readLine() and Outcome
  bool errorsOnTerminal = false;
  bool ignoreInterrupts = false;  ///< as a shell starts a job in the background
};

/// A running program, which is ended after a few minutes at the latest.
class Process {
 public:
  explicit Process(const std::vector<std::string>& command, const Launch& launch = {});
  ~Process();
  Process(const Process&) = delete;
  Process& operator=(const Process&) = delete;

  /// Writes to standard input, as much as the program reads.
  void write(const std::string& text) const;
  void closeInput();
  void closeOutput();

  /// The next line of standard output with its end, or what is left of it; "" at its end.
  std::string readLine();

  void signal(int number) const;

  /// Closes standard input and waits for the end.
  Outcome wait();

 private:
  pid_t child;
  int input;
  int output;
  int errors;
  std::string unread;
};

}  // namespace tool_test
