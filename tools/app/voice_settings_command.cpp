#include <sys/mman.h>
#include <unistd.h>

#include <CLI/App.hpp>
#include <CLI/Config.hpp>
#include <CLI/Formatter.hpp>
#include <boost/filesystem/operations.hpp>
#include <cerrno>
#include <charconv>
#include <cstring>
#include <fstream>
#include <iterator>
#include <kqtts/package_names.hpp>
#include <kqtts/tts_preference.hpp>
#include <map>
#include <memory>
#include <nlohmann/json.hpp>

#include "app/command.hpp"
#include "system/failure.hpp"
#include "system/file_descriptor.hpp"
#include "system/replaced_file.hpp"
#include "text/number.hpp"
#include "text/utf8.hpp"

namespace tool {

namespace {

constexpr const char* voiceName = KQ::package_names::sourceVoice;

struct VoiceSettingsOptions {
  std::string work;
  std::string file;
  std::vector<std::string> settings;  ///< NAME=VALUE
  bool json = false;
};

KQ::VoiceSetting read(const std::string& file) {
  boost::filesystem::path path = file;
  return KQ::makeVoiceSettingFromXml(path);
}

/// As the file holds it.
std::string asText(float number) {
  char digits[32];
  return {digits,
          std::to_chars(digits, digits + sizeof digits, number, std::chars_format::general, 6).ptr};
}

// show --------------------------------------------------------------------------------------------

std::string asLines(const KQ::VoiceSetting& setting) {
  std::string text = std::string(voiceName) + "=" + oneLine(setting.voiceName) + "\n";
  for (const auto& [name, value] : setting.parameters) {
    text += name + "=" + asText(value) + "\n";
  }
  return text;
}

std::string asJson(const KQ::VoiceSetting& setting) {
  using Json = nlohmann::ordered_json;
  const Json json = {{voiceName, setting.voiceName}, {"parameters", setting.parameters}};
  return json.dump(2, ' ', false, Json::error_handler_t::replace) + "\n";
}

void requireReadable(const std::string& file) {
  boost::system::error_code ignored;
  const bool exists = access(file.c_str(), R_OK) == 0;
  const std::string reason = exists ? "it is no regular file" : std::strerror(errno);
  if (!exists || !boost::filesystem::is_regular_file(file, ignored)) {
    throw Failure("cannot read " + file + ": " + reason, "name a voice preference file");
  }
}

std::string contentOf(const std::string& file) {
  std::ifstream stream(file, std::ios::binary);
  return {std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
}

/// Whether a file sets something. A file of another kind reads as the defaults, and so does one
/// that sets all of them, so its content is compared with that of such a file.
bool holdsPreferences(const std::string& file) {
  const KQ::VoiceSetting defaults(KQ::VOICE_SETTING_PREFERENCES, "");
  if (!(read(file) == defaults)) {
    return true;
  }
  const FileDescriptor memory(memfd_create("defaults", MFD_CLOEXEC));
  std::string path = "/proc/self/fd/" + std::to_string(memory.get());
  KQ::writeVoiceSettingInXml(path, defaults);
  boost::system::error_code error;
  return boost::filesystem::file_size(path, error) == boost::filesystem::file_size(file, error) &&
         contentOf(path) == contentOf(file);
}

[[noreturn]] void refuseOtherKind(const std::string& file, const std::string& whatToDo) {
  throw Failure(file + " sets nothing or is no voice preference file", whatToDo);
}

int show(const VoiceSettingsOptions& options, const StandardOutput& output) {
  if (!options.settings.empty()) {
    throw UsageError("show takes no settings", "'kqtts voice-settings set' changes them");
  }
  requireReadable(options.file);
  if (!holdsPreferences(options.file)) {
    refuseOtherKind(options.file, "name a file that 'kqtts voice-settings set' wrote");
  }
  const KQ::VoiceSetting setting = read(options.file);
  output.write(options.json ? asJson(setting) : asLines(setting));
  return done;
}

// set ---------------------------------------------------------------------------------------------

constexpr const char* cannotWriteAdvice = "name a file that can be written";

std::string knownNames(const KQ::VoiceSetting& setting) {
  std::string names = voiceName;
  for (const auto& parameter : setting.parameters) {
    names += ", " + parameter.first;
  }
  return names;
}

/// What the engines accept.
struct Range {
  float lowest;
  float highest;
  bool zeroToo;  ///< whether 0 is accepted, for the usual value
};

const std::map<std::string, Range> ranges = {
    {"defaultVoiceSpeed", {50, 400, false}}, {"doubleVoice", {0.5F, 4, true}},
    {"doubleVoiceLevel", {0, 4, false}},     {"doubleVoiceTimeShift", {0, 0.5F, false}},
    {"pitchShift", {0.5F, 2, true}},         {"voiceLevel", {0, 2, false}},
};

void requireInRange(const std::string& name, float number) {
  const auto range = ranges.find(name);
  if (range == ranges.end()) {
    return;
  }
  const auto& [lowest, highest, zeroToo] = range->second;
  if ((number < lowest || number > highest) && !(zeroToo && number == 0)) {
    throw UsageError(name + "=" + asText(number) + " is out of range",
                     "engines accept " + std::string(zeroToo ? "0, and " : "") + asText(lowest) +
                         " to " + asText(highest));
  }
}

void apply(const std::string& written, KQ::VoiceSetting& setting) {
  const std::size_t equals = std::min(written.find('='), written.size());
  const std::string name = written.substr(0, equals);
  const std::string value = written.substr(std::min(equals + 1, written.size()));
  if (equals == written.size()) {
    throw UsageError("'" + written + "' is no setting", "write NAME=VALUE");
  }
  if (name == voiceName) {
    setting.voiceName = value;
    return;
  }
  const auto parameter = setting.parameters.find(name);
  if (parameter == setting.parameters.end()) {
    throw UsageError("there is no setting '" + name + "'", "there are " + knownNames(setting));
  }
  const std::optional<float> number = parseNumber(value);
  if (!number) {
    throw UsageError("'" + value + "' is no number", "write " + name + "=NUMBER");
  }
  requireInRange(name, *number);
  // What the file will hold, so that it can be compared.
  parameter->second = parseNumber(asText(*number)).value_or(*number);
}

/// A file of another kind would be lost.
void requirePreferenceFile(const std::string& file) {
  namespace fs = boost::filesystem;
  boost::system::error_code error;
  if (fs::is_regular_file(file, error) && !fs::is_empty(file, error) && !holdsPreferences(file)) {
    refuseOtherKind(file, "remove it or name another; nothing is changed");
  }
}

/// The file takes its place only once it is seen to hold the setting.
void write(const std::string& file, const KQ::VoiceSetting& setting) {
  ReplacedFile output(file, cannotWriteAdvice);
  std::string path = output.path();
  if (!KQ::writeVoiceSettingInXml(path, setting) || !(read(path) == setting)) {
    throw Failure("cannot write " + file + " whole",
                  "see that there is room, and that the voice's name is UTF-8");
  }
  output.commit();
}

int set(const VoiceSettingsOptions& options, const StandardOutput& /*output*/) {
  if (options.settings.empty()) {
    throw UsageError("there is nothing to set", "write NAME=VALUE behind the file");
  }
  requirePreferenceFile(options.file);
  KQ::VoiceSetting setting = read(options.file);
  for (const std::string& written : options.settings) {
    apply(written, setting);
  }
  write(options.file, setting);
  return done;
}

// The command -------------------------------------------------------------------------------------

using SettingsWork = int (*)(const VoiceSettingsOptions&, const StandardOutput&);

const std::map<std::string, SettingsWork> settingsWorks = {{"show", show}, {"set", set}};

CommandAction addVoiceSettingsCommand(CLI::App& parser) {
  const auto options = std::make_shared<VoiceSettingsOptions>();
  parser.add_option("WORK", options->work, "show or set")
      ->required()
      ->check(CLI::IsMember(&settingsWorks));
  parser
      .add_option("FILE", options->file,
                  "A voice preference file; set creates it if it does not exist")
      ->required()
      ->option_text("FILE");
  parser
      .add_option("SETTING", options->settings,
                  "What to set; all that the file does not say keeps its default")
      ->option_text("NAME=VALUE...");
  parser.add_flag("--json", options->json, "Show as JSON");
  return [options](StandardOutput& output) {
    return settingsWorks.at(options->work)(*options, output);
  };
}

const CommandRegistration voiceSettingsRegistration("voice-settings",
                                                    {"Show or change a voice preference file",
                                                     addVoiceSettingsCommand});

}  // namespace

}  // namespace tool
