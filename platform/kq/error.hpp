#pragma once

#include <memory>
#include <stdexcept>
#include <string>
#include <zu/export.hpp>

/// The framework's exception. It names the operation and module that failed, and the reason.
///
/// An immutable value. Copies share the texts, so copying never throws.
class ZU_EXPORT KQError : public std::runtime_error {
 public:
  /// \param module       the class or component that reports the error
  /// \param method       the operation that failed
  /// \param description  what went wrong, in one line
  /// \param file         the source file, or null for none; the text is copied
  /// \param line         the source line, or 0 for none
  KQError(const std::string& module, const std::string& method, const std::string& description,
          const char* file, int line);
  KQError(const KQError& other) noexcept;             ///< shares the texts
  KQError& operator=(const KQError& other) noexcept;  ///< shares the texts
  ~KQError() override;                                ///< the last copy destroys the texts

  const std::string& getModule() const noexcept;       ///< the class or component
  const std::string& getMethod() const noexcept;       ///< the operation that failed
  const std::string& getDescription() const noexcept;  ///< what went wrong, in one line
  /// The source file, or null if none was given. Valid while this error or a copy of it exists.
  const char* getFile() const noexcept;
  int getLine() const noexcept;  ///< the source line, or 0 if none was given

  // what() returns "module::method: description", followed by " (file:line)" if there is a file.

 private:
  struct Texts;
  std::shared_ptr<const Texts> texts;
};
