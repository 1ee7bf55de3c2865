#pragma once

#include <initializer_list>
#include <string>
#include <variant>
#include <vector>
#include <zu/export.hpp>

/// The framework's dynamic value: null, bool, int, float, string or array of values.
///
/// A plain value: copies are deep. Access as another kind throws KQError (module "KQValue");
/// nothing is converted, so an int is not a float. Several threads may read one instance at the
/// same time, as long as none changes it.
class ZU_EXPORT KQValue {
 public:
  KQValue();                                     ///< null
  KQValue(bool value);                           ///< a bool
  KQValue(int value);                            ///< an int
  KQValue(float value);                          ///< a float
  KQValue(const char* value);                    ///< a string; a null pointer gives the null value
  KQValue(std::string value);                    ///< a string
  KQValue(const KQValue& other);                 ///< a deep copy
  KQValue(KQValue&& other) noexcept;             ///< the source may be assigned to or destroyed
  KQValue& operator=(const KQValue& other);      ///< a deep copy
  KQValue& operator=(KQValue&& other) noexcept;  ///< the source may be assigned to or destroyed
  ~KQValue();                                    ///< destroys all elements

  /// Makes an array of these values.
  static KQValue array(std::initializer_list<KQValue> elements = {});

  /// Appends an element.
  /// \throws KQError unless this is an array.
  void push_back(KQValue element);

  /// The number of elements.
  /// \throws KQError unless this is an array.
  int getSize() const;

  /// The element at `index`, from 0.
  /// \throws KQError unless this is an array that holds it.
  KQValue& operator[](int index);
  /// \copydoc operator[](int)
  const KQValue& operator[](int index) const;

  /// The string.
  /// \throws KQError unless this is a string.
  operator std::string&();
  /// The string.
  /// \throws KQError unless this is a string
  operator const std::string&() const;

  /// The number.
  /// \throws KQError unless this is a float.
  operator float&();
  /// The number.
  /// \throws KQError unless this is a float
  operator const float&() const;

 private:
  std::variant<std::monostate, bool, int, float, std::string, std::vector<KQValue>> content;
};
