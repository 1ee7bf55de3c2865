#include "check_engine/examination.hpp"

#include <algorithm>

#include "text/utf8.hpp"

namespace tool {

std::chrono::milliseconds Examination::patience() const {
  return std::min<std::chrono::milliseconds>(std::chrono::seconds(5), candidate.timeout / 3);
}

void Examination::skip(const std::string& why) const {
  send(messages::skipped, why);
  throw Ended();
}

void Examination::abandon(const std::string& finding) const {
  find(finding);
  send(messages::broken, "");
  throw Ended();
}

void Examination::send(const char* kind, const std::string& what) const {
  channel.send(kind, oneLine(what));
}

}  // namespace tool
