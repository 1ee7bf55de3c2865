#include "dictionary/dictionary_file.hpp"

#include <fcntl.h>
#include <pwd.h>
#include <stdlib.h>
#include <sys/auxv.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <boost/filesystem/operations.hpp>
#include <cerrno>
#include <chrono>
#include <system_error>
#include <thread>
#include <utility>

namespace KQ::engines {

namespace fs = boost::filesystem;

namespace {

constexpr std::size_t longestFileName = 200;
constexpr std::chrono::seconds longestWait{3};

[[noreturn]] void failWith(const fs::path& file, const std::string& what, int error) {
  throw DictionaryError(file.string() + ": " + what + ": " +
                        std::generic_category().message(error));
}

/// An open file or folder. A file that is made is its owner's alone.
class Descriptor {
 public:
  /// \throws DictionaryError when it cannot be opened
  Descriptor(const fs::path& file, int flags) : Descriptor(AT_FDCWD, file, file.c_str(), flags) {}

  /// Opens a file of this folder, but no link.
  /// \throws DictionaryError when it cannot be opened
  Descriptor open(const std::string& name, int flags) const {
    return {number, file / name, name.c_str(), flags | O_NOFOLLOW};
  }

  /// Removes a file of this folder, if there is one.
  void remove(const std::string& name) const { ::unlinkat(number, name.c_str(), 0); }

  /// Puts a file of this folder in the place of another one.
  void rename(const std::string& from, const std::string& to) const {
    if (::renameat(number, from.c_str(), number, to.c_str()) != 0) {
      failWith(file / to, "cannot be replaced", errno);
    }
  }

  ~Descriptor() { ::close(number); }
  Descriptor(const Descriptor&) = delete;
  Descriptor& operator=(const Descriptor&) = delete;

  /// Locks the file until it is closed, against other processes and other threads of this one.
  void lock() const {
    const auto end = std::chrono::steady_clock::now() + longestWait;
    while (::flock(number, LOCK_EX | LOCK_NB) != 0) {
      if (errno != EWOULDBLOCK && errno != EINTR) {
        failWith(file, "cannot be locked", errno);
      }
      if (std::chrono::steady_clock::now() > end) {
        throw DictionaryError(file.string() + ": another process keeps it locked");
      }
      std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
  }

  std::string read(std::size_t longest) const {
    struct stat status {};
    if (::fstat(number, &status) != 0) {
      failWith(file, "cannot be read", errno);
    }
    if (!S_ISREG(status.st_mode)) {
      throw DictionaryError(file.string() + ": is no regular file");
    }
    std::string content;
    std::array<char, 65536> part{};
    while (const ssize_t count = ::read(number, part.data(), part.size())) {
      if (count < 0) {
        failWith(file, "cannot be read", errno);
      }
      content.append(part.data(), static_cast<std::size_t>(count));
      if (content.size() > longest) {
        throw DictionaryError(file.string() + ": is too long");
      }
    }
    return content;
  }

  void write(std::string_view content) const {
    while (!content.empty()) {
      const ssize_t count = ::write(number, content.data(), content.size());
      if (count < 0) {
        failWith(file, "cannot be written", errno);
      }
      content.remove_prefix(static_cast<std::size_t>(count));
    }
    if (::fsync(number) != 0) {
      failWith(file, "cannot be written", errno);
    }
  }

 private:
  Descriptor(int folder, fs::path path, const char* name, int flags)
      : file(std::move(path)),
        number(::openat(folder, name, flags | O_CLOEXEC | O_NONBLOCK, S_IRUSR | S_IWUSR)) {
    if (number < 0) {
      failWith(file, "cannot be opened", errno);
    }
  }

  const fs::path file;
  const int number;
};

/// Makes a folder, and those above it, for their owner alone.
/// \throws DictionaryError when it cannot be made
Descriptor privateFolder(const fs::path& folder) {
  fs::path made;
  int error = 0;
  for (const fs::path& part : folder) {
    made /= part;
    error = ::mkdir(made.c_str(), S_IRWXU) == 0 ? 0 : errno;
  }
  boost::system::error_code ignored;
  if (!fs::is_directory(folder, ignored)) {
    failWith(folder, "cannot be made", error);
  }
  return {folder, O_RDONLY | O_DIRECTORY};
}

/// The home folder that the system knows for the user whose rights this process has, or "".
fs::path homeOfEffectiveUser() {
  passwd user{};
  passwd* found = nullptr;
  std::array<char, 4096> texts{};
  ::getpwuid_r(::geteuid(), &user, texts.data(), texts.size(), &found);
  return found == nullptr ? "" : found->pw_dir;
}

std::string fileName(const std::string& language) {
  constexpr const char* digits = "0123456789ABCDEF";
  std::string name;
  for (const char c : language) {
    const bool isPlain = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9');
    const auto byte = static_cast<unsigned char>(c);
    name += isPlain ? std::string(1, c) : std::string{'%', digits[byte >> 4U], digits[byte & 15U]};
  }
  if (name.empty() || name.size() > longestFileName) {
    throw DictionaryError("\"" + language + "\" cannot be the name of a language");
  }
  return name + ".txt";
}

DictionaryEntry toEntry(std::string_view line) {
  const std::size_t first = std::min(line.find('\t'), line.size());
  const std::size_t last = line.rfind('\t');
  const std::string_view kind = line.substr(std::min(last, line.size() - 1) + 1);
  if (first >= last || last == std::string_view::npos || (kind != "any" && kind != "exact")) {
    throw DictionaryError("is no word, replacement and \"any\" or \"exact\"");
  }
  return {std::string(line.substr(0, first)), std::string(line.substr(first + 1, last - first - 1)),
          kind == "exact"};
}

/// \throws DictionaryError when it is too long for a file
std::string toText(const UserDictionary& dictionary) {
  std::string content;
  for (const auto& [word, entry] : dictionary.entries()) {
    content += word + '\t' + entry.replacement + '\t' + (entry.isExact ? "exact" : "any") + '\n';
  }
  if (content.size() > DictionaryFile::longest) {
    throw DictionaryError("the dictionary is full: its file would be too long");
  }
  return content;
}

/// Puts a new file in the place of a language's. The caller holds the lock.
void replace(const Descriptor& folder, const std::string& language, const std::string& content) {
  const std::string written = language + ".new";
  folder.remove(written);  // what a process left that was killed here, or a link of somebody's
  folder.open(written, O_WRONLY | O_CREAT | O_EXCL).write(content);
  folder.rename(written, language + ".txt");
}

}  // namespace

DictionaryFile::DictionaryFile(const fs::path& folder, const std::string& language)
    : file(folder / fileName(language)) {}

fs::path DictionaryFile::userFolder() {
  const auto absolute = [](const char* variable) {
    const char* const value = ::secure_getenv(variable);
    const fs::path path = value == nullptr ? "" : value;
    return path.is_absolute() ? path : fs::path();
  };
  const bool hasRaisedRights = ::getauxval(AT_SECURE) != 0;
  const fs::path data = absolute("XDG_DATA_HOME");
  const fs::path home = hasRaisedRights ? homeOfEffectiveUser() : absolute("HOME");
  if (data.empty() && home.empty()) {
    throw DictionaryError("no folder for dictionaries: neither XDG_DATA_HOME nor HOME is set");
  }
  return (data.empty() ? home / ".local/share" : data) / "kqtts/dictionaries";
}

UserDictionary DictionaryFile::read() const {
  boost::system::error_code error;
  if (fs::status(file, error).type() == fs::file_not_found) {
    return {};
  }
  const std::string content = Descriptor(file, O_RDONLY).read(longest);
  UserDictionary dictionary;
  std::string_view rest = content;
  for (int number = 1; !rest.empty(); ++number) {
    const std::string_view line = rest.substr(0, rest.find('\n'));
    rest.remove_prefix(std::min(line.size() + 1, rest.size()));
    try {
      dictionary.add(toEntry(line));
    } catch (const DictionaryError& problem) {
      throw DictionaryError(file.string() + ": line " + std::to_string(number) + ": " +
                            problem.what());
    }
  }
  return dictionary;
}

UserDictionary DictionaryFile::update(const std::function<bool(UserDictionary&)>& change) const {
  const Descriptor folder = privateFolder(file.parent_path());
  // The file itself is replaced, so a lock on it would hold the former one.
  const Descriptor lockFile = folder.open(file.stem().string() + ".lock", O_RDWR | O_CREAT);
  lockFile.lock();
  UserDictionary dictionary = read();
  if (change(dictionary)) {
    replace(folder, file.stem().string(), toText(dictionary));
  }
  return dictionary;
}

}  // namespace KQ::engines
