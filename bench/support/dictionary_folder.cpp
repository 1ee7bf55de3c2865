#include "support/dictionary_folder.hpp"

#include <boost/filesystem/operations.hpp>
#include <cstdlib>
#include <fstream>

namespace bench {

namespace fs = boost::filesystem;

DictionaryFolder::DictionaryFolder()
    : path(fs::temp_directory_path() / fs::unique_path("kqtts-bench-%%%%-%%%%-%%%%")) {
  const fs::path folder = path / "kqtts/dictionaries";
  fs::create_directories(folder);
  std::ofstream file((folder / "English.txt").string());
  file << "quick\tfast\tany\nlazy\tidle\tany\n";
  for (int i = 2; i < 10000; ++i) {
    file << "word" << i << "\tanother\tany\n";
  }
  ::setenv("XDG_DATA_HOME", path.c_str(), 1);
}

DictionaryFolder::~DictionaryFolder() {
  ::unsetenv("XDG_DATA_HOME");
  boost::system::error_code ignored;
  fs::remove_all(path, ignored);
}

}  // namespace bench
