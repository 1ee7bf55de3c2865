#include <algorithm>
#include <iterator>
#include <kq/error.hpp>
#include <kq/value.hpp>
#include <limits>
#include <new>
#include <utility>

namespace {

using Array = std::vector<KQValue>;

[[noreturn]] void fail(const char* method, const std::string& description) {
  throw KQError("KQValue", method, description, nullptr, 0);
}

template <typename Kind, typename Content>
auto& require(Content& content, const char* method, const char* description) {
  auto* held = std::get_if<Kind>(&content);
  if (held == nullptr) {
    fail(method, description);
  }
  return *held;
}

template <typename Content>
auto& requireElement(Content& content, int index) {
  auto& elements = require<Array>(content, "operator[]", "The value is not an array.");
  const auto position = static_cast<std::size_t>(index);  // a negative one is beyond any array
  if (position >= elements.size()) {
    fail("operator[]", "The array has no element " + std::to_string(index) + ".");
  }
  return elements[position];
}

}  // namespace

KQValue::KQValue() = default;
KQValue::KQValue(bool value) : content(value) {}
KQValue::KQValue(int value) : content(value) {}
KQValue::KQValue(float value) : content(value) {}
KQValue::KQValue(std::string value) : content(std::move(value)) {}

KQValue::KQValue(const char* value) {
  if (value != nullptr) {
    content.emplace<std::string>(value);
  }
}

// Copying and destruction keep a list of the arrays still to do: a value may be nested as deeply as
// memory allows, the stack may not.

KQValue::KQValue(const KQValue& other) {
  std::vector<std::pair<const Array*, Array*>> open;
  const auto copy = [&open](const KQValue& source, KQValue& target) {
    if (const auto* elements = std::get_if<Array>(&source.content)) {
      open.emplace_back(elements, &target.content.emplace<Array>(elements->size()));
    } else {
      target.content = source.content;
    }
  };
  for (copy(other, *this); !open.empty();) {
    const auto [sources, targets] = open.back();
    open.pop_back();
    for (std::size_t i = 0; i < sources->size(); ++i) {
      copy((*sources)[i], (*targets)[i]);
    }
  }
}

KQValue::KQValue(KQValue&& other) noexcept = default;

KQValue& KQValue::operator=(const KQValue& other) {
  return *this = KQValue(other);
}

KQValue& KQValue::operator=(KQValue&& other) noexcept {
  KQValue taken(std::move(other));  // `other` may be an element of this array
  content.swap(taken.content);
  return *this;
}

KQValue::~KQValue() {
  auto* elements = std::get_if<Array>(&content);
  if (elements == nullptr) {
    return;
  }
  for (Array open = std::move(*elements); !open.empty();) {
    KQValue element = std::move(open.back());
    open.pop_back();
    if (auto* nested = std::get_if<Array>(&element.content)) {
      std::copy_if(std::make_move_iterator(nested->begin()), std::make_move_iterator(nested->end()),
                   std::back_inserter(open), [](const KQValue& value) {
                     return std::holds_alternative<Array>(value.content);
                   });
      nested->clear();
    }
  }
}

KQValue KQValue::array(std::initializer_list<KQValue> elements) {
  KQValue value;
  value.content.emplace<Array>(elements);
  return value;
}

void KQValue::push_back(KQValue element) {
  require<Array>(content, "push_back", "The value is not an array.").push_back(std::move(element));
}

int KQValue::getSize() const {
  const auto& elements = require<Array>(content, "getSize", "The value is not an array.");
  return static_cast<int>(std::min<std::size_t>(elements.size(), std::numeric_limits<int>::max()));
}

KQValue& KQValue::operator[](int index) {
  return requireElement(content, index);
}
const KQValue& KQValue::operator[](int index) const {
  return requireElement(content, index);
}

KQValue::operator std::string&() {
  return require<std::string>(content, "operator std::string&", "The value is not a string.");
}

KQValue::operator const std::string&() const {
  return require<std::string>(content, "operator std::string&", "The value is not a string.");
}

KQValue::operator float&() {
  return require<float>(content, "operator float&", "The value is not a float.");
}

KQValue::operator const float&() const {
  return require<float>(content, "operator float&", "The value is not a float.");
}
