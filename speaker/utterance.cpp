#include <kqtts/speaker.hpp>

#include "speaker_core.hpp"
#include "utterance_record.hpp"

namespace KQ {

Utterance::Utterance() = default;
Utterance::Utterance(const Utterance&) = default;
Utterance::Utterance(Utterance&&) noexcept = default;
Utterance& Utterance::operator=(const Utterance&) = default;
Utterance& Utterance::operator=(Utterance&&) noexcept = default;
Utterance::~Utterance() = default;

Utterance::Utterance(std::shared_ptr<UtteranceRecord> utteranceRecord)
    : record(std::move(utteranceRecord)) {}

std::uint64_t Utterance::id() const {
  return record ? record->id : 0;
}

UtteranceState Utterance::state() const {
  return record ? record->core->read([&] { return record->state; }) : UtteranceState::stopped;
}

UtteranceEnd Utterance::end() const {
  return record ? record->core->read([&] { return record->end; }) : UtteranceEnd::stopped;
}

std::string Utterance::error() const {
  if (!record) {
    return "";
  }
  return record->core->read(
      [&] { return record->details ? record->details->error : std::string(); });
}

SpeechVoice Utterance::voice() const {
  if (!record) {
    return {};
  }
  return record->core->read(
      [&] { return record->details ? record->details->voice : SpeechVoice(); });
}

void Utterance::stop() const {
  if (record) {
    record->core->stop(record);
  }
}

bool Utterance::wait() const {
  return !record || record->core->wait(record, std::nullopt);
}

bool Utterance::waitFor(std::chrono::milliseconds limit) const {
  return !record || record->core->wait(record, limit);
}

OpenUtterance::OpenUtterance() = default;

OpenUtterance::OpenUtterance(std::shared_ptr<UtteranceRecord> utteranceRecord)
    : Utterance(utteranceRecord), finisher(nullptr, [kept = std::move(utteranceRecord)](void*) {
        kept->core->finishText(kept);
      }) {}

bool OpenUtterance::append(std::string_view piece) const {
  return record && record->core->append(record, piece);
}

void OpenUtterance::finish() const {
  if (record) {
    record->core->finishText(record);
  }
}

}  // namespace KQ
