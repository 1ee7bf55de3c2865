#pragma once

#include <functional>
#include <string>
#include <string_view>

namespace KQ::speaking {

/// Finds the stretches of a text that are written in a script that its language is not written in,
/// and the language that they are in then.
class ScriptRuns {
 public:
  /// Whether there is a voice for a language, by its code ("ru").
  using CanSpeak = std::function<bool(const std::string& code)>;
  /// Takes a stretch. \param code  "" for one in the text's own language
  using Take = std::function<void(std::string_view stretch, const std::string& code)>;

  ScriptRuns(const std::string& locale, CanSpeak canSpeakLanguage);

  /// Splits a text, whole characters of UTF-8. A text may come in several pieces.
  void split(std::string_view text, const Take& take);

 private:
  std::string codeFor(std::string_view rest, int script) const;

  std::string ownCode;
  CanSpeak canSpeak;
  std::string current;  ///< the language of the stretch that the last piece ended in
};

}  // namespace KQ::speaking
