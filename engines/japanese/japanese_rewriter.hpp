#pragma once

#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "text/text_rewriter.hpp"

namespace KQ::engines {

/// Writes Japanese in kana as it is pronounced: kanji with MeCab's dictionary, long vowels with
/// their sign, the particles は, へ and を as they sound. A phrase (a word with its particles and
/// endings) is one word, with blanks between two.
class JapaneseRewriter : public TextRewriter {
 public:
  /// \param others  rewrites what is no Japanese; not null
  explicit JapaneseRewriter(std::unique_ptr<TextRewriter> others);
  ~JapaneseRewriter() override;

  std::optional<Rewrite> next(std::string_view text, std::size_t begin, std::size_t end) override;

  /// Whether the dictionary is there; without it kanji stay as they are. The first call loads it,
  /// from any thread.
  static bool hasDictionary();

  /// The Debian package to install without it.
  static constexpr const char* dictionaryPackage = "mecab-ipadic-utf8";

 private:
  class Reader;

  const std::unique_ptr<TextRewriter> others;
  std::unique_ptr<Reader> reader;  ///< from the first Japanese word on
};

}  // namespace KQ::engines
