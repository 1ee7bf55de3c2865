#include <kq/error.hpp>
#include <utility>
// Every member that uses the texts is defined here and not in the header: an error that a plug-in
// threw may outlive the plug-in's code.

struct KQError::Texts {
  std::string module;
  std::string method;
  std::string description;
  std::string file;
  bool hasFile = false;
  int line = 0;
};

namespace {

std::string formatted(const std::string& module, const std::string& method,
                      const std::string& description, const char* file, int line) {
  std::string text;
  text.reserve(module.size() + method.size() + description.size() + 4);
  text.append(module).append("::").append(method).append(": ").append(description);
  if (file != nullptr) {
    text.append(" (").append(file).append(":").append(std::to_string(line)).append(")");
  }
  return text;
}

}  // namespace

KQError::KQError(const std::string& module, const std::string& method,
                 const std::string& description, const char* file, int line)
    : std::runtime_error(formatted(module, method, description, file, line)) {
  auto own = std::make_shared<Texts>();
  own->module = module;
  own->method = method;
  own->description = description;
  own->file = file != nullptr ? file : "";
  own->hasFile = file != nullptr;
  own->line = line;
  texts = std::move(own);
}

KQError::KQError(const KQError& other) noexcept = default;
KQError& KQError::operator=(const KQError& other) noexcept = default;
KQError::~KQError() = default;

const std::string& KQError::getModule() const noexcept {
  return texts->module;
}
const std::string& KQError::getMethod() const noexcept {
  return texts->method;
}
const std::string& KQError::getDescription() const noexcept {
  return texts->description;
}

const char* KQError::getFile() const noexcept {
  return texts->hasFile ? texts->file.c_str() : nullptr;
}

int KQError::getLine() const noexcept {
  return texts->line;
}
