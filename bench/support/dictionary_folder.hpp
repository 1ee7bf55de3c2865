#pragma once

#include <boost/filesystem/path.hpp>

namespace bench {

/// As long as it lives, takes the place of the user's folder of dictionaries. It has an English
/// dictionary of 10,000 words, two of which are in every text of the benchmarks.
class DictionaryFolder {
 public:
  DictionaryFolder();
  ~DictionaryFolder();
  DictionaryFolder(const DictionaryFolder&) = delete;
  DictionaryFolder& operator=(const DictionaryFolder&) = delete;

 private:
  const boost::filesystem::path path;
};

}  // namespace bench
