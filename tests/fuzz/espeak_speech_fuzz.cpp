// Speaks texts with eSpeak NG. An input is a language in one line, and the text. Each is spoken by
// a process of its own, whose death is the finding.
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <cstring>
#include <random>
#include <string>

#include "fuzz_target.hpp"
#include "integration/espeak_ng/espeak_engine.hpp"

namespace {

/// Characters and words of a language, between blanks.
struct Script {
  const char* language;
  const char* characters;
};

constexpr std::array<Script, 23> scripts{
    {{"Arabic", "ا ب ت ث ج م ن"},   {"Brazilian", "ã ç é o x"},  {"CantoneseHK", "你 好 廣 東 話"},
     {"Chinese", "你 好 中 国 人"}, {"Czech", "č ř ž ý s"},      {"Danish", "æ ø å s j usyd"},
     {"Dutch", "ij ë n 't"},        {"English", "s t th re"},    {"EnglishGB", "s w y ll"},
     {"Finnish", "ä ö k ai"},       {"French", "é ç œ l' qu'"},  {"German", "ä ß sch z.B. Dr."},
     {"Greek", "α β ψ θ σ ώ"},      {"Italian", "à gli c l'"},   {"Japanese", "か ン ッ ャ ー こ"},
     {"Korean", "값 이 가 뷁 다"},  {"Norwegian", "å ø kj"},     {"Polish", "ł ż szcz ó"},
     {"Portuguese", "ã ç lh"},      {"Russian", "ж ъ ы щ а км"}, {"Spanish", "ñ ll ü"},
     {"Swedish", "å ä sj"},         {"Turkish", "ğ ı ş ü"}}};

/// What matters to a synthesiser in every language.
constexpr const char* commonPieces =
    "a A b W x 1 7 0 . , - ' ’ % & = _ ² \u0301 A. a. .5 s' -- (- 1.000 1,5 l.a. U.S. "
    "\\vol=50\\ \\mrk=1\\ \\rst\\ : ? !";

/// The pieces between blanks of a list, chosen by chance.
std::string pieceOf(const char* list, std::minstd_rand& chance) {
  const std::string all = list;
  const std::size_t place = chance() % all.size();
  const std::size_t before = all.rfind(' ', place);
  const std::size_t begin = before == std::string::npos ? 0 : before + 1;
  return all.substr(begin, all.find(' ', begin) - begin);
}

std::string randomText(const char* characters, std::size_t size, std::minstd_rand& chance) {
  constexpr std::array<int, 8> counts{1, 1, 2, 5, 20, 60, 90, 200};
  std::string text;
  while (text.size() < size) {
    std::string unit;
    for (std::size_t pieces = 1 + chance() % 3; pieces > 0; --pieces) {
      unit += pieceOf(chance() % 2 == 0 ? commonPieces : characters, chance);
    }
    unit += chance() % 6 == 0 ? " " : "";
    for (int count = counts[chance() % counts.size()]; count > 0; --count) {
      text += unit;
    }
    text += chance() % 4 == 0 ? " " : "";
  }
  return text.substr(0, size);
}

/// Whether a process that speaks the text came to its end.
bool isSurvived(test::SpeakingEngine& speaking, const std::string& language,
                const std::string& text) {
  const pid_t child = ::fork();
  if (child == 0) {
    constexpr unsigned int longestSeconds = 60;
    ::alarm(longestSeconds);
    speaking->setCurrentLanguage(language);
    speaking->setParameter("speed", 400.F);
    speaking->startSynthetizer(text);
    ::_exit(EXIT_SUCCESS);
  }
  int status = 0;
  ::waitpid(child, &status, 0);
  return WIFEXITED(status) && WEXITSTATUS(status) == EXIT_SUCCESS;
}

}  // namespace

/// libFuzzer asks for a changed input: here one that is made by chance, of what synthesisers
/// stumble over.
extern "C" std::size_t LLVMFuzzerCustomMutator(std::uint8_t* data, std::size_t /*size*/,
                                               std::size_t maxSize, unsigned int seed) {
  constexpr std::array<std::size_t, 5> sizes{40, 180, 260, 400, 700};
  std::minstd_rand chance(seed);
  const Script& script = scripts[chance() % scripts.size()];
  std::string input = script.language;
  input += '\n';
  input += randomText(script.characters, sizes[chance() % sizes.size()], chance);
  input.resize(std::min(input.size(), maxSize));
  std::memcpy(data, input.data(), input.size());
  return input.size();
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static test::SpeakingEngine& speaking = *new test::SpeakingEngine(test::espeakPackages());
  const auto [language, text] = fuzz::splitLine(fuzz::toString(data, size));
  const auto isNamed = [&name = language](const Script& script) { return script.language == name; };
  if (std::any_of(scripts.begin(), scripts.end(), isNamed)) {
    fuzz::require(isSurvived(speaking, language, text), "the process that spoke has died");
  }
  return 0;
}
