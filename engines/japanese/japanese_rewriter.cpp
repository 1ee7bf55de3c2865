#include "japanese/japanese_rewriter.hpp"

#include <mecab.h>

#include <algorithm>
#include <array>
#include <mutex>
#include <utility>
#include <vector>

#include "text/text_places.hpp"

namespace KQ::engines {

namespace {

/// What is read in one go, in bytes. A sentence is seldom longer.
constexpr std::size_t longestStretch = 600;

bool isJapanese(char32_t point) {
  return (point >= 0x3041 && point <= 0x30FF && point != U'・') || point == U'々' ||
         point == U'〆' || (point >= 0x3400 && point <= 0x9FFF) ||
         (point >= 0xF900 && point <= 0xFAFF) || (point >= 0x20000 && point <= 0x3FFFF);
}

/// Debian's dictionary in UTF-8, should another one be the default.
constexpr const char* utf8Dictionary = "-d /var/lib/mecab/dic/ipadic-utf8";

std::unique_ptr<MeCab::Model> load(const char* arguments) {
  std::unique_ptr<MeCab::Model> model(MeCab::createModel(arguments));
  const bool isUtf8 = model != nullptr && model->dictionary_info() != nullptr &&
                      std::string_view(model->dictionary_info()->charset).substr(0, 3) == "UTF";
  return isUtf8 ? std::move(model) : nullptr;
}

/// The dictionary, or null. It stays in the process.
const MeCab::Model* sharedModel() {
  static const std::unique_ptr<MeCab::Model> model = [] {
    std::unique_ptr<MeCab::Model> usual = load("");
    return usual ? std::move(usual) : load(utf8Dictionary);
  }();
  return model.get();
}

/// A field of a word's description, from 0.
std::string_view field(std::string_view feature, std::size_t number) {
  for (; number > 0; --number) {
    const std::size_t comma = feature.find(',');
    if (comma == std::string_view::npos) {
      return {};
    }
    feature.remove_prefix(comma + 1);
  }
  return feature.substr(0, feature.find(','));
}

/// Whether a word goes on with the phrase before it: particles, endings, suffixes.
bool continuesPhrase(std::string_view feature) {
  const std::string_view kind = field(feature, 0);
  const std::string_view detail = field(feature, 1);
  return kind == "助詞" || kind == "助動詞" || detail == "接尾" ||
         ((kind == "動詞" || kind == "形容詞") && detail == "非自立");
}

std::string pronunciation(std::string_view written, std::string_view feature) {
  constexpr std::size_t pronunciationField = 8;
  const std::string_view found = field(feature, pronunciationField);
  if (found.empty() || found == "*") {
    return std::string(written);
  }
  return found == "ヲ" ? "オ" : std::string(found);
}

}  // namespace

/// Reads one stretch after another.
class JapaneseRewriter::Reader {
 public:
  explicit Reader(const MeCab::Model& model)
      : tagger(model.createTagger()), lattice(model.createLattice()) {}

  /// The phrase that begins at a place of a text, which is Japanese.
  Rewrite phraseAt(std::string_view text, std::size_t place) {
    const Rewrite* phrase = text.data() == readText ? find(place) : nullptr;
    if (phrase == nullptr) {
      read(text, place);
      phrase = find(place);
    }
    const std::size_t length = characterAt(text, place).length;
    return phrase != nullptr ? *phrase
                             : Rewrite{place, length, std::string(text.substr(place, length))};
  }

 private:
  const Rewrite* find(std::size_t place) const {
    const auto phrase = std::lower_bound(
        phrases.begin(), phrases.end(), place,
        [](const Rewrite& some, std::size_t wanted) { return some.offset < wanted; });
    return phrase != phrases.end() && phrase->offset == place ? &*phrase : nullptr;
  }

  void read(std::string_view text, std::size_t place) {
    readText = text.data();
    phrases.clear();
    // Numbers decide how the counters after them are read.
    constexpr std::size_t longestNumber = 16;
    std::size_t begin = place;
    while (begin > 0 && place - begin < longestNumber &&
           isDigit(characterBefore(text, begin).point)) {
      --begin;
    }
    std::size_t end = place;
    const auto isRead = [&](char32_t point) { return isJapanese(point) || isDigit(point); };
    while (end - place < longestStretch && isRead(characterAt(text, end).point)) {
      end += characterAt(text, end).length;
    }
    lattice->set_sentence(text.data() + begin, end - begin);
    if (!tagger->parse(lattice.get())) {
      return;
    }
    for (const MeCab::Node* node = lattice->bos_node(); node != nullptr; node = node->next) {
      const bool isWord = node->stat != MECAB_BOS_NODE && node->stat != MECAB_EOS_NODE;
      if (isWord && isJapanese(characterAt({node->surface, node->length}, 0).point)) {
        add(*node, static_cast<std::size_t>(node->surface - text.data()));
      }
    }
    // The last one may go on after the stretch.
    if (isRead(characterAt(text, end).point) && phrases.size() > 1) {
      phrases.pop_back();
    }
  }

  void add(const MeCab::Node& node, std::size_t offset) {
    const std::string_view written(node.surface, node.length);
    const std::string read = pronunciation(written, node.feature);
    const bool continues = isPrefix || continuesPhrase(node.feature);
    isPrefix = field(node.feature, 0) == "接頭詞";
    const bool follows =
        !phrases.empty() && phrases.back().offset + phrases.back().length == offset;
    if (continues && follows) {
      phrases.back().length = offset + written.size() - phrases.back().offset;
      phrases.back().text += read;
    } else {
      phrases.push_back({offset, written.size(), read});
    }
  }

  const std::unique_ptr<MeCab::Tagger> tagger;
  const std::unique_ptr<MeCab::Lattice> lattice;
  const char* readText = nullptr;
  std::vector<Rewrite> phrases;  ///< of the stretch that was read last
  bool isPrefix = false;         ///< the last word goes on with the next
};

JapaneseRewriter::JapaneseRewriter(std::unique_ptr<TextRewriter> otherRewriter)
    : others(std::move(otherRewriter)) {}

JapaneseRewriter::~JapaneseRewriter() = default;

bool JapaneseRewriter::hasDictionary() {
  return sharedModel() != nullptr;
}

std::optional<Rewrite> JapaneseRewriter::next(std::string_view text, std::size_t begin,
                                              std::size_t end) {
  std::optional<Rewrite> other = others->next(text, begin, end);
  const std::size_t limit = other ? other->offset : end;
  std::size_t place = begin;
  while (place < limit && !isJapanese(characterAt(text, place).point)) {
    place += std::max<std::size_t>(characterAt(text, place).length, 1);
  }
  if (place >= limit || !hasDictionary()) {
    return other;
  }
  if (!reader) {
    reader = std::make_unique<Reader>(*sharedModel());
  }
  Rewrite phrase = reader->phraseAt(text, place);
  if (isJapanese(characterBefore(text, place).point)) {
    phrase.text.insert(0, " ");
  }
  return phrase;
}

}  // namespace KQ::engines
