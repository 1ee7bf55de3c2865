#include <benchmark/benchmark.h>
#include <re2/re2.h>

#include <QtCore/QFile>
#include <QtXml/QDomDocument>
#include <boost/algorithm/string/classification.hpp>
#include <boost/algorithm/string/split.hpp>
#include <boost/filesystem/operations.hpp>
#include <cstring>
#include <functional>
#include <kqtts/tts_preference.hpp>
#include <string>
#include <vector>

#include "support/benchmark_setup.hpp"
#include "support/ratio_reporter.hpp"

namespace {

using bench::repeated;
constexpr std::size_t megabyte = 1000 * 1000;

// Texts --------------------------------------------------------------------------------------

/// Each sentence has 100 bytes.
const std::string sentence =
    "The next train to the airport leaves from platform four at half past nine, please mind the "
    "gap. "
    "Bye.";
const std::string taggedSentence =
    "The next train to the airport leaves\\Pau=400\\ from platform four at half past nine, please "
    "hurry.";
const std::string pausedSentence =
    "The next train to the airport leaves\\mrkpause=400\\ from platform four at half past nine, so "
    "hurry";
const std::string quotedSentence =
    "It\u2019s the next train to the airport that leaves from platform four at half past nine; "
    "don\u2019t be late.";
const std::string accentedSentence =
    "Le prochain train pour l\u2019a\u00e9roport part \u00e0 neuf heures et demie, "
    "d\u00e9p\u00eachez-"
    "vous s\u2019il vous pla\u00eet";

/// A tag every 60 bytes.
const std::string taggedUnit = "leaves from platform four at half past nine\\Pau=400\\please ";
const std::string pausedUnit = "leaves from platform four at half \\mrkpause=400\\ past nine ";

const std::string multilingualUnit =
    "The next train leaves at nine. Le prochain train part \u00e0 neuf heures, "
    "d\u00e9p\u00eachez-vous "
    "s\u2019il vous pla\u00eet. \u6b21\u306e\u96fb\u8eca\u306f\u4e5d\u6642\u306b\u51fa\u767a\u3057"
    "\u307e\u3059\u3002 \u041f\u043e\u0435\u0437\u0434 \u043e\u0442\u0445\u043e\u0434\u0438\u0442 "
    "\u0432 \u0434\u0435\u0432\u044f\u0442\u044c. \u0627\u0644\u0642\u0637\u0627\u0631 "
    "\u0627\u0644\u062a\u0627\u0644\u064a. \uae30\ucc28\uac00 \u9031\u672b\u306b. ";

const std::string& multilingual() {
  static const std::string text = repeated(multilingualUnit, 10 * megabyte);
  return text;
}

// Yardsticks ---------------------------------------------------------------------------------

const RE2& knownTag() {
  RE2::Options options;
  options.set_encoding(RE2::Options::EncodingLatin1);
  options.set_case_sensitive(false);
  static const RE2 expression(R"(\\(?:Pau=|Vol=|VCT=|RSPD=|RST|mrk=|Style=|last)[^\\]*\\)",
                              options);
  return expression;
}

const RE2& tagsOnly() {
  RE2::Options options;
  options.set_encoding(RE2::Options::EncodingLatin1);
  static const RE2 expression(R"( *(?:\\[^\\]*\\ *)*)", options);
  return expression;
}

std::string replaceTagsWithRe2(const std::string& text) {
  std::string result = text;
  RE2::GlobalReplace(&result, knownTag(), " ");
  return result;
}

/// Searches for every byte that can begin a mark, and copies the text.
template <char markBegin>
std::string passAndCopy(const std::string& text) {
  const char* const end = text.data() + text.size();
  for (const char* at = text.data(); at != nullptr && at != end; ++at) {
    at = static_cast<const char*>(std::memchr(at, markBegin, static_cast<std::size_t>(end - at)));
    benchmark::DoNotOptimize(at);
    if (at == nullptr) {
      break;
    }
  }
  return text;
}

std::size_t countByteByByte(const char* text) {
  std::size_t count = 0;
  for (; *text != '\0'; ++text) {
    if ((static_cast<unsigned char>(*text) & 0xC0U) != 0x80U) {
      ++count;
    }
  }
  return count;
}

// Runs ---------------------------------------------------------------------------------------

template <typename Work>
benchmark::internal::Benchmark* add(const std::string& name, std::size_t bytes, Work work) {
  return benchmark::RegisterBenchmark(name.c_str(), [bytes, work](benchmark::State& state) {
    work(state);
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * bytes));
  });
}

class Comparison {
 public:
  template <typename Subject, typename Yardstick>
  void add(const std::string& function, Subject subject, const std::string& yardstickName,
           Yardstick yardstick, const std::string& textName, const std::string& text,
           double atLeast) {
    const Figure figure = {function, textName, yardstickName, atLeast};
    addOn(figure.subjectRun(), text, subject);
    addOn(figure.yardstickRun(), text, yardstick);
    figures.push_back(figure);
  }

  /// Compares one text with a hundred texts of the same total size. The texts exist only during
  /// their run, because all of them together would fill the memory.
  template <typename Function>
  void addLength(const std::string& name, Function function, const std::string& textName,
                 const std::string& unit, double atLeast) {
    constexpr std::size_t pieces = 100;
    constexpr int repetitions = 5;
    const Figure figure = {name, "100 MB " + textName, "100 x 1 MB", atLeast};
    const std::size_t size = pieces * repeated(unit, megabyte).size();
    ::add(figure.subjectRun(), size,
          [=](benchmark::State& state) {
            const std::string text = repeated(unit, size);
            for (auto step : state) {
              benchmark::DoNotOptimize(function(text));
            }
          })
        ->Iterations(1)
        ->Repetitions(repetitions);
    ::add(figure.yardstickRun(), size,
          [=](benchmark::State& state) {
            const std::vector<std::string> texts(pieces, repeated(unit, megabyte));
            for (auto step : state) {
              std::vector<decltype(function(texts[0]))> results;
              results.reserve(pieces);
              for (const std::string& text : texts) {
                results.push_back(function(text));
              }
              benchmark::DoNotOptimize(results);
            }
          })
        ->Iterations(1)
        ->Repetitions(repetitions);
    figures.push_back(figure);
  }

  /// Compares the subject of `figure` with the same function on a short text, again and again.
  template <typename Function>
  void addAgain(Figure figure, Function function, const std::string& unit) {
    figure.yardstick = "1 MB again and again";
    figure.atLeast = 0;
    addOn(figure.yardstickRun(), repeated(unit, megabyte), function);
    figures.push_back(figure);
  }

  std::vector<Figure> figures;

 private:
  template <typename Work>
  void addOn(const std::string& name, const std::string& text, Work work) {
    ::add(name, text.size(), [text, work](benchmark::State& state) {
      for (auto step : state) {
        benchmark::DoNotOptimize(work(text));
      }
    });
  }
};

std::string replaceTags(const std::string& text) {
  return KQ::replaceTags(text, " ");
}

std::string replaceMrkPause(const std::string& text) {
  std::string result = text;
  KQ::replaceMrkPause(result);
  return result;
}

std::string replaceIncorrectApostrophe(const std::string& text) {
  std::string result = text;
  KQ::replaceIncorrectApostrophe(result);
  return result;
}

std::size_t count(const std::string& text) {
  return KQ::countUtf8Chars(text.c_str());
}

std::vector<std::string> tokenize(const std::string& text) {
  std::vector<std::string> tokens;
  KQ::tokenizeString(const_cast<std::string&>(text), tokens, " ,.");
  return tokens;
}

std::vector<std::string> split(const std::string& text) {
  std::vector<std::string> tokens;
  boost::split(tokens, text, boost::is_any_of(" ,."), boost::token_compress_on);
  return tokens;
}

bool checkLast(const std::string& text) {
  return KQ::checkLastTag(text);
}

/// Long texts must be processed as fast as short ones. Whatever a text contains, the time must only
/// grow in proportion to its size.
void addLengths(Comparison& comparison) {
  comparison.addLength("replaceTags", replaceTags, "tagged", taggedUnit, 0.8);
  comparison.addAgain(comparison.figures.back(), replaceTags, taggedUnit);

  const std::string tags = "\\Pau=400\\";
  const std::string unclosedTags = "\\Pau=400 ";
  const std::string backslashes = "\\";
  const std::string quotes = "\u2019";
  const std::string longWord = std::string(1000, 'a') + " ";
  comparison.addLength("replaceTags", replaceTags, "of tags", tags, 0.5);
  comparison.addLength("replaceTags", replaceTags, "of unclosed tags", unclosedTags, 0.5);
  comparison.addLength("replaceTags", replaceTags, "of backslashes", backslashes, 0.5);
  comparison.addLength("replaceMrkPause", replaceMrkPause, "of pauses", "\\mrkpause=400\\", 0.5);
  comparison.addLength("replaceMrkPause", replaceMrkPause, "of growing pauses", "\\mrkpause=\\",
                       0.5);
  comparison.addLength("replaceMrkPause", replaceMrkPause, "of unclosed pauses", "\\mrkpause=400 ",
                       0.5);
  comparison.addLength("replaceMrkPause", replaceMrkPause, "of backslashes", backslashes, 0.5);
  comparison.addLength("replaceIncorrectApostrophe", replaceIncorrectApostrophe, "of apostrophes",
                       quotes, 0.5);
  comparison.addLength("countUtf8Chars", count, "of apostrophes", quotes, 0.5);
  comparison.addLength("tokenizeString", tokenize, "of delimiters", " ", 0.5);
  comparison.addLength("tokenizeString", tokenize, "of long words", longWord, 0.5);
  comparison.addLength("isTagsOnlySentence", KQ::isTagsOnlySentence, "of tags", tags, 0.5);
  comparison.addLength("isTagsOnlySentence", KQ::isTagsOnlySentence, "of backslashes", backslashes,
                       0.5);
  comparison.addLength("checkLastTag", checkLast, "of backslashes", backslashes, 0.5);
}

void addTextFunctions(Comparison& comparison) {
  const std::string tagged = repeated(taggedUnit, 10 * megabyte);
  comparison.add("replaceTags", replaceTags, "RE2", replaceTagsWithRe2, "sentence", taggedSentence,
                 2.3);
  comparison.add("replaceTags", replaceTags, "RE2", replaceTagsWithRe2, "plain sentence", sentence,
                 2.3);
  comparison.add("replaceTags", replaceTags, "RE2", replaceTagsWithRe2, "10 MB tagged", tagged, 5);
  comparison.add("replaceTags", replaceTags, "RE2", replaceTagsWithRe2, "10 MB multilingual",
                 multilingual(), 2.3);

  const std::string paused = repeated(pausedUnit, 10 * megabyte);
  const auto addPauses = [&](const std::string& textName, const std::string& text) {
    comparison.add("replaceMrkPause", replaceMrkPause, "pass and copy", passAndCopy<'\\'>, textName,
                   text, 0.5);
  };
  addPauses("sentence", pausedSentence);
  addPauses("10 MB tagged", tagged);
  addPauses("10 MB paused", paused);
  addPauses("10 MB multilingual", multilingual());
  const auto addApostrophes = [&](const std::string& textName, const std::string& text) {
    comparison.add("replaceIncorrectApostrophe", replaceIncorrectApostrophe, "pass and copy",
                   passAndCopy<'\xE2'>, textName, text, 0.5);
  };
  addApostrophes("sentence", quotedSentence);
  addApostrophes("10 MB tagged", tagged);
  addApostrophes("10 MB multilingual", multilingual());

  const auto countPlainly = [](const std::string& text) { return countByteByByte(text.c_str()); };
  comparison.add("countUtf8Chars", count, "byte loop", countPlainly, "sentence", accentedSentence,
                 1.8);
  comparison.add("countUtf8Chars", count, "byte loop", countPlainly, "10 MB tagged", tagged, 2.6);
  comparison.add("countUtf8Chars", count, "byte loop", countPlainly, "10 MB multilingual",
                 multilingual(), 2.6);

  comparison.add("tokenizeString", tokenize, "boost::split", split, "sentence", sentence, 2.2);
  comparison.add("tokenizeString", tokenize, "boost::split", split, "10 MB tagged", tagged, 2.2);
  comparison.add("tokenizeString", tokenize, "boost::split", split, "10 MB multilingual",
                 multilingual(), 2.2);

  const auto matchWithRe2 = [](const std::string& text) {
    return RE2::FullMatch(text, tagsOnly());
  };
  const auto addRefusal = [&](const std::string& textName, const std::string& text) {
    comparison.add("isTagsOnlySentence", KQ::isTagsOnlySentence, "RE2", matchWithRe2, textName,
                   text, 8);
  };
  addRefusal("sentence", sentence);
  addRefusal("10 MB tagged", tagged);
  addRefusal("10 MB multilingual", multilingual());
}

void addPreferenceFile(Comparison& comparison, const std::string& file) {
  KQ::VoiceSetting setting(KQ::VOICE_SETTING_PREFERENCES, "voice1");
  std::string writable = file;
  KQ::writeVoiceSettingInXml(writable, setting);
  comparison.add(
      "makeVoiceSettingFromXml",
      [file](const std::string&) {
        boost::filesystem::path path(file);
        return KQ::makeVoiceSettingFromXml(path).parameters.size();
      },
      "Qt's parse",
      [file](const std::string&) {
        QFile source(QString::fromStdString(file));
        QDomDocument document;
        return document.setContent(&source);
      },
      "preference file", std::string(boost::filesystem::file_size(file), ' '), 1 / 1.2);
}

}  // namespace

int main(int argc, char** argv) {
  bench::initialize(argc, argv, {"--benchmark_repetitions=9", "--benchmark_min_time=0.05"});

  const boost::filesystem::path file =
      boost::filesystem::temp_directory_path() / boost::filesystem::unique_path();
  Comparison comparison;
  addTextFunctions(comparison);
  addLengths(comparison);
  addPreferenceFile(comparison, file.native());
  RatioReporter reporter;
  benchmark::RunSpecifiedBenchmarks(&reporter);
  boost::filesystem::remove(file);
  return reporter.report(comparison.figures) ? 0 : 1;
}
