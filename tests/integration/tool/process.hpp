#pragma once

#include <sys/types.h>

#include <map>
#include <string>
#include <vector>

namespace tool_test {

/// The result of a program.
struct Outcome {
  int status;          ///< exit status, or minus the signal that ended it
  std::string output;  ///< the part of standard output that readLine() has not returned
  std::string errors;  ///< standard error
};

/// Options for starting a program.
struct Launch {
  std::map<std::string, std::string>
      environment;         ///< added to that of this process; "" removes a variable
  std::string outputFile;  ///< receives standard output; readLine() and Outcome then have none
  bool errorsOnTerminal = false;
  unsigned short terminalColumns = 0;  ///< 0 for a terminal that does not know its width
  bool ignoreInterrupts = false;       ///< like a background job of a shell
};

/// A running program. It is killed after a few minutes at the latest.
class Process {
 public:
  explicit Process(const std::vector<std::string>& command, const Launch& launch = {});
  ~Process();
  Process(const Process&) = delete;
  Process& operator=(const Process&) = delete;

  /// Writes to standard input, until the program stops reading.
  void write(const std::string& text) const;
  void closeInput();
  void closeOutput();

  /// Returns the next line of standard output with its line feed, or the rest; "" at the end.
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
