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

/// How a voice setting was made. Stored, never interpreted here.
enum VOICE_SETTING_TYPE : std::int32_t {
  VOICE_SETTING_PREFERENCES = 1  ///< read from a preference file or from the system's preferences
};

/// One voice's preferences: the synthesiser's voice and named numbers. A plain value.
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

  VOICE_SETTING_TYPE type;                  ///< how it was made
  std::string voiceName;                    ///< the synthesiser's voice, "sourceVoice" in files
  std::map<std::string, float> parameters;  ///< by name; the units are the engine's
};

/// \name Voice preferences
/// All may be called at once from any threads. A file that is written meanwhile may be read half.
/// @{

/// Whether type, name and all parameters are equal; numbers exactly, so that a NaN equals nothing.
KQTTS_EXPORT bool operator==(VoiceSetting lhs, VoiceSetting rhs);

/// Reads a preference file. Takes "sourceVoice" and the six known parameters from the "name" and
/// "value" attributes of the root's children, the last one where a name stands twice; all else is
/// ignored, and a value that is no number reads as 0. Only a regular file of at most 8 MiB is read;
/// one that is nested deeper than 256 elements, has a document type of more than 2 KiB or stands
/// for more than 4 Mi characters by its entities is malformed.
/// \return the defaults where the file says nothing, or cannot be read
/// \throws boost::filesystem::filesystem_error when the file's status cannot be had for another
///         reason than its absence
KQTTS_EXPORT VoiceSetting makeVoiceSettingFromXml(boost::filesystem::path& file);

/// Writes a preference file anew, with every parameter of the setting. Numbers have six significant
/// digits, in every locale. What XML cannot hold, such as control characters and what is not UTF-8,
/// is written as U+FFFD. Failures to write after opening are not reported.
/// \param file     UTF-8 path; its folder must exist
/// \param setting  what to write
/// \return whether the file could be opened; if not, an error is logged in "tts.preference"
KQTTS_EXPORT bool writeVoiceSettingInXml(std::string& file, VoiceSetting setting);

/// Makes a setting from the system's preferences: an array of [name, anything, value], where the
/// value is a string for "sourceVoice" and a float for every other name. "voiceLevel" is always 1:
/// the system's preferences cannot change it.
/// \throws KQError (module "KQTextToSpeech", method "makeVoiceSettingFromSysXml") when an entry has
///         another shape
KQTTS_EXPORT VoiceSetting makeVoiceSettingFromSysXml(KQValue preferences,
                                                     const std::string& voiceName);

/// Finds a voice's preference file.
/// \param voiceName  not consulted
/// \param directory  the voice's folder
/// \return the path of the regular file "voiceSettings.xml" in it, or ""
/// \throws boost::filesystem::filesystem_error when the folder cannot be read
KQTTS_EXPORT std::string xRetrieveVoiceSettingsFile(const std::string& voiceName,
                                                    const boost::filesystem::path& directory);

/// @}
/// \name Text markup
/// A tag begins with a backslash and ends with the next one: "\Pau=500\". None of these functions
/// throws of its own, all may be called at once from any threads, and their time is linear in the
/// text, whatever it is full of.
/// @{

/// Splits a text. Appends to `tokens` each run of bytes that are not in `delimiters`: none is
/// empty, and without delimiters the text is one token.
KQTTS_EXPORT void tokenizeString(std::string& text, std::vector<std::string>& tokens,
                                 const std::string& delimiters);

/// The id under which a pause of `id` milliseconds is passed to an engine as a mark: 65536 - id,
/// modulo 2^32.
KQTTS_EXPORT int makeSpecificId(int id);

/// Rewrites each pause mark `\mrkpause=N\` as the engine mark `\mrk=M\` and a space, M being
/// makeSpecificId(N) in plain decimal, in every locale. N is read as atoi() reads it, 0 where there
/// is no number. A mark that is not closed stays as it is.
KQTTS_EXPORT void replaceMrkPause(std::string& text);

/// Replaces each right single quotation mark (U+2019) by an ASCII apostrophe.
KQTTS_EXPORT void replaceIncorrectApostrophe(std::string& text);

/// The number of characters of a UTF-8 text: its bytes that are not continuation bytes. What is not
/// UTF-8 is counted by the same rule.
/// \param text  not null, ends at the first NUL
KQTTS_EXPORT std::size_t countUtf8Chars(const char* text);

/// Whether the text holds "\last", in exactly this case, closed or not.
KQTTS_EXPORT bool checkLastTag(const std::string& text);

/// Replaces every known tag, then trims white space from both ends. The known tags begin, in any
/// case, with "\Pau=", "\Vol=", "\VCT=", "\RSPD=", "\RST", "\mrk=", "\Style=" or "\last". Others,
/// and one that is not closed, stay as they are. Case and white space are what the global locale
/// says.
///
/// A known tag that the replacement makes together with what follows it is replaced in turn; only
/// where the replacement itself holds a complete known tag is what was inserted left alone.
/// \param text         UTF-8; what is not, stays as it is
/// \param replacement  not null
KQTTS_EXPORT std::string replaceTags(const std::string& text, const char* replacement);

/// Whether the text, up to its first NUL, holds nothing but tags, known or not, and spaces. Other
/// white space is text.
KQTTS_EXPORT bool isTagsOnlySentence(const std::string& text);

/// @}

}  // namespace KQ
