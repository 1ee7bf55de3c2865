#pragma once

#include <boost/shared_ptr.hpp>
#include <functional>
#include <kqtts/tts_language_info.hpp>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "isolation/host/breaker.hpp"
#include "isolation/host/engine_memory.hpp"
#include "isolation/host/engine_process.hpp"
#include "isolation/host/isolated_utterance.hpp"

namespace KQ::isolation {

/// What a supervisor needs to know of its host.
struct HostSide {
  TextToSpeechEngineCallbackInterface* callback = nullptr;  ///< may be null
  boost::shared_ptr<TTSLanguageInfo> languages;             ///< may be null
  std::string plugin;                                       ///< "nuance"
  std::string program;                                      ///< of the child
  std::vector<std::string> environment;                     ///< of the child, at first
  std::vector<std::string> writableFolders;
  bool isSandboxed = true;
  std::chrono::milliseconds patience{2000};
  Breaker* breaker = nullptr;     ///< outlives the supervisor
  std::function<void()> onDeath;  ///< called at each death
};

/// Keeps one engine in a child process: calls it, watches it, and makes it anew where it was when
/// it dies or hangs. May be used by several threads at once, and from within the callback.
class Supervisor {
 public:
  explicit Supervisor(HostSide hostSide);
  /// Ends the engine.
  ~Supervisor();
  Supervisor(const Supervisor&) = delete;
  Supervisor& operator=(const Supervisor&) = delete;

  /// Starts the engine for the first time.
  /// \return false when there is none, or it cannot be loaded
  bool load();

  /// Calls the engine; once more if it dies of it.
  /// \param firstArgument  as bytes, for calls that are remembered by it
  /// \return the bytes of the result
  /// \throws KQError of the engine, or that says how the engine died
  std::string ask(Call call, const std::string& arguments, const std::string& firstArgument);

  /// Says that a call was answered by what cannot be understood. \throws KQError
  [[noreturn]] void refuseAnswer(Call call, const std::string& why);

  /// \name The hooks that are more than calls
  /// As those of the engine base.
  /// @{
  /// Sees to it that the engine is initialised in the environment that the host has now.
  void renewEnvironment(std::vector<std::string> now);
  void initialized(const Packages& packages);
  bool terminate();
  void speak(const std::string& text);
  void stop();
  void pause();
  void restart();
  /// @}

  /// The engine's name.
  std::string name() const;

 private:
  using Lock = std::lock_guard<std::mutex>;
  using Engine = std::shared_ptr<EngineProcess>;

  /// How a call went.
  struct Reply {
    enum class Kind { pending, result, error, died, timeout };
    Kind kind = Kind::pending;
    std::string result;
    std::exception_ptr error;
  };

  enum class Ready { yes, no, refused, interrupted };

  Engine obtain(const char* method);
  Engine startLocked(const char* method);
  Engine current() const;
  Ready awaitLoad(EngineProcess& engine, const std::function<bool()>& isInterrupted);
  Reply receiveLoad(EngineProcess& engine, const std::function<bool()>& isInterrupted);
  void adoptLoad(EngineProcess& engine, const std::string& result);
  Engine ready(const char* method, int deathsLeft, const std::function<bool()>& isInterrupted);

  Reply converse(EngineProcess& engine, Call call, const std::string& arguments,
                 Clock::time_point deadline);
  Reply awaitReply(EngineProcess& engine, Channel::Conversation& conversation,
                   Clock::time_point deadline);
  bool sendCall(EngineProcess& engine, Call call, std::uint64_t number,
                std::initializer_list<std::string_view> arguments);
  void take(EngineProcess& engine, const Packet& packet, Reply& reply, Utterance* utterance,
            Channel::Conversation* conversation);
  void takeRecord(Record kind, Decoder& record, Reply& reply);

  enum class Begin { sent, stopped, failed };
  Begin begin(EngineProcess& engine, Utterance& utterance, Channel::Conversation& conversation);
  void sayPiece(const Engine& engine, Utterance& utterance);
  Reply listen(EngineProcess& engine, Utterance& utterance, Channel::Conversation& conversation);
  void mourn(const Engine& engine, Utterance& utterance, const Reply& reply);

  void nudgeLocked();
  void control(Call call);
  void bury(const Engine& engine, const std::string& doing, const std::string& hang);
  void killAtStop(const Engine& engine);
  void remakeInBackground();

  std::chrono::milliseconds patience() const { return std::chrono::milliseconds(adaptedPatience); }
  KQError failure(const std::string& method, const std::string& description) const;
  /// What the engine threw, as a KQError: an exception of another type with its text.
  std::exception_ptr errorOf(const Reply& reply, Call call) const;
  KQError died(const std::string& method) const;
  KQError givenUp(const std::string& method) const;

  const HostSide host;
  SpeechControl speech;
  std::atomic<std::chrono::milliseconds::rep> adaptedPatience;

  mutable std::mutex mutex;  ///< of what follows
  Engine engineNow;
  std::vector<Engine> dying;
  EngineMemory memory;
  std::string engineName;
  std::string lastDeath;
  std::vector<Utterance*> utterances;  ///< in the order of their starts
  std::condition_variable utterancesChanged;
  std::vector<std::string> environment;  ///< of the next child
};

}  // namespace KQ::isolation
