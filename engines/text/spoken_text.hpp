#pragma once

#include <cstddef>
#include <kq/speech_callback.hpp>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "dictionary/user_dictionary.hpp"
#include "text/markup_reader.hpp"
#include "text/text_rewriter.hpp"

namespace KQ::engines {

/// A text with inline tags in the form in which it is spoken: words of a user's dictionary, and
/// signs that the synthesiser does not read, are replaced.
///
/// The text is replaced while it is read, piece by piece. So the time and the memory up to a place
/// do not depend on the text after it, and the ends of the pieces do not change the result. Text
/// without replacements is not copied. Offsets count in the text with the replacements. If a
/// replacement and its neighbour would become one word, there is a blank between them: scripts
/// without blanks have words side by side.
class SpokenText {
 public:
  /// \param original    must outlive this object, unchanged
  /// \param dictionary  must outlive this object, unchanged; null for none
  /// \param rewriter    must outlive this object, and serve no other one; null for none
  explicit SpokenText(std::string_view original, const UserDictionary* dictionary = nullptr,
                      TextRewriter* rewriter = nullptr)
      : original(original), dictionary(dictionary), rewriter(rewriter), reader(original) {}

  /// Returns the next piece, or none at the end. Replacements add no tags to those of the original.
  std::optional<MarkupItem> next();

  /// Whether the last piece is text that continues in the next one.
  bool textGoesOn() const { return taken < end || reader.textGoesOn(); }

  /// Returns a part of the text that was read and not released. Valid until the next call of next()
  /// or release().
  std::string_view view(std::size_t offset, std::size_t length) const {
    return isCopied ? window.substr(offset, length) : original.substr(offset, length);
  }

  /// The caller needs nothing before that place any more.
  void release(std::size_t offset);

  /// Returns the place of a word in the original. A word of a replacement has the place of all the
  /// replaced text.
  /// \param word  in the text that was read and not released
  SpeechWord inOriginal(const SpeechWord& word) const;

 private:
  /// A part of the text with the replacements.
  struct Window {
    std::string text;
    std::size_t begin = 0;

    std::size_t end() const { return begin + text.size(); }
    std::string_view substr(std::size_t offset, std::size_t length) const {
      return std::string_view(text).substr(offset - begin, length);
    }
  };

  struct Replacement {
    std::size_t offset;
    std::size_t length;
    std::size_t originalOffset;
    std::size_t originalLength;
  };

  MarkupItem takeTag(const MarkupItem& tag);
  MarkupItem takeText();
  void findReplacements(std::size_t limit);
  std::size_t stretchEnd() const;
  std::size_t spokenEnd() const { return isCopied ? window.end() : taken; }
  void takeUpTo(std::size_t place);
  void replace(const DictionaryEntry& entry, std::size_t length);
  void replace(const Rewrite& rewrite);
  void copy();
  const Replacement* lastReplacementUpTo(std::size_t offset) const;

  std::string_view original;
  const UserDictionary* dictionary;
  TextRewriter* rewriter;
  MarkupReader reader;
  std::size_t taken = 0;  ///< bytes of the original that were read
  std::size_t end = 0;    ///< of the piece of the original that is being taken
  std::size_t released = 0;
  bool isCopied = false;  ///< from the first replacement on; before it, nothing below is used
  Window window;
  const DictionaryEntry* lastEntry =
      nullptr;  ///< the entry whose replacement was taken last; null for other text
  std::vector<Replacement> replacements;  ///< ascending; those of the window, and the one before it
};

}  // namespace KQ::engines
