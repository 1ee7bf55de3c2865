#pragma once

#include <memory>
#include <stdexcept>
#include <string>
#include <zu/export.hpp>

/// The framework's exception: which operation of which module failed, and why.
///
/// An immutable value. Copying shares its texts, so a copy never throws.
class ZU_EXPORT KQError : public std::runtime_error {
 public:
  /// \param module       the class or component that reports the error
  /// \param method       the operation that failed
  /// \param description  what went wrong, in one line
  /// \param file         the source file, or null when none is told; the text is copied
  /// \param line         the source line, 0 when none is told
  KQError(const std::string& module, const std::string& method, const std::string& description,
          const char* file, int line);
  KQError(const KQError& other) noexcept;             ///< shares the texts
  KQError& operator=(const KQError& other) noexcept;  ///< shares the texts
  ~KQError() override;                                ///< the texts go with the last copy

  const std::string& getModule() const noexcept;       ///< the class or component
  const std::string& getMethod() const noexcept;       ///< the operation that failed
  const std::string& getDescription() const noexcept;  ///< what went wrong, in one line
  /// The source file, or null when none was given. Valid as long as this error or a copy of it.
  const char* getFile() const noexcept;
  int getLine() const noexcept;  ///< the source line, 0 when none was given

  // what(): "module::method: description", followed by " (file:line)" when there is a file.

 private:
  struct Texts;
  std::shared_ptr<const Texts> texts;
};
