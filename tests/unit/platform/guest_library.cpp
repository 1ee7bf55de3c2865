#include <kq/error.hpp>
#include <zu/log.hpp>

namespace {

struct Guest {
  Guest() { zu::log::registerCategory("guest"); }
  ~Guest() {
    zu::log::write(zu::log::Level::warning, "guest", "unloaded", "guest.cpp", "~Guest", 1);
  }
};

const Guest guest;

}  // namespace

extern "C" __attribute__((visibility("default"))) void throwError() {
  const std::string file = "a/file/of/the/guest.cpp";
  throw KQError("Guest", "throwError", "The guest has failed.", file.c_str(), 7);
}
