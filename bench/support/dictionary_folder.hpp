#pragma once

#include <boost/filesystem/path.hpp>

namespace bench {

/// A folder in the place of the user's own, as long as it lives, with an English dictionary: 10,000
/// words, two of which every text of the benchmarks holds.
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
