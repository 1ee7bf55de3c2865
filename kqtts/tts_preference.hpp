#pragma once

#include <boost/filesystem/path.hpp>
#include <cstddef>
#include <cstdint>
#include <kq/value.hpp>
#include <kqtts/export.hpp>
#include <map>
#include <string>
#include <vector>

namespace KQ {

/// The origin of a voice setting. The library stores it and never interprets it.
enum VOICE_SETTING_TYPE : std::int32_t {
  VOICE_SETTING_PREFERENCES = 1  ///< read from a preference file or from the system's preferences
};

/// The preferences of one voice: the synthesiser's voice and named numbers. A plain value.
class KQTTS_EXPORT VoiceSetting {
 public:
  /// Sets the six default parameters: "pitchShift", "doubleVoice", "doubleVoiceLevel" and
  /// "doubleVoiceTimeShift" 0, "voiceLevel" 1, "defaultVoiceSpeed" 100.
  VoiceSetting(VOICE_SETTING_TYPE type, std::string voiceName);
  ~VoiceSetting();                                   ///< never throws
  VoiceSetting(const VoiceSetting&);                 ///< a deep copy
  VoiceSetting(VoiceSetting&&) noexcept;             ///< the source may be assigned to or destroyed
  VoiceSetting& operator=(const VoiceSetting&);      ///< a deep copy
  VoiceSetting& operator=(VoiceSetting&&) noexcept;  ///< the source may be assigned to or destroyed

  VOICE_SETTING_TYPE type;                  ///< origin
  std::string voiceName;                    ///< the synthesiser's voice, "sourceVoice" in files
  std::map<std::string, float> parameters;  ///< by name; the units are the engine's
};

/// \name Voice preferences
/// Any number of threads may call these functions at the same time. If a file is being written
/// meanwhile, a part of it may be read.
/// @{

/// Whether type, name and all parameters are equal. Numbers are compared exactly; a NaN equals
/// nothing.
KQTTS_EXPORT bool operator==(VoiceSetting lhs, VoiceSetting rhs);

/// Reads a preference file. Reads "sourceVoice" and the six known parameters from the "name" and
/// "value" attributes of the root's children, and ignores everything else. If a name occurs twice,
/// the last one wins. A value that is not a number reads as 0. Only a regular file of at most 8 MiB
/// is read. A file is malformed if it is nested deeper than 256 elements, if its document type is
/// larger than 2 KiB, or if its entities expand to more than 4 Mi characters.
/// \return the setting; a value that the file does not have keeps its default, and so do all values
///         of a file that is malformed or cannot be read
/// \throws boost::filesystem::filesystem_error if the file's status cannot be read for another
///         reason than that the file does not exist
KQTTS_EXPORT VoiceSetting makeVoiceSettingFromXml(boost::filesystem::path& file);

/// Writes a preference file with every parameter of the setting; an existing file is overwritten.
/// Numbers have six significant digits and a decimal point, in every locale. Characters that XML
/// cannot hold, and bytes that are not UTF-8, are written as U+FFFD. A failure to write after the
/// file was opened is not reported.
/// \param file     UTF-8 path; its folder must exist
/// \param setting  what to write
/// \return whether the file could be opened; if not, an error is logged in "tts.preference"
KQTTS_EXPORT bool writeVoiceSettingInXml(std::string& file, VoiceSetting setting);

/// Makes a setting from the system's preferences. They are an array of [name, anything, value]; the
/// value of "sourceVoice" is a string, every other value a float. "voiceLevel" is always 1: the
/// system's preferences cannot change it.
/// \throws KQError (module "KQTextToSpeech", method "makeVoiceSettingFromSysXml") if an entry has
///         another shape
KQTTS_EXPORT VoiceSetting makeVoiceSettingFromSysXml(KQValue preferences,
                                                     const std::string& voiceName);

/// Finds a voice's preference file.
/// \param voiceName  not used
/// \param directory  the voice's folder
/// \return the path of the regular file "voiceSettings.xml" in that folder, or ""
/// \throws boost::filesystem::filesystem_error if the folder cannot be read
KQTTS_EXPORT std::string xRetrieveVoiceSettingsFile(const std::string& voiceName,
                                                    const boost::filesystem::path& directory);

/// @}
/// \name Text markup
/// A tag begins with a backslash and ends with the next one: "\Pau=500\". These functions throw
/// nothing of their own. Any number of threads may call them at the same time. Their time is linear
/// in the length of the text.
/// @{

/// Splits a text. Appends to `tokens` each longest run of bytes that are not in `delimiters`. No
/// token is empty. If there are no delimiters, the whole text is one token.
KQTTS_EXPORT void tokenizeString(std::string& text, std::vector<std::string>& tokens,
                                 const std::string& delimiters);

/// The number of the mark that means a pause of `id` milliseconds to an engine: 65536 - id, modulo
/// 2^32.
KQTTS_EXPORT int makeSpecificId(int id);

/// Replaces each pause mark `\mrkpause=N\` with the engine mark `\mrk=M\` and a space. M is
/// makeSpecificId(N) in plain decimal, in every locale. N is read as atoi() reads it: it is 0 if
/// there is no number. A mark that is not closed does not change.
KQTTS_EXPORT void replaceMrkPause(std::string& text);

/// Replaces each right single quotation mark (U+2019) with an ASCII apostrophe.
KQTTS_EXPORT void replaceIncorrectApostrophe(std::string& text);

/// The number of characters of a UTF-8 text. It counts the bytes that are not continuation bytes,
/// also in a text that is not UTF-8.
/// \param text  not null, ends at the first NUL
KQTTS_EXPORT std::size_t countUtf8Chars(const char* text);

/// Whether the text holds "\last" in lower case, closed or not.
KQTTS_EXPORT bool checkLastTag(const std::string& text);

/// Replaces every known tag, then trims white space from both ends. The known tags begin, in any
/// case, with "\Pau=", "\Vol=", "\VCT=", "\RSPD=", "\RST", "\mrk=", "\Style=" or "\last". Other
/// tags do not change ("\mrkpause=" is one: call replaceMrkPause() first), nor does a tag that is
/// not closed. The global locale defines case and white space.
///
/// If the replacement and the text after it form a known tag, that tag is replaced too. There is
/// one exception: if the replacement itself holds a complete known tag, it is inserted as it is.
/// \param text         UTF-8; bytes that are not do not change
/// \param replacement  not null
KQTTS_EXPORT std::string replaceTags(const std::string& text, const char* replacement);

/// Whether the text, up to its first NUL, holds only tags, known or unknown, and spaces. Other
/// white space counts as text.
KQTTS_EXPORT bool isTagsOnlySentence(const std::string& text);

/// @}

}  // namespace KQ
