#include "log_sites.hpp"

namespace KQ {

void log(const LogSite& site, const std::string& message, int line) {
  zu::log::write(site.level, site.category, message, site.file, site.function,
                 site.line != 0 ? site.line : line);
}

}  // namespace KQ
