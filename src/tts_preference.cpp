#include <fcntl.h>

#include <QtCore/QFile>
#include <QtCore/QXmlStreamWriter>
#include <boost/filesystem/directory.hpp>
#include <boost/filesystem/exception.hpp>
#include <boost/filesystem/operations.hpp>
#include <kq/error.hpp>
#include <kqtts/package_names.hpp>
#include <kqtts/tts_preference.hpp>
#include <utility>

#include "log_sites.hpp"
#include "xml_settings.hpp"

namespace KQ {

namespace {

const LogCategory category(sites::preferenceCategory);

constexpr std::pair<const char*, float> defaultParameters[] = {
    {"pitchShift", 0.0F},           {"doubleVoice", 0.0F}, {"doubleVoiceLevel", 0.0F},
    {"doubleVoiceTimeShift", 0.0F}, {"voiceLevel", 1.0F},  {"defaultVoiceSpeed", 100.0F},
};

// Text ---------------------------------------------------------------------------------------

bool isXmlCharacter(uint character) {
  return character == '\t' || character == '\n' || character == '\r' ||
         (character >= 0x20 && character != 0xFFFE && character != 0xFFFF);
}

/// Converts a text and keeps all its characters: the plain conversion drops a U+FEFF at the begin.
QString toQString(const std::string& text) {
  return QString::fromStdString(' ' + text).mid(1);
}

/// A text as the value of an attribute. Characters that XML cannot hold become U+FFFD.
QString toXmlText(const std::string& text) {
  QString result = toQString(text);
  for (QChar& character : result) {
    if (!isXmlCharacter(character.unicode())) {
      character = QChar::ReplacementCharacter;
    }
  }
  return result;
}

void writePreference(QXmlStreamWriter& writer, const QString& description, const QString& name,
                     const QString& type, const QString& value) {
  writer.writeEmptyElement(QStringLiteral("Preference"));
  writer.writeAttribute(QStringLiteral("description"), description);
  writer.writeAttribute(QStringLiteral("name"), name);
  writer.writeAttribute(QStringLiteral("type"), type);
  writer.writeAttribute(QStringLiteral("value"), value);
}

// Written by hand, because the document model writes attributes in an order that changes from run
// to run, and characters above U+FFFF as two UTF-16 surrogates.
void writePreferences(QIODevice& output, const VoiceSetting& setting) {
  QXmlStreamWriter writer(&output);
  writer.setAutoFormatting(true);
  writer.setAutoFormattingIndent(1);
  writer.writeStartDocument();
  writer.writeStartElement(QStringLiteral("VoicePreferences"));
  writePreference(writer, QStringLiteral("Synthesis source voice"),
                  QLatin1String(package_names::sourceVoice), QStringLiteral("string"),
                  toXmlText(setting.voiceName));
  for (const auto& [name, value] : setting.parameters) {
    writePreference(writer, QString(), toXmlText(name), QStringLiteral("float"),
                    QString::number(static_cast<double>(value), 'g', 6));
  }
  writer.writeEndDocument();
}

/// Opens a file for writing. The path is not converted, so the locale does not matter. Opening does
/// not wait for the reader of a pipe; writing does.
bool openForWriting(const std::string& path, QFile& file) {
  if (path.find('\0') != std::string::npos) {
    return false;
  }
  const int descriptor =
      ::open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_NONBLOCK | O_CLOEXEC, 0666);
  return descriptor >= 0 && ::fcntl(descriptor, F_SETFL, 0) == 0 &&
         file.open(descriptor, QIODevice::WriteOnly | QIODevice::Text,
                   QFileDevice::AutoCloseHandle);
}

}  // namespace

// The record ---------------------------------------------------------------------------------

VoiceSetting::VoiceSetting(VOICE_SETTING_TYPE settingType, std::string sourceVoice)
    : type(settingType), voiceName(std::move(sourceVoice)) {
  parameters.insert(std::begin(defaultParameters), std::end(defaultParameters));
}

VoiceSetting::~VoiceSetting() = default;
VoiceSetting::VoiceSetting(const VoiceSetting&) = default;
VoiceSetting::VoiceSetting(VoiceSetting&&) noexcept = default;
VoiceSetting& VoiceSetting::operator=(const VoiceSetting&) = default;
VoiceSetting& VoiceSetting::operator=(VoiceSetting&&) noexcept = default;

bool operator==(VoiceSetting lhs, VoiceSetting rhs) {
  return lhs.type == rhs.type && lhs.voiceName == rhs.voiceName && lhs.parameters == rhs.parameters;
}

// The preference file ------------------------------------------------------------------------

VoiceSetting makeVoiceSettingFromXml(boost::filesystem::path& file) {
  VoiceSetting setting(VOICE_SETTING_PREFERENCES, "");
  if (file.empty()) {
    return setting;
  }
  const boost::filesystem::file_type type = boost::filesystem::status(file).type();
  if (type == boost::filesystem::status_error || type == boost::filesystem::file_not_found) {
    return setting;
  }
  forEachXmlSetting(file, [&](const std::string& name, const std::string& value) {
    if (name == package_names::sourceVoice) {
      setting.voiceName = value;
      return;
    }
    // The setting holds only the known parameters.
    const auto parameter = setting.parameters.find(name);
    if (parameter != setting.parameters.end()) {
      parameter->second = toQString(value).toFloat();
    }
  });
  return setting;
}

bool writeVoiceSettingInXml(std::string& file, VoiceSetting setting) {
  QFile output;
  if (!openForWriting(file, output)) {
    log(sites::settingsNotOpened, "Open the file for writing failed");
    return false;
  }
  writePreferences(output, setting);
  return true;
}

// The system's preferences -------------------------------------------------------------------

VoiceSetting makeVoiceSettingFromSysXml(KQValue preferences, const std::string& voiceName) {
  constexpr const char* module = "KQTextToSpeech";
  try {
    VoiceSetting setting(VOICE_SETTING_PREFERENCES, voiceName);
    for (int i = 0; i < preferences.getSize(); ++i) {
      const std::string& name = preferences[i][0];
      if (name == package_names::sourceVoice) {
        setting.voiceName = static_cast<std::string&>(preferences[i][2]);
      } else {
        setting.parameters[name] = static_cast<float&>(preferences[i][2]);
      }
    }
    setting.parameters["voiceLevel"] = 1.0F;
    return setting;
  } catch (const KQError& error) {
    throw KQError(module, "makeVoiceSettingFromSysXml", error.what(), nullptr, 0);
  } catch (const boost::filesystem::filesystem_error& error) {
    throw KQError(module, "makeVoiceSettingFromSysXml filesystem error : ", error.what(), nullptr,
                  0);
  }
}

std::string xRetrieveVoiceSettingsFile(const std::string& /*voiceName*/,
                                       const boost::filesystem::path& directory) {
  std::string result;
  if (directory.empty()) {
    return result;
  }
  for (const auto& entry : boost::filesystem::directory_iterator(directory)) {
    if (boost::filesystem::status(entry.path()).type() == boost::filesystem::regular_file &&
        entry.path().filename().native() == package_names::voiceSettingsFile) {
      result = entry.path().string();
    }
  }
  return result;
}

}  // namespace KQ
