#include "isolation/host/supervisor.hpp"

#include <sys/socket.h>

#include <algorithm>
#include <kq/error.hpp>
#include <system_error>
#include <utility>
#include <zu/log.hpp>
#include <zu/path.hpp>

#include "isolation/host/surroundings.hpp"

namespace KQ::isolation {

namespace {

constexpr const char* category = "engine.isolated";

void warn(const std::string& message) {
  zu::log::write(zu::log::Level::warning, category, message, __FILE__, __func__, __LINE__);
}

bool isInterruptedNever() {
  return false;
}

/// An exception whose code lies outside this library, which may be closed before it is gone;
/// thrown() would put some of it here.
template <typename Error>
std::exception_ptr thrown(const Error& error) {
  try {
    throw error;
  } catch (const Error&) {
    return std::current_exception();
  }
}

const char* textOrNull(const std::string& text) {
  return text.empty() ? nullptr : text.c_str();
}

void writeLog(const zu::log::Record& record) {
  zu::log::write(record.level, record.category, record.message, textOrNull(record.file),
                 textOrNull(record.function), record.line);
}

/// Once: it is the system's affair, not the engine's.
void warnOfSandbox(const Names& missing) {
  static std::atomic<bool> isWarned{false};
  if (!missing.empty() && !isWarned.exchange(true)) {
    std::string all;
    for (const std::string& one : missing) {
      all += (all.empty() ? "" : "; ") + one;
    }
    warn("Engines are not protected as they should be: " + all);
  }
}

/// What the child reports outside of calls: records of the log.
void takeStray(const Packet& packet) {
  try {
    Decoder records(packet.body, answerLimits);
    while (!records.isAtEnd() && records.getEnum(Record::last) == Record::log) {
      writeLog(getLogRecord(records));
    }
  } catch (const ProtocolError&) {  // NOLINT(bugprone-empty-catch): no call waits for it
  }
}

}  // namespace

Supervisor::Supervisor(HostSide hostSide)
    : host(std::move(hostSide)),
      adaptedPatience(host.patience.count()),
      environment(host.environment) {
  zu::log::registerCategory(category);
  speech.lastStop = Clock::now().time_since_epoch().count();
}

Supervisor::~Supervisor() {
  const Engine engine = current();
  if (engine == nullptr || !engine->process.isOurs() ||
      awaitLoad(*engine, isInterruptedNever) == Ready::no) {
    return;
  }
  const Reply reply = converse(*engine, Call::unload, "", Clock::now() + patience());
  if (reply.kind != Reply::Kind::result) {
    warn(name() + " did not end as it should.");
    return;
  }
  // It ends by itself when it sees the end of the conversation.
  ::shutdown(engine->process.socket(), SHUT_RDWR);
  engine->process.awaitEnd(static_cast<int>(patience().count()));
}

std::string Supervisor::name() const {
  const Lock lock(mutex);
  return engineName.empty() ? "isolated " + host.plugin : engineName;
}

KQError Supervisor::failure(const std::string& method, const std::string& description) const {
  return {name(), method, description, nullptr, 0};
}

std::exception_ptr Supervisor::errorOf(const Reply& reply, Call call) const {
  try {
    std::rethrow_exception(reply.error);
  } catch (const KQError&) {
    return reply.error;
  } catch (const std::exception& error) {
    return thrown(failure(row(call).method, error.what()));
  }
}

KQError Supervisor::died(const std::string& method) const {
  const Lock lock(mutex);
  return {engineName, method, "The engine's process " + lastDeath + ".", nullptr, 0};
}

KQError Supervisor::givenUp(const std::string& method) const {
  const auto left = std::chrono::ceil<std::chrono::seconds>(host.breaker->nextTry() - Clock::now());
  return failure(method, "The engine is given up: its process died " +
                             std::to_string(Breaker::deathsAllowed) +
                             " times without speaking a sentence. It is tried again in " +
                             std::to_string(std::max<long>(left.count(), 1)) + " s.");
}

// Making the engine ---------------------------------------------------------------------------

Supervisor::Engine Supervisor::current() const {
  const Lock lock(mutex);
  return engineNow;
}

Supervisor::Engine Supervisor::startLocked(const char* method) {
  dying.erase(std::remove_if(dying.begin(), dying.end(),
                             [](const Engine& engine) { return engine->process.awaitEnd(0); }),
              dying.end());
  try {
    engineNow = std::make_shared<EngineProcess>(host.program, environment, takeStray);
  } catch (const std::system_error& error) {
    throw KQError(engineName, method,
                  std::string("The engine's process cannot be started: ") + error.what(), nullptr,
                  0);
  }
  LoadRequest request;
  request.plugin = host.plugin;
  request.folders = zu::path::libDirs();
  request.writable = host.writableFolders;
  request.isSandboxed = host.isSandboxed;
  request.hasCallback = host.callback != nullptr;
  request.wantsPhonemes = dynamic_cast<PhonemeCallback*>(host.callback) != nullptr;
  request.surroundings = surroundings(host.languages.get());
  request.state = memory.state();
  request.state.isPaused = speech.isHeld;
  engineNow->known = request.surroundings;
  Encoder body;
  put(body, request);
  Header header;
  header.kind = Kind::call;
  header.call = static_cast<std::uint8_t>(Call::load);
  header.number = engineNow->loading.number();
  engineNow->channel.send(header, {body.bytes()});  // a failure shows while it is awaited
  return engineNow;
}

Supervisor::Engine Supervisor::obtain(const char* method) {
  const bool isOpen = host.breaker->isOpen(Clock::now());
  {
    const Lock lock(mutex);
    if (engineNow != nullptr && !engineNow->process.isOurs()) {
      throw KQError(engineName, method,
                    "The engine belongs to another process, which forked this one.", nullptr, 0);
    }
    if (engineNow != nullptr) {
      return engineNow;
    }
    if (!isOpen) {
      return startLocked(method);
    }
  }
  throw givenUp(method);
}

Supervisor::Reply Supervisor::receiveLoad(EngineProcess& engine,
                                          const std::function<bool()>& isInterrupted) {
  constexpr std::chrono::milliseconds look{20};
  Reply reply;
  while (reply.kind == Reply::Kind::pending) {
    const auto deadline = engine.begin + patience();
    Packet packet;
    switch (engine.loading.await(packet, std::min(deadline, Clock::now() + look))) {
      case Channel::Got::packet:
        take(engine, packet, reply, nullptr, nullptr);
        break;
      case Channel::Got::timeout:
        if (Clock::now() >= deadline) {
          reply.kind = Reply::Kind::timeout;
        }
        break;
      case Channel::Got::nudge:
        break;
      case Channel::Got::end:
        reply.kind = Reply::Kind::died;
        break;
    }
    if (reply.kind == Reply::Kind::pending && isInterrupted()) {
      break;
    }
  }
  return reply;
}

void Supervisor::adoptLoad(EngineProcess& engine, const std::string& result) {
  LoadAnswer answer;
  Decoder decoder(result, answerLimits);
  get(decoder, answer);
  for (const std::string& known : answer.categories) {
    zu::log::registerCategory(known);
  }
  warnOfSandbox(answer.unprotected);
  {
    const Lock lock(mutex);
    engineName = answer.name;
  }
  // A machine that takes long to start a process takes long for all else.
  constexpr int factor = 50;
  constexpr int most = 15;
  const auto taken =
      std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - engine.begin);
  adaptedPatience = std::clamp(taken * factor, host.patience, host.patience * most).count();
  engine.noteProgress();
  engine.load = answer.isLoaded ? EngineProcess::Load::done : EngineProcess::Load::refused;
}

Supervisor::Ready Supervisor::awaitLoad(EngineProcess& engine,
                                        const std::function<bool()>& isInterrupted) {
  if (engine.load == EngineProcess::Load::pending) {
    const std::lock_guard<std::mutex> lock(engine.loadMutex);
    if (engine.load == EngineProcess::Load::pending) {
      const Reply reply = receiveLoad(engine, isInterrupted);
      if (reply.kind == Reply::Kind::pending) {
        return Ready::interrupted;
      }
      if (reply.kind == Reply::Kind::error) {
        engine.load = EngineProcess::Load::refused;
        try {
          std::rethrow_exception(reply.error);
        } catch (const std::exception& error) {
          warn("The plug-in \"" + host.plugin + "\" failed to load: " + error.what());
        }
      } else if (reply.kind == Reply::Kind::result) {
        try {
          adoptLoad(engine, reply.result);
        } catch (const ProtocolError& error) {
          engine.channel.complain(error.what());
        }
      }
    }
  }
  switch (engine.load) {
    case EngineProcess::Load::pending:
      return Ready::no;
    case EngineProcess::Load::done:
      return Ready::yes;
    case EngineProcess::Load::refused:
      return Ready::refused;
  }
  return Ready::no;
}

Supervisor::Engine Supervisor::ready(const char* method, int deathsLeft,
                                     const std::function<bool()>& isInterrupted) {
  for (;; --deathsLeft) {
    Engine engine = obtain(method);
    switch (awaitLoad(*engine, isInterrupted)) {
      case Ready::yes:
        return engine;
      case Ready::interrupted:
        return nullptr;
      case Ready::refused:
        throw failure(method, "The engine cannot be loaded.");
      case Ready::no:
        bury(engine, "it was being loaded", "did not load");
        break;
    }
    if (deathsLeft <= 0) {
      throw died(method);
    }
  }
}

bool Supervisor::load() {
  if (host.breaker->isOpen(Clock::now())) {
    return true;  // its initialisation is refused
  }
  try {
    return ready("load_plugin", 1, isInterruptedNever) != nullptr;
  } catch (const KQError& error) {
    warn(error.getDescription());
    return false;
  }
}

// Deaths --------------------------------------------------------------------------------------

void Supervisor::bury(const Engine& engine, const std::string& doing, const std::string& hang) {
  if (engine->isBuried.exchange(true)) {
    return;
  }
  const std::string complaint = engine->channel.complaint();
  std::string how;
  if (!complaint.empty()) {
    how = "reported nonsense (" + complaint + ")";
  } else if (!engine->channel.isClosed()) {
    how = hang + " within " + std::to_string(patience().count()) + " ms";
  } else {
    how = engine->process.describeEnd();
  }
  engine->process.kill();
  engine->channel.close();
  {
    const Lock lock(mutex);
    if (engineNow == engine) {
      engineNow = nullptr;
    }
    lastDeath = how + " while " + doing;
  }
  host.breaker->noteDeath(Clock::now());
  host.onDeath();
  warn("The process of " + name() + " " + how + " while " + doing + ".");
}

void Supervisor::killAtStop(const Engine& engine) {
  if (engine->isBuried.exchange(true)) {
    return;
  }
  engine->process.kill();
  engine->channel.close();
  {
    const Lock lock(mutex);
    if (engineNow == engine) {
      engineNow = nullptr;
    }
    dying.push_back(engine);
  }
  host.onDeath();
  warn("The process of " + name() + " was ended, since it did not heed a stop.");
  remakeInBackground();
}

void Supervisor::remakeInBackground() {
  if (host.breaker->isOpen(Clock::now())) {
    return;
  }
  const Lock lock(mutex);
  if (engineNow == nullptr) {
    try {
      startLocked("stopSynthetizer");
    } catch (const KQError& error) {
      warn(error.getDescription());
    }
  }
}

// Calls ---------------------------------------------------------------------------------------

bool Supervisor::sendCall(EngineProcess& engine, Call call, std::uint64_t number,
                          std::initializer_list<std::string_view> arguments) {
  Header header;
  header.kind = Kind::call;
  header.call = static_cast<std::uint8_t>(call);
  header.number = number;
  Encoder news;
  if (row(call).pace == Pace::thorough) {
    Surroundings now = surroundings(host.languages.get());
    const Lock lock(mutex);
    if (!(now == engine.known)) {
      header.hasSurroundings = 1;
      put(news, now);
      engine.known = std::move(now);
    }
  }
  const std::string_view* const parts = arguments.begin();
  const auto part = [&](std::size_t index) {
    return index < arguments.size() ? parts[index] : std::string_view();
  };
  return engine.channel.send(header, {news.bytes(), part(0), part(1), part(2)});
}

void Supervisor::take(EngineProcess& engine, const Packet& packet, Reply& reply,
                      Utterance* utterance, Channel::Conversation* conversation) {
  try {
    Decoder records(packet.body, answerLimits);
    while (!records.isAtEnd()) {
      if (reply.kind != Reply::Kind::pending) {
        throw ProtocolError("a call was answered twice");
      }
      const Record kind = records.getEnum(Record::last);
      if (kind <= Record::end) {
        if (utterance == nullptr) {
          throw ProtocolError("speech was reported where nothing is spoken");
        }
        utterance->hear(kind, records, engine, *conversation);
      } else {
        takeRecord(kind, records, reply);
      }
    }
  } catch (const ProtocolError& error) {
    engine.channel.complain(error.what());
    reply.kind = Reply::Kind::died;
  }
}

void Supervisor::takeRecord(Record kind, Decoder& record, Reply& reply) {
  if (kind == Record::log) {
    writeLog(getLogRecord(record));
  } else if (kind == Record::locale) {
    const auto isByLocale = record.get<bool>();
    const auto key = record.get<std::string>();
    const auto value = record.get<std::string>();
    if (host.languages != nullptr) {
      setLocaleEntry(*host.languages, isByLocale, key, value);
    }
  } else if (kind == Record::standing) {
    const auto language = record.get<std::string>();
    const auto voice = record.get<std::string>();
    const Lock lock(mutex);
    memory.standing(language, voice);
  } else if (kind == Record::result) {
    // The answer's parts are bounded when they are decoded.
    record.get<std::uint64_t>();
    reply.result = record.takeRest();
    reply.kind = Reply::Kind::result;
  } else if (kind == Record::kqError) {
    reply.error = thrown(getError(record));
    reply.kind = Reply::Kind::error;
  } else {
    reply.error = thrown(std::runtime_error(record.get<std::string>()));
    reply.kind = Reply::Kind::error;
  }
}

Supervisor::Reply Supervisor::awaitReply(EngineProcess& engine, Channel::Conversation& conversation,
                                         Clock::time_point deadline) {
  Reply reply;
  while (reply.kind == Reply::Kind::pending) {
    Packet packet;
    switch (conversation.await(packet, deadline)) {
      case Channel::Got::packet:
        take(engine, packet, reply, nullptr, nullptr);
        break;
      case Channel::Got::timeout:
        reply.kind = Reply::Kind::timeout;
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

Supervisor::Reply Supervisor::converse(EngineProcess& engine, Call call,
                                       const std::string& arguments, Clock::time_point deadline) {
  Channel::Conversation conversation(engine.channel);
  if (!sendCall(engine, call, conversation.number(), {arguments})) {
    Reply reply;
    reply.kind = Reply::Kind::died;
    return reply;
  }
  return awaitReply(engine, conversation, deadline);
}

std::string Supervisor::ask(Call call, const std::string& arguments,
                            const std::string& firstArgument) {
  const char* const method = row(call).method;
  for (int deathsLeft = 1;; --deathsLeft) {
    const Engine engine = ready(method, deathsLeft, isInterruptedNever);
    const Reply reply = converse(*engine, call, arguments, Clock::now() + patience());
    switch (reply.kind) {
      case Reply::Kind::result: {
        const Lock lock(mutex);
        memory.called(call, arguments, firstArgument);
        return reply.result;
      }
      case Reply::Kind::error:
        std::rethrow_exception(errorOf(reply, call));
      case Reply::Kind::pending:
      case Reply::Kind::died:
      case Reply::Kind::timeout:
        bury(engine, std::string("it was asked to ") + method, "did not answer");
    }
    if (deathsLeft <= 0) {
      throw died(method);
    }
  }
}

void Supervisor::refuseAnswer(Call call, const std::string& why) {
  if (const Engine engine = current()) {
    engine->channel.complain(why);
    bury(engine, std::string("it was asked to ") + row(call).method, "did not answer");
  }
  throw failure(row(call).method, "The engine's answer cannot be understood: " + why + ".");
}

// Life cycle ----------------------------------------------------------------------------------

void Supervisor::renewEnvironment(std::vector<std::string> now) {
  const Lock lock(mutex);
  if (environment == now || !utterances.empty()) {
    return;
  }
  environment = std::move(now);
  if (engineNow != nullptr) {
    engineNow->isBuried = true;
    engineNow->process.kill();
    engineNow->channel.close();
    dying.push_back(std::exchange(engineNow, nullptr));
  }
}

void Supervisor::initialized(const Packages& packages) {
  const Lock lock(mutex);
  memory.initialized(packages);
}

bool Supervisor::terminate() {
  const Engine engine = current();
  bool isTerminated = true;
  if (engine != nullptr && engine->process.isOurs() &&
      awaitLoad(*engine, isInterruptedNever) == Ready::yes) {
    const Reply reply = converse(*engine, Call::xTerminate, "", Clock::now() + patience());
    if (reply.kind == Reply::Kind::result) {
      Decoder decoder(reply.result, answerLimits);
      isTerminated = decoder.get<bool>();
    } else {
      // Whatever state it is in, a new one has none.
      bury(engine, "it was being shut down", "did not answer");
    }
  }
  if (isTerminated) {
    const Lock lock(mutex);
    memory.terminated();
    speech.lastStop = Clock::now().time_since_epoch().count();
    ++speech.stops;
    nudgeLocked();
  }
  return isTerminated;
}

// Control -------------------------------------------------------------------------------------

void Supervisor::nudgeLocked() {
  utterancesChanged.notify_all();
  for (const Utterance* utterance : utterances) {
    if (utterance->conversation != nullptr) {
      utterance->conversation->nudge();
    }
  }
}

void Supervisor::stop() {
  Engine engine;
  std::optional<Channel::Conversation> conversation;
  {
    const Lock lock(mutex);
    // First, and then the number of the call: utterances with lower numbers are stopped by the
    // child, those with higher ones see that they are stopped before they are sent.
    speech.lastStop = Clock::now().time_since_epoch().count();
    ++speech.stops;
    nudgeLocked();
    engine = engineNow;
    if (engine == nullptr || engine->load != EngineProcess::Load::done ||
        !engine->process.isOurs()) {
      return;
    }
    conversation.emplace(engine->channel);
    Header header;
    header.kind = Kind::call;
    header.call = static_cast<std::uint8_t>(Call::xStopSynthetizer);
    header.number = conversation->number();
    engine->channel.send(header, {});
  }
  const Reply reply = awaitReply(*engine, *conversation, Clock::now() + stopPatience);
  conversation.reset();
  if (reply.kind == Reply::Kind::timeout) {
    killAtStop(engine);
  } else if (reply.kind == Reply::Kind::error) {
    std::rethrow_exception(errorOf(reply, Call::xStopSynthetizer));
  }
}

void Supervisor::control(Call call) {
  const Engine engine = current();
  if (engine == nullptr || engine->load != EngineProcess::Load::done || !engine->process.isOurs()) {
    return;  // the one that comes is told
  }
  // The host is held or goes on, whatever the engine does; it must not be kept waiting for it.
  const Reply reply = converse(*engine, call, "", Clock::now() + stopPatience);
  if (reply.kind == Reply::Kind::error) {
    std::rethrow_exception(errorOf(reply, call));
  }
}

void Supervisor::pause() {
  speech.isHeld = true;
  {
    const Lock lock(mutex);
    nudgeLocked();
  }
  try {
    control(Call::xPauseSynthetizer);
  } catch (...) {
    speech.isHeld = false;
    throw;
  }
}

void Supervisor::restart() {
  speech.isHeld = false;
  {
    const Lock lock(mutex);
    nudgeLocked();
    if (engineNow != nullptr) {
      engineNow->noteProgress();
    }
  }
  control(Call::xRestartSynthetizer);
}

}  // namespace KQ::isolation
