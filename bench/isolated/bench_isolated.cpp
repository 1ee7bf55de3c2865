// What it costs that an engine runs in a process of its own.

#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <boost/filesystem/directory.hpp>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <future>
#include <string>
#include <zu/log.hpp>

#include "isolated/measured_engine.hpp"
#include "support/benchmark_setup.hpp"
#include "support/ratio_table.hpp"

namespace {

using bench::Clock;
using bench::MeasuredEngine;
using bench::Place;
using bench::Seconds;

const std::string twelveWords = "This is a sentence of twelve words, and it is soon over.";
const std::string fiveHundredWords = bench::repeated(twelveWords + " ", 42 * 57);

template <typename Measure>
double median(int times, Measure measure) {
  std::vector<double> all;
  for (int i = 0; i < times; ++i) {
    all.push_back(measure());
  }
  std::nth_element(all.begin(), all.begin() + times / 2, all.end());
  return all[static_cast<std::size_t>(times) / 2];
}

template <typename Measure>
double shortest(int times, Measure measure) {
  double least = measure();
  for (int i = 1; i < times; ++i) {
    least = std::min(least, measure());
  }
  return least;
}

/// 64 bytes to another process and back.
double roundTrip() {
  std::array<int, 2> ends{};
  ::socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, ends.data());
  const pid_t child = ::fork();
  std::array<char, 64> packet{};
  if (child == 0) {
    ::close(ends[0]);
    while (::recv(ends[1], packet.data(), packet.size(), 0) > 0) {
      ::send(ends[1], packet.data(), packet.size(), MSG_NOSIGNAL);
    }
    ::_exit(0);
  }
  ::close(ends[1]);
  const double taken = median(5000, [&] {
    const auto begin = Clock::now();
    ::send(ends[0], packet.data(), packet.size(), MSG_NOSIGNAL);
    ::recv(ends[0], packet.data(), packet.size(), 0);
    return Seconds(Clock::now() - begin).count();
  });
  ::close(ends[0]);
  ::waitpid(child, nullptr, 0);
  return taken;
}

/// KiB of a process's memory that no other process shares.
double privateMemory(pid_t process) {
  std::ifstream file("/proc/" + std::to_string(process) + "/smaps_rollup");
  double sum = 0;
  std::string name;
  for (double value = 0; file >> name;) {
    if (name.rfind("Private_", 0) == 0 && file >> value) {
      sum += value;
    }
  }
  return sum;
}

/// What loading and initialising an engine takes in a new process.
struct Load {
  double seconds = 0;
  double kibibytes = 0;  ///< of private memory that it adds
};

Load loadInNewProcess(const char* self, const std::string& plugin) {
  const auto begin = Clock::now();
  std::array<char, 256> line{};
  const std::string command = std::string(self) + " --load " + plugin;
  FILE* const pipe = ::popen(command.c_str(), "r");
  Load load;
  if (pipe != nullptr && std::fgets(line.data(), line.size(), pipe) != nullptr) {
    load.seconds = Seconds(Clock::now() - begin).count();
    load.kibibytes = std::strtod(line.data(), nullptr);
    ::pclose(pipe);
  }
  return load;
}

int beLoader(const std::string& plugin) {
  const double before = privateMemory(::getpid());
  MeasuredEngine engine(plugin, Place::inProcess);
  std::printf("%f\n", privateMemory(::getpid()) - before);
  return 0;
}

std::size_t entries(const char* folder) {
  const boost::filesystem::directory_iterator all(folder);
  return static_cast<std::size_t>(std::distance(begin(all), end(all)));
}

class Comparison {
 public:
  Comparison(const char* program, RatioTable& ratios)
      : self(program), table(ratios), trip(roundTrip()) {}

  void compare(const std::string& plugin) {
    MeasuredEngine near(plugin, Place::inProcess);
    MeasuredEngine far(plugin, Place::isolated);
    compareSpeech(plugin, near, far);
    compareControl(plugin, near, far);
    compareDeath(plugin, far);
  }

  /// Two isolated engines at once beside one after the other.
  void compareHosts() {
    MeasuredEngine first("nuance", Place::isolated);
    MeasuredEngine second("nuance", Place::isolated);
    const auto serial = shortest(
        3, [&] { return first.synthesis(fiveHundredWords) + second.synthesis(fiveHundredWords); });
    const auto parallel = shortest(3, [&] {
      const auto begin = Clock::now();
      auto other =
          std::async(std::launch::async, [&] { return second.synthesis(fiveHundredWords); });
      first.synthesis(fiveHundredWords);
      other.get();
      return Seconds(Clock::now() - begin).count();
    });
    add("nuance", "two engines at once", "one after the other", parallel, serial, 0.6);
  }

  /// What is left behind by utterances and deaths.
  void compareLife(int utterances, int kills) {
    MeasuredEngine engine("nuance", Place::isolated);
    const auto live = [&](int spoken, int killed) {
      for (int i = 0; i < spoken; ++i) {
        engine.synthesis("One.");
      }
      for (int i = 0; i < killed; ++i) {
        engine.killToNextAudio(twelveWords);
      }
      return std::array<double, 3>{static_cast<double>(entries("/proc/self/fd")),
                                   static_cast<double>(entries("/proc/self/task")),
                                   privateMemory(::getpid())};
    };
    const auto early = live(10, 10);
    const auto late = live(utterances, kills);
    add("nuance", "descriptors after a life", "after a few", late[0], early[0], 1.0);
    add("nuance", "threads after a life", "after a few", late[1], early[1], 1.0);
    add("nuance", "memory after a life", "after a few", late[2], early[2], 1.01);
  }

 private:
  void add(const std::string& plugin, const std::string& what, const std::string& yardstick,
           double value, double unit, double limit) {
    table.add({plugin, what, yardstick}, limit, value / unit);
  }

  void compareSpeech(const std::string& plugin, MeasuredEngine& near, MeasuredEngine& far) {
    for (const auto& [name, words] :
         {std::pair("12 words", twelveWords), std::pair("500 words", fiveHundredWords)}) {
      const double added =
          median(101, [&] { return -near.firstAudio(words) + far.firstAudio(words); });
      add(plugin, std::string("time added to the first audio, ") + name, "a round trip", added,
          trip, 8);
    }
    double inProcess = 1e9;
    double isolated = 1e9;
    for (int i = 0; i < 7; ++i) {
      inProcess = std::min(inProcess, near.synthesis(fiveHundredWords));
      isolated = std::min(isolated, far.synthesis(fiveHundredWords));
    }
    add(plugin, "synthesis of 500 words", "in process", isolated, inProcess, 1.03);
  }

  void compareControl(const std::string& plugin, MeasuredEngine& near, MeasuredEngine& far) {
    const double get = median(5000, [&] {
      const auto begin = Clock::now();
      far.tts().getParameter("speed");
      return Seconds(Clock::now() - begin).count();
    });
    add(plugin, "getParameter", "a round trip", get, trip, 1.5);
    const double set = median(5000, [&] {
      const auto begin = Clock::now();
      far.tts().setParameter("speed", 100);
      return Seconds(Clock::now() - begin).count();
    });
    add(plugin, "setParameter", "a round trip", set, trip, 1.5);
    const double stopNear = median(51, [&] { return near.stopToReturn(fiveHundredWords); });
    const double stopFar = median(51, [&] { return far.stopToReturn(fiveHundredWords); });
    add(plugin, "stop to return", "in process and a round trip", stopFar, stopNear + trip, 1.3);
  }

  void compareDeath(const std::string& plugin, MeasuredEngine& far) {
    std::vector<Load> loads;
    const double loading = median(11, [&] {
      loads.push_back(loadInNewProcess(self, plugin));
      return loads.back().seconds;
    });
    const double kill = median(11, [&] { return far.killToNextAudio(fiveHundredWords); });
    add(plugin, "SIGKILL to the next audio", "loading in a new process", kill, loading, 1.3);
    add(plugin, "the child's own private memory", "1 MiB",
        privateMemory(far.process()) - loads.back().kibibytes, 1024, 3);
  }

  const char* const self;
  RatioTable& table;
  const double trip;
};

}  // namespace

int main(int count, char** arguments) {
  zu::log::setLevel(zu::log::Level::error);
  if (count == 3 && std::string(arguments[1]) == "--load") {
    return beLoader(arguments[2]);
  }
  RatioTable table({"plug-in", "what", "beside"}, RatioTable::Limit::atMost);
  Comparison comparison(arguments[0], table);
  comparison.compare("nuance");
  comparison.compare("aitalk");
  comparison.compareHosts();
  const bool isLong = count > 1 && std::string(arguments[1]) == "--long";
  comparison.compareLife(isLong ? 10000 : 500, isLong ? 1000 : 50);
  return table.isReached() ? 0 : 1;
}
