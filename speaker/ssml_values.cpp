#include "ssml_values.hpp"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <locale>
#include <sstream>

namespace KQ::speaking {

namespace {

struct Named {
  const char* name;
  float value;
};

constexpr Named rates[] = {{"x-slow", 0.5F}, {"slow", 0.75F}, {"medium", 1},
                           {"fast", 1.5F},   {"x-fast", 2},   {"default", 1}};
constexpr Named pitches[] = {{"x-low", 0.7F}, {"low", 0.85F},   {"medium", 1},
                             {"high", 1.2F},  {"x-high", 1.4F}, {"default", 1}};
constexpr Named volumes[] = {{"silent", 0}, {"x-soft", 0.25F}, {"soft", 0.5F}, {"medium", 0.8F},
                             {"loud", 1},   {"x-loud", 1},     {"default", 1}};
constexpr Named strengths[] = {{"none", 0},     {"x-weak", 50},  {"weak", 150},
                               {"medium", 350}, {"strong", 700}, {"x-strong", 1200}};

template <std::size_t Count>
std::optional<float> named(const Named (&table)[Count], const std::string& name) {
  const auto* const found = std::find_if(std::begin(table), std::end(table),
                                         [&](const Named& row) { return name == row.name; });
  return found == std::end(table) ? std::nullopt : std::optional<float>(found->value);
}

struct Quantity {
  float number = 0;
  bool isSigned = false;
  std::string unit;
};

/// A number with a sign and a unit, both optional; read the same in every locale.
std::optional<Quantity> quantityOf(const std::string& text) {
  std::istringstream stream(text);
  stream.imbue(std::locale::classic());
  Quantity quantity;
  quantity.isSigned = !text.empty() && (text.front() == '+' || text.front() == '-');
  if (!(stream >> quantity.number) || !std::isfinite(quantity.number)) {
    return std::nullopt;
  }
  stream >> quantity.unit;
  return quantity;
}

std::optional<float> percentOrNumber(const Quantity& quantity) {
  if (quantity.unit == "%") {
    return quantity.isSigned ? 1 + quantity.number / 100 : quantity.number / 100;
  }
  if (quantity.unit.empty() && !quantity.isSigned) {
    return quantity.number;
  }
  return std::nullopt;
}

}  // namespace

std::optional<int> millisecondsOf(const std::string& time) {
  constexpr float longest = 600000;
  const auto quantity = quantityOf(time);
  if (!quantity || (quantity->unit != "ms" && quantity->unit != "s") || quantity->number < 0) {
    return std::nullopt;
  }
  const float factor = quantity->unit == "s" ? 1000 : 1;
  return static_cast<int>(std::min(quantity->number * factor, longest));
}

std::optional<int> pauseOf(const std::string& strength) {
  const auto pause = named(strengths, strength);
  return pause ? std::optional<int>(static_cast<int>(*pause)) : std::nullopt;
}

std::optional<float> rateFactor(const std::string& rate) {
  const auto word = named(rates, rate);
  const auto quantity = word ? std::nullopt : quantityOf(rate);
  return quantity ? percentOrNumber(*quantity) : word;
}

std::optional<float> pitchFactor(const std::string& pitch) {
  constexpr float usualPitch = 150;  // in Hz, between the voices of women and men
  const auto word = named(pitches, pitch);
  const auto quantity = word ? std::nullopt : quantityOf(pitch);
  if (!quantity) {
    return word;
  }
  if (quantity->unit == "st") {
    return std::pow(2.0F, quantity->number / 12);
  }
  if (quantity->unit == "Hz") {
    return (quantity->isSigned ? usualPitch + quantity->number : quantity->number) / usualPitch;
  }
  return percentOrNumber(*quantity);
}

std::optional<float> volumeFactor(const std::string& volume) {
  const auto word = named(volumes, volume);
  const auto quantity = word ? std::nullopt : quantityOf(volume);
  if (!quantity) {
    return word;
  }
  if (quantity->unit == "dB") {
    return std::pow(10.0F, quantity->number / 20);
  }
  if (quantity->unit.empty()) {  // SSML 1.0: 0 to 100, or a change of that
    return quantity->isSigned ? 1 + quantity->number / 100 : quantity->number / 100;
  }
  return percentOrNumber(*quantity);
}

Emphasis emphasisOf(const std::string& level) {
  if (level == "strong") {
    return {0.85F, 1.15F, 1};
  }
  if (level == "reduced") {
    return {1.1F, 0.95F, 0.8F};
  }
  return level == "none" ? Emphasis() : Emphasis{0.93F, 1.08F, 1};
}

}  // namespace KQ::speaking
