#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "say/text_source.hpp"
#include "sentences/sentence_splitter.hpp"

namespace tool {

/// A piece of text that is spoken as one utterance.
struct Sentence {
  std::string text;
  std::uint64_t offset;  ///< bytes from the beginning of the whole text
};

/// Cuts a text into sentences while it arrives.
///
/// A sentence ends where KQ::sentences::SentenceSplitter finds its end, and at a line or a full
/// stop after which the text pauses. A sentence of more than maxBytes is cut between words, so
/// that memory stays bounded.
class SentenceReader {
 public:
  static constexpr std::size_t maxBytes = 4096;

  /// \param textSource  lives as long as this
  /// \param locale      of the text, or ""
  explicit SentenceReader(TextSource& textSource, const std::string& locale = "")
      : source(textSource), splitter(locale) {}

  /// The next sentence: speakable, without white space around it, never empty. None at the end of
  /// the text.
  /// \throws Failure when the text cannot be read
  std::optional<Sentence> next();

  /// Whether the sentences so far held bytes that are not UTF-8.
  bool sawForeignBytes() const { return foreignBytes; }

 private:
  std::string_view unread() const { return std::string_view(buffer).substr(begin); }
  void skipWhiteSpace();
  std::size_t readUntilSentenceEnd();
  bool endsWithALineOrSentence(std::string_view text) const;
  Sentence take(std::size_t length);

  TextSource& source;
  const KQ::sentences::SentenceSplitter splitter;
  std::string buffer;        ///< what was read; before `begin` it was handed out
  std::size_t begin = 0;     ///< where the next sentence begins in the buffer
  std::uint64_t before = 0;  ///< bytes of the text before the buffer
  bool ended = false;
  bool foreignBytes = false;
};

}  // namespace tool
