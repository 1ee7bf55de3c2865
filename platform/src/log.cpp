#include <algorithm>
#include <array>
#include <atomic>
#include <cstdlib>
#include <memory>
#include <string_view>
#include <zu/log.hpp>

#include "immortal.hpp"
#include "log_handlers.hpp"
#include "log_output.hpp"

namespace zu::log {

namespace {

constexpr Level inherited = static_cast<Level>(-1);

struct Category {
  explicit Category(const std::string& text) : name(text) {}

  const std::string name;
  std::atomic<Level> level{inherited};  // `inherited` means the common level
  std::atomic<bool> isListed{false};
  Category* next = nullptr;
};

// All categories that were ever used, in a hash table that only grows. It needs no lock,
// constructor or destructor, so it can be used at any moment of the process's life.
std::array<std::atomic<Category*>, 256> buckets{};

std::atomic<Category*>& bucketOf(const std::string& name) {
  return buckets[std::hash<std::string>()(name) % buckets.size()];
}

Category* search(Category* first, const std::string& name) {
  while (first != nullptr && first->name != name) {
    first = first->next;
  }
  return first;
}

Category& obtain(const std::string& name) {
  std::atomic<Category*>& bucket = bucketOf(name);
  for (Category* first = bucket.load(std::memory_order_acquire);;) {
    if (Category* known = search(first, name)) {
      return *known;
    }
    auto added = std::make_unique<Category>(name);
    added->next = first;
    if (bucket.compare_exchange_weak(first, added.get(), std::memory_order_acq_rel,
                                     std::memory_order_acquire)) {
      return *added.release();
    }
  }
}

Category& list(const std::string& name) {
  Category& category = obtain(name);
  if (!category.isListed) {
    category.isListed = true;
  }
  return category;
}

template <typename Visitor>
void forEachCategory(Visitor visitor) {
  for (const auto& bucket : buckets) {
    for (Category* category = bucket.load(std::memory_order_acquire); category != nullptr;
         category = category->next) {
      visitor(*category);
    }
  }
}

Level levelFromEnvironment() {
  const char* value = std::getenv("ZU_LOG_LEVEL");
  const std::string_view text = value != nullptr ? value : "";
  const auto name = std::find(levelNames.begin(), levelNames.end(), text);
  return name != levelNames.end() ? static_cast<Level>(name - levelNames.begin()) : Level::info;
}

struct LevelOfAll {
  std::atomic<Level> level{levelFromEnvironment()};
};

std::atomic<Level>& levelOfAll() {
  return immortal<LevelOfAll>().level;
}

bool letsThrough(const Category* category, Level level) {
  if (level <= Level::silent || level > Level::debug) {
    return false;
  }
  const Level own = category != nullptr ? category->level.load() : inherited;
  return level <= (own == inherited ? levelOfAll().load() : own);
}

const char* orEmpty(const char* text) {
  return text != nullptr ? text : "";
}

}  // namespace

void registerCategory(const std::string& name) {
  list(name);
}

std::vector<std::string> categories() {
  std::vector<std::string> names;
  forEachCategory([&names](const Category& category) {
    if (category.isListed) {
      names.push_back(category.name);
    }
  });
  std::sort(names.begin(), names.end());
  return names;
}

void setLevel(Level level) {
  levelOfAll() = level;
  forEachCategory([](Category& category) { category.level = inherited; });
}

void setLevel(const std::string& category, Level level) {
  obtain(category).level = level;
}

bool isEnabled(Level level, const std::string& category) {
  return letsThrough(search(bucketOf(category).load(std::memory_order_acquire), category), level);
}

void write(Level level, const std::string& category, const std::string& message, const char* file,
           const char* function, int line) {
  if (!letsThrough(&list(category), level)) {
    return;
  }
  const Record record{level,
                      category,
                      message,
                      orEmpty(file),
                      orEmpty(function),
                      line,
                      std::chrono::system_clock::now()};
  printRecord(record);
  showToHandlers(record);
}

}  // namespace zu::log
