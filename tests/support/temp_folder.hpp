#pragma once

#include <boost/filesystem/path.hpp>
#include <string>

namespace test {

/// A new, empty folder. The destructor removes it with its contents.
class TempFolder {
 public:
  TempFolder();
  ~TempFolder();
  TempFolder(const TempFolder&) = delete;
  TempFolder& operator=(const TempFolder&) = delete;

  const boost::filesystem::path& path() const { return folder; }

  /// Writes a file, byte for byte. \return its path
  boost::filesystem::path write(const std::string& name, const std::string& content) const;

 private:
  boost::filesystem::path folder;
};

}  // namespace test
