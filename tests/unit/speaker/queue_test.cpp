#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <optional>
#include <random>
#include <set>
#include <string>
#include <vector>

#include "speaker/utterance_queue.hpp"
#include "speaker/utterance_record.hpp"

namespace {

using KQ::SpeechOptions;
using KQ::SpeechPriority;
using KQ::UtteranceEnd;
using KQ::speaking::Arrival;
using KQ::speaking::Entry;
using KQ::speaking::UtteranceQueue;
using Number = std::uint64_t;

constexpr int priorities = 5;

Entry makeEntry(Number number, const SpeechOptions& options) {
  return std::make_shared<KQ::UtteranceRecord>(number, std::make_shared<SpeechOptions>(options),
                                               nullptr);
}

/// The table of docs/speaker.md once more, in the plainest words: one list of what is there, in the
/// order of arrival, looked through each time.
class Model {
 public:
  struct Item {
    Number number;
    int priority;
    std::string key;
    bool resumes;
  };

  /// What ends, with the reason; the spoken one is set back where it goes back to the queue.
  std::map<Number, UtteranceEnd> add(const Item& arriving) {
    std::map<Number, UtteranceEnd> ended;
    if (!arriving.key.empty()) {
      endIf(ended, UtteranceEnd::replaced,
            [&](const Item& there, bool) { return there.key == arriving.key; });
    }
    if (arriving.priority == notification && isAnyThereBut(notification)) {
      ended[arriving.number] = UtteranceEnd::interrupted;
      return ended;
    }
    endIf(ended, UtteranceEnd::interrupted, [&](const Item& there, bool isSpoken) {
      return isEndedBy(arriving, there, isSpoken) && !goesBack(arriving, there);
    });
    if (spoken && isEndedBy(arriving, *spoken, true)) {
      waiting.insert(waiting.begin(), *spoken);
      spoken.reset();
    }
    waiting.push_back(arriving);
    return ended;
  }

  std::optional<Number> speakNext() {
    if (waiting.empty()) {
      spoken.reset();
      return std::nullopt;
    }
    const auto first =
        std::min_element(waiting.begin(), waiting.end(),
                         [](const Item& a, const Item& b) { return a.priority < b.priority; });
    spoken = *first;
    waiting.erase(first);
    return spoken->number;
  }

  void remove(Number number) {
    waiting.erase(std::remove_if(waiting.begin(), waiting.end(),
                                 [&](const Item& item) { return item.number == number; }),
                  waiting.end());
  }

  std::optional<Item> spoken;
  std::vector<Item> waiting;

 private:
  enum { important, message, text, notification, progress };

  static bool isEndedBy(const Item& arriving, const Item& there, bool isSpoken) {
    const int is = there.priority;
    switch (arriving.priority) {
      case important:
        return isSpoken && is != important;
      case message:
      case text:
        return is == text || is == notification || (is == progress && isSpoken);
      case notification:
        return is == notification;
      default:
        return is == progress && !isSpoken;
    }
  }

  static bool goesBack(const Item& arriving, const Item& there) {
    return there.resumes && there.priority != arriving.priority;
  }

  bool isAnyThereBut(int priority) const {
    return (spoken && spoken->priority != priority) ||
           std::any_of(waiting.begin(), waiting.end(),
                       [&](const Item& item) { return item.priority != priority; });
  }

  template <typename Matches>
  void endIf(std::map<Number, UtteranceEnd>& ended, UtteranceEnd why, Matches matches) {
    for (std::size_t i = 0; i < waiting.size();) {
      if (matches(waiting[i], false)) {
        ended[waiting[i].number] = why;
        waiting.erase(waiting.begin() + static_cast<std::ptrdiff_t>(i));
      } else {
        ++i;
      }
    }
    if (spoken && matches(*spoken, true)) {
      ended[spoken->number] = why;
      spoken.reset();
    }
  }
};

/// The queue, used as the speaker does.
class Tested {
 public:
  std::map<Number, UtteranceEnd> add(const Model::Item& item) {
    SpeechOptions options;
    options.priority = static_cast<SpeechPriority>(item.priority);
    options.key = item.key;
    options.resumes = item.resumes;
    const Entry entry = makeEntry(item.number, options);
    entries[item.number] = entry;
    const Arrival arrival = queue.add(entry, spoken);
    std::map<Number, UtteranceEnd> ended;
    for (const KQ::speaking::Ended& utterance : arrival.ended) {
      ended[utterance.utterance->id] = utterance.why;
      queue.forgetKeyOf(utterance.utterance);
      if (utterance.utterance == spoken) {
        spoken = nullptr;
      }
    }
    if (arrival.suspendsCurrent) {
      queue.putBack(spoken);
      spoken = nullptr;
    }
    return ended;
  }

  std::optional<Number> speakNext() {
    if (spoken) {
      queue.forgetKeyOf(spoken);
    }
    spoken = queue.takeNext();
    return spoken ? std::optional<Number>(spoken->id) : std::nullopt;
  }

  void remove(Number number) {
    queue.remove(entries[number]);
    queue.forgetKeyOf(entries[number]);
  }

  UtteranceQueue queue;
  Entry spoken;
  std::map<Number, Entry> entries;
};

class Journal {
 public:
  explicit Journal(unsigned seed) : random(seed) {}

  int below(int limit) { return std::uniform_int_distribution<int>(0, limit - 1)(random); }

  std::mt19937 random;
};

TEST(Queue, DoesAsTheTableSaysWhateverHappens) {
  for (unsigned seed = 0; seed < 300; ++seed) {
    Journal journal(seed);
    Model model;
    Tested tested;
    for (Number number = 1; number <= 200; ++number) {
      const int operation = journal.below(10);
      if (operation < 6) {
        const int key = journal.below(12);
        const Model::Item item{number, journal.below(priorities),
                               key < 3 ? std::string(1, static_cast<char>('a' + key)) : "",
                               journal.below(3) == 0};
        ASSERT_EQ(tested.add(item), model.add(item)) << "seed " << seed << " at " << number;
      } else if (operation < 9) {
        ASSERT_EQ(tested.speakNext(), model.speakNext()) << "seed " << seed << " at " << number;
      } else if (!model.waiting.empty()) {
        const Number removed = model
                                   .waiting[static_cast<std::size_t>(
                                       journal.below(static_cast<int>(model.waiting.size())))]
                                   .number;
        tested.remove(removed);
        model.remove(removed);
      }
      ASSERT_EQ(tested.queue.size(), model.waiting.size()) << "seed " << seed << " at " << number;
      ASSERT_EQ(tested.spoken != nullptr, model.spoken.has_value());
    }
  }
}

struct Case {
  SpeechPriority arriving;
  SpeechPriority there;
  bool isThereSpoken;
  const char* result;  ///< what becomes of the one that is there, and of the arriving one
};

constexpr auto important = SpeechPriority::important;
constexpr auto message = SpeechPriority::message;
constexpr auto text = SpeechPriority::text;
constexpr auto notification = SpeechPriority::notification;
constexpr auto progress = SpeechPriority::progress;

class TwoUtterances : public testing::TestWithParam<Case> {};

TEST_P(TwoUtterances, MeetAsDocumented) {
  const Case& row = GetParam();
  UtteranceQueue queue;
  SpeechOptions options;
  options.priority = row.there;
  const Entry there = makeEntry(1, options);
  queue.add(there, nullptr);
  const Entry spoken = row.isThereSpoken ? queue.takeNext() : nullptr;

  options.priority = row.arriving;
  const Arrival arrival = queue.add(makeEntry(2, options), spoken);

  std::string result = "both stay";
  if (!arrival.ended.empty()) {
    result = arrival.ended.front().utterance->id == 1 ? "ends" : "is refused";
  }
  EXPECT_EQ(result, row.result);
}

INSTANTIATE_TEST_SUITE_P(
    Queue, TwoUtterances,
    testing::Values(
        Case{important, important, true, "both stay"}, Case{important, message, true, "ends"},
        Case{important, text, true, "ends"}, Case{important, notification, true, "ends"},
        Case{important, progress, true, "ends"}, Case{important, message, false, "both stay"},
        Case{important, text, false, "both stay"}, Case{message, important, true, "both stay"},
        Case{message, message, true, "both stay"}, Case{message, text, true, "ends"},
        Case{message, text, false, "ends"}, Case{message, notification, false, "ends"},
        Case{message, progress, true, "ends"}, Case{message, progress, false, "both stay"},
        Case{text, message, true, "both stay"}, Case{text, text, true, "ends"},
        Case{text, text, false, "ends"}, Case{text, notification, true, "ends"},
        Case{notification, text, true, "is refused"},
        Case{notification, message, false, "is refused"},
        Case{notification, progress, true, "is refused"},
        Case{notification, notification, true, "ends"}, Case{progress, message, true, "both stay"},
        Case{progress, progress, true, "both stay"}, Case{progress, progress, false, "ends"}));

TEST(Queue, SpeaksByPriorityAndThenInTheOrderOfArrival) {
  UtteranceQueue queue;
  Number number = 0;
  for (const SpeechPriority priority : {message, text, important, message, important}) {
    SpeechOptions options;
    options.priority = priority;
    queue.add(makeEntry(++number, options), nullptr);
  }

  std::vector<Number> order;
  while (const Entry next = queue.takeNext()) {
    order.push_back(next->id);
  }

  EXPECT_THAT(order, testing::ElementsAre(3, 5, 1, 4));  // the text was ended by the later message
}

}  // namespace
