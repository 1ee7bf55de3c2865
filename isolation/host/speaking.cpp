// How a supervisor speaks.

#include <algorithm>
#include <kq/error.hpp>
#include <zu/log.hpp>

#include "isolation/host/supervisor.hpp"

namespace KQ::isolation {

namespace {

/// Has stops find an utterance for as long as it lives.
class Registration {
 public:
  Registration(std::mutex& guard, std::condition_variable& noticed, std::vector<Utterance*>& list,
               Utterance& utterance)
      : mutex(guard), changed(noticed), utterances(list), own(&utterance) {
    const std::lock_guard<std::mutex> lock(mutex);
    utterances.push_back(own);
  }
  ~Registration() {
    const std::lock_guard<std::mutex> lock(mutex);
    utterances.erase(std::find(utterances.begin(), utterances.end(), own));
    changed.notify_all();
  }
  Registration(const Registration&) = delete;
  Registration& operator=(const Registration&) = delete;

  /// Waits until all that began before are over, or this one is stopped: what an engine reports of
  /// one utterance after another would otherwise reach the host's threads in any order.
  void awaitTurn() {
    std::unique_lock<std::mutex> lock(mutex);
    changed.wait(lock, [&] { return utterances.front() == own || own->isStopped(); });
  }

 private:
  std::mutex& mutex;
  std::condition_variable& changed;
  std::vector<Utterance*>& utterances;
  Utterance* const own;
};

/// A few bytes of a text, for a message.
std::string excerpt(std::string_view text, std::size_t place) {
  constexpr std::size_t length = 40;
  std::string some(text.substr(std::min(place, text.size()), length));
  while (!some.empty() && (static_cast<unsigned char>(some.back()) & 0x80U) != 0) {
    some.pop_back();
  }
  return some;
}

}  // namespace

void Supervisor::speak(const std::string& text) {
  Utterance utterance(text, host.callback, speech);
  {
    const Lock lock(mutex);
    for (const Utterance* other : utterances) {
      if (other->thread == utterance.thread) {
        throw KQError(engineName, "startSynthetizer",
                      "An utterance cannot be started from an event of another one.", nullptr, 0);
      }
    }
  }
  Registration registration(mutex, utterancesChanged, utterances, utterance);
  registration.awaitTurn();
  while (!utterance.isSettled()) {
    try {
      const Engine engine =
          ready("startSynthetizer", Breaker::deathsAllowed, [&] { return utterance.isStopped(); });
      if (engine != nullptr) {
        sayPiece(engine, utterance);
      }
    } catch (const KQError&) {
      utterance.fail(std::current_exception());
    }
    if (utterance.progress.hasSaidSentence()) {
      host.breaker->noteSentence();
    }
  }
  utterance.finish();
}

Supervisor::Begin Supervisor::begin(EngineProcess& engine, Utterance& utterance,
                                    Channel::Conversation& conversation) {
  {
    const Lock lock(mutex);
    utterance.conversation = &conversation;
  }
  if (utterance.isStopped()) {
    return Begin::stopped;
  }
  const SpeechProgress::Piece piece = utterance.nextPiece();
  Encoder size;
  size.put(std::uint64_t{piece.prefix.size() + piece.body.size()});
  engine.noteProgress();
  const bool isSent = sendCall(engine, Call::xStartSynthetizer, conversation.number(),
                               {size.bytes(), piece.prefix, piece.body});
  return isSent ? Begin::sent : Begin::failed;
}

void Supervisor::sayPiece(const Engine& engine, Utterance& utterance) {
  Reply reply;
  reply.kind = Reply::Kind::died;
  {
    Channel::Conversation conversation(engine->channel);
    const Begin begun = begin(*engine, utterance, conversation);
    if (begun == Begin::sent) {
      reply = listen(*engine, utterance, conversation);
    }
    const Lock lock(mutex);
    utterance.conversation = nullptr;
    if (begun == Begin::stopped) {
      return;
    }
  }
  switch (reply.kind) {
    case Reply::Kind::result:
      return utterance.pieceReturned();
    case Reply::Kind::error:
      return utterance.fail(errorOf(reply, Call::xStartSynthetizer));
    case Reply::Kind::pending:
    case Reply::Kind::died:
    case Reply::Kind::timeout:
      return mourn(engine, utterance, reply);
  }
}

Supervisor::Reply Supervisor::listen(EngineProcess& engine, Utterance& utterance,
                                     Channel::Conversation& conversation) {
  Reply reply;
  while (reply.kind == Reply::Kind::pending) {
    const Clock::time_point deadline = utterance.isOver() ? utterance.silentBy()
                                       : speech.isHeld    ? never
                                                          : engine.hangsAt(patience());
    Packet packet;
    switch (conversation.await(packet, deadline)) {
      case Channel::Got::packet:
        take(engine, packet, reply, &utterance, &conversation);
        break;
      case Channel::Got::timeout:
        // Another utterance of the engine may have come on meanwhile.
        if (utterance.isOver() || Clock::now() >= engine.hangsAt(patience())) {
          reply.kind = Reply::Kind::timeout;
        }
        break;
      case Channel::Got::nudge:
        break;
      case Channel::Got::end:
        reply.kind = Reply::Kind::died;
        break;
    }
  }
  return reply;
}

void Supervisor::mourn(const Engine& engine, Utterance& utterance, const Reply& reply) {
  if (reply.kind == Reply::Kind::timeout && utterance.isOver()) {
    return killAtStop(engine);
  }
  const std::size_t place = utterance.progress.place();
  bury(engine,
       "it spoke, at byte " + std::to_string(place) + " of the text, before \"" +
           excerpt(utterance.text, place) + "\"",
       "did not go on");
  if (!utterance.isOver() && utterance.engineDied()) {
    zu::log::write(zu::log::Level::warning, "engine.isolated",
                   "A sentence that " + name() + " died of twice is left out.", __FILE__, __func__,
                   __LINE__);
  }
}

}  // namespace KQ::isolation
