#pragma once

#include <boost/filesystem/path.hpp>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <map>
#include <stdexcept>
#include <string>
#include <string_view>
#include <type_traits>
#include <vector>
#include <zu/package_info.hpp>

namespace KQ::isolation {

/// Bytes of another process that are not what they should be.
class ProtocolError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// How much a decoder believes. What exceeds it is a ProtocolError.
struct Limits {
  std::size_t text;   ///< bytes of one text
  std::size_t count;  ///< elements of one list or map
};

/// Of what an engine answers: more than any engine has, and little for a host.
inline constexpr Limits answerLimits{std::size_t{64} * 1024, 10000};

/// Of what a host sends to the process that it started: whatever memory holds.
inline constexpr Limits requestLimits{SIZE_MAX, SIZE_MAX};

/// Values as bytes, in this machine's order: both processes run on the same one.
class Encoder {
 public:
  template <typename Value>
  std::enable_if_t<std::is_arithmetic_v<Value> || std::is_enum_v<Value>> put(const Value& value) {
    content.append(reinterpret_cast<const char*>(&value), sizeof value);
  }

  void put(std::string_view text) {
    put(std::uint64_t{text.size()});
    content.append(text);
  }
  void put(const std::string& text) { put(std::string_view(text)); }
  void put(const boost::filesystem::path& path) { put(std::string_view(path.native())); }

  void put(const zu::PackageInfo& package) {
    put(package.uuid);
    put(package.version);
    put(package.path);
  }

  template <typename Value>
  void put(const std::vector<Value>& values) {
    put(std::uint64_t{values.size()});
    for (const Value& value : values) {
      put(value);
    }
  }

  template <typename Key, typename Value>
  void put(const std::map<Key, Value>& values) {
    put(std::uint64_t{values.size()});
    for (const auto& [key, value] : values) {
      put(key);
      put(value);
    }
  }

  const std::string& bytes() const { return content; }
  std::string take() { return std::move(content); }

 private:
  std::string content;
};

/// Reads what an Encoder wrote, or finds out that it is something else: never beyond the end of the
/// bytes, and never more memory than they can fill.
class Decoder {
 public:
  /// \param bytes  outlive the decoder
  Decoder(std::string_view bytes, Limits limits) : rest(bytes), limits(limits) {}

  bool isAtEnd() const { return rest.empty(); }

  /// \throws ProtocolError unless all was read
  void requireEnd() const {
    if (!isAtEnd()) {
      throw ProtocolError("there is more than expected");
    }
  }

  /// All that is left.
  std::string_view takeRest() { return takeBytes(rest.size()); }

  template <typename Value>
  std::enable_if_t<std::is_arithmetic_v<Value> && !std::is_same_v<Value, bool>> get(Value& value) {
    std::memcpy(&value, takeBytes(sizeof value).data(), sizeof value);
  }

  void get(bool& value) {
    std::uint8_t byte = 0;
    get(byte);
    if (byte > 1) {
      throw ProtocolError("a truth value is neither true nor false");
    }
    value = byte == 1;
  }

  void get(std::string& text) {
    std::uint64_t size = 0;
    get(size);
    if (size > limits.text) {
      throw ProtocolError("a text has " + std::to_string(size) + " bytes");
    }
    text = takeBytes(size);
  }

  void get(boost::filesystem::path& path) {
    std::string text;
    get(text);
    path = text;
  }

  void get(zu::PackageInfo& package) {
    get(package.uuid);
    get(package.version);
    get(package.path);
  }

  template <typename Value>
  void get(std::vector<Value>& values) {
    values.clear();
    for (std::uint64_t left = getCount(); left > 0; --left) {
      values.emplace_back();
      get(values.back());
    }
  }

  template <typename Key, typename Value>
  void get(std::map<Key, Value>& values) {
    values.clear();
    for (std::uint64_t left = getCount(); left > 0; --left) {
      Key key;
      get(key);
      get(values[std::move(key)]);
    }
  }

  /// An enumerator up to `last`.
  template <typename Enum>
  Enum getEnum(Enum last) {
    std::underlying_type_t<Enum> number{};
    get(number);
    if (number > static_cast<std::underlying_type_t<Enum>>(last)) {
      throw ProtocolError("there is no number " + std::to_string(number) + " of its kind");
    }
    return static_cast<Enum>(number);
  }

  template <typename Value>
  Value get() {
    Value value{};
    get(value);
    return value;
  }

 private:
  std::string_view takeBytes(std::uint64_t size) {
    if (size > rest.size()) {
      throw ProtocolError("it ends too early");
    }
    const std::string_view taken = rest.substr(0, size);
    rest.remove_prefix(size);
    return taken;
  }

  std::uint64_t getCount() {
    const auto count = get<std::uint64_t>();
    if (count > limits.count) {
      throw ProtocolError("a list has " + std::to_string(count) + " elements");
    }
    return count;
  }

  std::string_view rest;
  Limits limits;
};

}  // namespace KQ::isolation
