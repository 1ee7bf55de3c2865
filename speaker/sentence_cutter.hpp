#pragma once

#include <cstddef>
#include <map>
#include <memory>
#include <string>
#include <string_view>

namespace KQ::sentences {
class SentenceSplitter;
}

namespace KQ::speaking {

/// Cuts sentences off the begin of a text, in any language. Keeps what is slow to make, so there is
/// one for all texts. Used by one thread at a time.
class SentenceCutter {
 public:
  SentenceCutter();
  ~SentenceCutter();
  SentenceCutter(const SentenceCutter&) = delete;
  SentenceCutter& operator=(const SentenceCutter&) = delete;

  /// Makes ready what a locale needs, so that the first text does not wait for it.
  void prepare(const std::string& locale) { splitterOf(locale); }

  /// The bytes of the first sentence, its closing marks and the white space after it included; 0 if
  /// it is not known to be complete. A sentence of more than 8 KiB is cut between words.
  /// \param isWhole  no more text follows
  std::size_t sentence(std::string_view text, const std::string& locale, bool isWhole);

  /// The bytes up to the last end of a clause; 0 if there is none.
  static std::size_t clauses(std::string_view text);

 private:
  sentences::SentenceSplitter& splitterOf(const std::string& locale);

  std::map<std::string, std::unique_ptr<sentences::SentenceSplitter>> splitters;
};

}  // namespace KQ::speaking
