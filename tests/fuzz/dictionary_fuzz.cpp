#include <sys/stat.h>
#include <unistd.h>

#include <boost/filesystem/operations.hpp>

#include "dictionary/dictionary_file.hpp"
#include "dictionary_oracle.hpp"
#include "fuzz_target.hpp"

namespace {

namespace fs = boost::filesystem;

using KQ::engines::DictionaryError;
using KQ::engines::DictionaryFile;
using KQ::engines::UserDictionary;

/// A folder of dictionaries. The destructor removes it.
class Folder {
 public:
  Folder() : path(fs::temp_directory_path() / fs::unique_path("kqtts-fuzz-%%%%-%%%%-%%%%")) {
    fs::create_directory(path);
  }
  ~Folder() {
    boost::system::error_code ignored;
    fs::remove_all(path, ignored);
  }
  Folder(const Folder&) = delete;
  Folder& operator=(const Folder&) = delete;

  const fs::path path;
};

/// The text before the last empty line and the text after it, or the whole input twice.
std::pair<std::string, std::string> splitAtEmptyLine(const std::string& input) {
  const std::size_t end = input.rfind("\n\n");
  return end == std::string::npos ? std::make_pair(input, input)
                                  : std::make_pair(input.substr(0, end + 1), input.substr(end + 2));
}

/// \return an empty dictionary if the file is refused
UserDictionary read(const std::string& content) {
  static const Folder folder;
  const DictionaryFile file(folder.path, "English");
  const fuzz::MemoryFile memory(content);
  ::unlink(file.path().c_str());
  fuzz::require(::symlink(memory.path().c_str(), file.path().c_str()) == 0, "a link to the file");
  try {
    return file.read();
  } catch (const DictionaryError& error) {
    fuzz::require(std::string(error.what()).find(file.path().string() + ": ") == 0,
                  "the name of the file in the error");
    return {};
  }
}

std::string contentOf(const UserDictionary& dictionary) {
  std::string content;
  for (const auto& [word, entry] : dictionary.entries()) {
    content += word + '\t' + entry.replacement + (entry.isExact ? "\texact\n" : "\tany\n");
  }
  return content;
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const auto [content, text] = splitAtEmptyLine(fuzz::toString(data, size));
  const UserDictionary dictionary = read(content);
  const std::string difference = oracle::differenceOfSpokenText(text, dictionary);
  fuzz::require(difference.empty(), difference + ", as the whole text is spoken");
  const std::string written = contentOf(dictionary);
  fuzz::require(contentOf(read(written)) == written, "the dictionary that was written");
  return 0;
}
