// The process of one engine. Started by an isolating plug-in, which talks to it on descriptor 3.

#include <fcntl.h>
#include <malloc.h>
#include <poll.h>
#include <pthread.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <iostream>
#include <thread>
#include <zu/log.hpp>

#include "isolation/child/served_engine.hpp"
#include "isolation/sandbox.hpp"

namespace {

using KQ::isolation::HostLink;
using KQ::isolation::Kind;
using KQ::isolation::Packet;
using KQ::isolation::ServedEngine;

constexpr int hostSocket = 3;

/// More threads than calls that any host has under way at once.
constexpr int maximumThreads = 32;

/// Threads that all wait at the socket: whichever gets a call serves it. There is always one that
/// waits, so that a stop is heard and the end of the host noticed whatever the engine does.
class Servers {
 public:
  Servers(const HostLink& hostLink, ServedEngine& served) : link(hostLink), engine(served) {}

  /// Serves for ever.
  [[noreturn]] void serve() {
    Packet packet;
    for (;;) {
      ++idle;
      link.receive(packet);
      if (--idle == 0) {
        add();
      }
      take(packet);
    }
  }

  /// Adds a thread that serves.
  void add() {
    if (++count < maximumThreads) {
      std::thread([this] { serve(); }).detach();
    }
  }

 private:
  void take(const Packet& packet) {
    switch (packet.header.kind) {
      case Kind::call:
        return engine.serve(packet);
      case Kind::cancel:
        return engine.cancel(packet);
      case Kind::taken:
        return engine.taken(packet);
      case Kind::report:
        return;
    }
  }

  const HostLink& link;
  ServedEngine& engine;
  std::atomic<int> idle{0};
  std::atomic<int> count{1};
};

/// The platform prints records that it lets through. The host prints them again, so that here they
/// must go nowhere; what the engine itself writes to standard error stays. The platform's output
/// keeps the stream that it found at its first record.
void silenceLog() {
  std::FILE* const original = stderr;
  std::FILE* const nowhere = std::fopen("/dev/null", "we");
  if (nowhere == nullptr) {
    return;
  }
  stderr = nowhere;
  zu::log::setLevel(zu::log::Level::debug);
  zu::log::write(zu::log::Level::debug, "engine.isolated", "", nullptr, nullptr, 0);
  stderr = original;
}

void reportLog(const HostLink& link) {
  zu::log::addHandler([&link](const zu::log::Record& record) {
    constexpr std::size_t longest = std::size_t{16} * 1024;
    zu::log::Record sent = record;
    for (std::string* text : {&sent.category, &sent.message, &sent.file, &sent.function}) {
      text->resize(std::min(text->size(), longest / 4 * (text == &sent.message ? 4 : 1)));
    }
    KQ::isolation::Encoder encoder;
    encoder.put(KQ::isolation::Record::log);
    put(encoder, sent);
    link.report(encoder.bytes());
  });
}

/// Gives up what an engine does not need, as its host wants it.
KQ::isolation::SandboxReport protect(const Packet& first) {
  KQ::isolation::LoadRequest request;
  KQ::isolation::Decoder decoder(first.body, KQ::isolation::requestLimits);
  get(decoder, request);
  if (!request.isSandboxed) {
    return {};
  }
  KQ::isolation::SandboxRules rules;
  rules.writableFolders = request.writable;
  return KQ::isolation::enterSandbox(rules);
}

/// Ends this process when its host ends, even if a process that the host forked keeps the socket.
void endWithHost(int host) {
  pthread_attr_t attributes;
  pthread_attr_init(&attributes);
  pthread_attr_setstacksize(&attributes, std::size_t{64} * 1024);
  pthread_t thread{};
  static int watched = host;
  const auto watch = [](void*) -> void* {
    pollfd waiting{watched, POLLIN, 0};
    while (poll(&waiting, 1, -1) <= 0) {
    }
    _exit(0);
  };
  pthread_create(&thread, &attributes, watch, nullptr);
  pthread_attr_destroy(&attributes);
}

bool isSocket(int descriptor) {
  struct stat status {};
  return fstat(descriptor, &status) == 0 && S_ISSOCK(status.st_mode);
}

}  // namespace

int main() {
  if (!isSocket(hostSocket)) {
    std::cerr << "This program is started by the isolating engine plug-ins of libkqtts.\n";
    return 2;
  }
  mallopt(M_ARENA_MAX, 1);
  const int host = static_cast<int>(syscall(SYS_pidfd_open, getppid(), 0));
  silenceLog();
  const HostLink link(hostSocket);
  ServedEngine engine(link);
  reportLog(link);
  Packet first;
  link.receive(first);
  engine.setUnprotected(protect(first).missing);
  if (host >= 0) {
    endWithHost(host);
  }
  Servers servers(link, engine);
  servers.add();
  engine.serve(first);
  servers.serve();
}
