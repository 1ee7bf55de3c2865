#include "isolation/protocol/messages.hpp"

namespace KQ::isolation {

namespace {

void put(Encoder& encoder, const EngineState& state) {
  encoder.put(state.isInitialized);
  encoder.put(state.packages);
  encoder.put(state.language);
  encoder.put(state.voice);
  encoder.put(state.dictionaries);
  encoder.put(std::uint64_t{state.calls.size()});
  for (const RememberedCall& call : state.calls) {
    encoder.put(call.call);
    encoder.put(call.arguments);
  }
  encoder.put(state.isPaused);
}

void get(Decoder& decoder, EngineState& state) {
  decoder.get(state.isInitialized);
  decoder.get(state.packages);
  decoder.get(state.language);
  decoder.get(state.voice);
  decoder.get(state.dictionaries);
  for (auto left = decoder.get<std::uint64_t>(); left > 0; --left) {
    const Call call = decoder.getEnum(Call::last);
    state.calls.push_back({call, decoder.get<std::string>()});
  }
  decoder.get(state.isPaused);
}

}  // namespace

void put(Encoder& encoder, const Surroundings& surroundings) {
  encoder.put(surroundings.languages.localeToLanguage);
  encoder.put(surroundings.languages.languageToLocale);
  encoder.put(surroundings.levels.others);
  encoder.put(surroundings.levels.byName);
}

void get(Decoder& decoder, Surroundings& surroundings) {
  decoder.get(surroundings.languages.localeToLanguage);
  decoder.get(surroundings.languages.languageToLocale);
  surroundings.levels.others = decoder.getEnum(zu::log::Level::debug);
  for (auto left = decoder.get<std::uint64_t>(); left > 0; --left) {
    const auto name = decoder.get<std::string>();
    surroundings.levels.byName[name] = decoder.getEnum(zu::log::Level::debug);
  }
}

void put(Encoder& encoder, const LoadRequest& request) {
  encoder.put(request.plugin);
  encoder.put(request.folders);
  encoder.put(request.writable);
  encoder.put(request.isSandboxed);
  encoder.put(request.hasCallback);
  encoder.put(request.wantsPhonemes);
  put(encoder, request.surroundings);
  put(encoder, request.state);
}

void get(Decoder& decoder, LoadRequest& request) {
  decoder.get(request.plugin);
  decoder.get(request.folders);
  decoder.get(request.writable);
  decoder.get(request.isSandboxed);
  decoder.get(request.hasCallback);
  decoder.get(request.wantsPhonemes);
  get(decoder, request.surroundings);
  get(decoder, request.state);
}

void put(Encoder& encoder, const LoadAnswer& answer) {
  encoder.put(answer.isLoaded);
  encoder.put(answer.isRestored);
  encoder.put(answer.name);
  encoder.put(answer.categories);
  encoder.put(answer.unprotected);
}

void get(Decoder& decoder, LoadAnswer& answer) {
  decoder.get(answer.isLoaded);
  decoder.get(answer.isRestored);
  decoder.get(answer.name);
  decoder.get(answer.categories);
  decoder.get(answer.unprotected);
}

void put(Encoder& encoder, const zu::log::Record& record) {
  encoder.put(record.level);
  encoder.put(record.category);
  encoder.put(record.message);
  encoder.put(record.file);
  encoder.put(record.function);
  encoder.put(record.line);
}

zu::log::Record getLogRecord(Decoder& decoder) {
  zu::log::Record record{};
  record.level = decoder.getEnum(zu::log::Level::debug);
  decoder.get(record.category);
  decoder.get(record.message);
  decoder.get(record.file);
  decoder.get(record.function);
  decoder.get(record.line);
  return record;
}

void put(Encoder& encoder, const KQError& error) {
  encoder.put(error.getModule());
  encoder.put(error.getMethod());
  encoder.put(error.getDescription());
  encoder.put(error.getFile() != nullptr);
  encoder.put(std::string(error.getFile() != nullptr ? error.getFile() : ""));
  encoder.put(error.getLine());
}

KQError getError(Decoder& decoder) {
  const auto module = decoder.get<std::string>();
  const auto method = decoder.get<std::string>();
  const auto description = decoder.get<std::string>();
  const auto hasFile = decoder.get<bool>();
  const auto file = decoder.get<std::string>();
  return {module, method, description, hasFile ? file.c_str() : nullptr, decoder.get<int>()};
}

}  // namespace KQ::isolation
