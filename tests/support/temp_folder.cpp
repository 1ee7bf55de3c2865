#include "support/temp_folder.hpp"

#include <boost/filesystem/fstream.hpp>
#include <boost/filesystem/operations.hpp>

namespace test {

namespace fs = boost::filesystem;

TempFolder::TempFolder() : folder(fs::temp_directory_path() / fs::unique_path("kqtts-%%%%-%%%%")) {
  fs::create_directories(folder);
}

TempFolder::~TempFolder() {
  boost::system::error_code ignored;
  fs::remove_all(folder, ignored);
}

fs::path TempFolder::write(const std::string& name, const std::string& content) const {
  fs::path file = folder / name;
  fs::ofstream(file, std::ios::binary)
      .write(content.data(), static_cast<std::streamsize>(content.size()));
  return file;
}

}  // namespace test
