#include "log_output.hpp"

#include <spdlog/details/log_msg.h>
#include <spdlog/sinks/stdout_sinks.h>

#include <mutex>
#include <string_view>

#include "immortal.hpp"
#include "printable.hpp"

namespace zu::log {

namespace {

struct Output {
  Output() {
    sink.set_pattern("%Y-%m-%d %H:%M:%S.%e %v");
    holdMutexAtFork<Output>();
  }

  std::mutex mutex;  // not the sink's own mutex, which cannot be locked at a fork
  spdlog::sinks::stderr_sink_st sink;
};

std::string_view withoutLastNewline(std::string_view text) {
  return !text.empty() && text.back() == '\n' ? text.substr(0, text.size() - 1) : text;
}

}  // namespace

void printRecord(const Record& record) {
  std::string text(levelNames[static_cast<std::size_t>(record.level)]);
  text += ' ';
  appendPrintable(text, record.category);
  text += ": ";
  appendPrintable(text, withoutLastNewline(record.message));
  text += " (";
  appendPrintable(text, record.file);
  text += ':';
  text += std::to_string(record.line);
  text += ' ';
  appendPrintable(text, record.function);
  text += ')';
  const spdlog::details::log_msg line(record.time, spdlog::source_loc(), "", spdlog::level::info,
                                      text);
  auto& output = immortal<Output>();
  const std::lock_guard<std::mutex> lock(output.mutex);
  output.sink.log(line);
}

}  // namespace zu::log
