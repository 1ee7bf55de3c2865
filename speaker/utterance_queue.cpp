#include "utterance_queue.hpp"

#include <algorithm>

#include "utterance_record.hpp"

namespace KQ::speaking {

namespace {

/// What an arriving utterance does to one that is there.
enum class Effect {
  stays,       ///< nothing
  interrupts,  ///< ends it if it is being spoken
  replaces,    ///< ends it if it waits
  ends,        ///< ends it, spoken or waiting
  yields       ///< ends the arriving one
};

// The table of docs/speaker.md: a row for each arriving priority, a column for each that is there.
constexpr auto none = Effect::stays;
constexpr auto cut = Effect::interrupts;
constexpr auto swap = Effect::replaces;
constexpr auto end = Effect::ends;
constexpr auto yield = Effect::yields;
constexpr Effect table[5][5] = {
    // important message text notification progress
    {none, cut, cut, cut, cut},         // important
    {none, none, end, end, cut},        // message
    {none, none, end, end, cut},        // text
    {yield, yield, yield, end, yield},  // notification
    {none, none, none, none, swap},     // progress
};

std::size_t indexOf(SpeechPriority priority) {
  return static_cast<std::size_t>(priority);
}

SpeechPriority priorityOf(const Entry& utterance) {
  return utterance->options->priority;
}

Effect effectOn(const Entry& present, const Entry& arriving) {
  return table[indexOf(priorityOf(arriving))][indexOf(priorityOf(present))];
}

/// Whether one that is interrupted goes back to the queue.
bool isKept(const Entry& present, const Entry& arriving) {
  return present->options->resumes && priorityOf(present) != priorityOf(arriving);
}

}  // namespace

UtteranceQueue::Waiting& UtteranceQueue::waitingOf(const Entry& utterance) {
  return waiting[indexOf(priorityOf(utterance))];
}

Arrival UtteranceQueue::add(const Entry& arriving, const Entry& current) {
  Arrival arrival;
  replaceByKey(arriving, current, arrival);
  const bool currentIsReplaced =
      !arrival.ended.empty() && arrival.ended.front().utterance == current;
  const Entry present = currentIsReplaced ? nullptr : current;
  if (isRefused(priorityOf(arriving), present)) {
    arrival.ended.push_back({arriving, UtteranceEnd::interrupted});
    return arrival;
  }
  for (std::size_t priority = 0; priority < priorities; ++priority) {
    endWaiting(arriving, priority, arrival);
  }
  if (present) {
    treatCurrent(arriving, present, arrival);
  }
  Waiting& row = waitingOf(arriving);
  arriving->place = row.insert(row.end(), arriving);
  ++count;
  if (!arriving->options->key.empty()) {
    byKey[arriving->options->key] = arriving;
  }
  return arrival;
}

void UtteranceQueue::replaceByKey(const Entry& arriving, const Entry& current, Arrival& arrival) {
  const auto found = byKey.find(arriving->options->key);
  if (arriving->options->key.empty() || found == byKey.end()) {
    return;
  }
  const Entry earlier = found->second;
  byKey.erase(found);
  if (earlier != current) {
    remove(earlier);
  }
  arrival.ended.push_back({earlier, UtteranceEnd::replaced});
}

bool UtteranceQueue::isRefused(SpeechPriority arriving, const Entry& current) const {
  for (std::size_t present = 0; present < priorities; ++present) {
    const bool isThere =
        !waiting[present].empty() || (current && indexOf(priorityOf(current)) == present);
    if (isThere && table[indexOf(arriving)][present] == Effect::yields) {
      return true;
    }
  }
  return false;
}

void UtteranceQueue::endWaiting(const Entry& arriving, std::size_t priority, Arrival& arrival) {
  const Effect effect = table[indexOf(priorityOf(arriving))][priority];
  if (effect != Effect::ends && effect != Effect::replaces) {
    return;
  }
  const Waiting present = waiting[priority];
  for (const Entry& utterance : present) {
    if (!isKept(utterance, arriving)) {
      remove(utterance);
      forgetKeyOf(utterance);
      arrival.ended.push_back({utterance, UtteranceEnd::interrupted});
    }
  }
}

void UtteranceQueue::treatCurrent(const Entry& arriving, const Entry& current, Arrival& arrival) {
  const Effect effect = effectOn(current, arriving);
  if (effect != Effect::ends && effect != Effect::interrupts) {
    return;
  }
  if (isKept(current, arriving)) {
    arrival.suspendsCurrent = true;
  } else {
    arrival.ended.push_back({current, UtteranceEnd::interrupted});
  }
}

void UtteranceQueue::putBack(const Entry& interrupted) {
  Waiting& row = waitingOf(interrupted);
  interrupted->place = row.insert(row.begin(), interrupted);
  ++count;
}

Entry UtteranceQueue::takeNext() {
  for (Waiting& row : waiting) {
    if (!row.empty()) {
      const Entry next = row.front();
      row.pop_front();
      --count;
      return next;
    }
  }
  return nullptr;
}

void UtteranceQueue::remove(const Entry& utterance) {
  waitingOf(utterance).erase(utterance->place);
  --count;
}

void UtteranceQueue::forgetKeyOf(const Entry& ended) {
  const auto found = byKey.find(ended->options->key);
  if (found != byKey.end() && found->second == ended) {
    byKey.erase(found);
  }
}

std::vector<Entry> UtteranceQueue::all() const {
  std::vector<Entry> entries;
  entries.reserve(count);
  for (const Waiting& row : waiting) {
    entries.insert(entries.end(), row.begin(), row.end());
  }
  return entries;
}

}  // namespace KQ::speaking
