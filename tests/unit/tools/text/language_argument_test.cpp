#include "text/language_argument.hpp"

#include <gtest/gtest.h>
#include <stdlib.h>

#include <kqtts/tts_language_info.hpp>
#include <optional>

#include "support/row_name.hpp"

namespace {

using tool::LanguageResolver;

std::string resolve(const std::string& written, std::vector<std::string> installed = {}) {
  KQ::TTSLanguageInfo table;
  return LanguageResolver(table, std::move(installed)).resolve(written);
}

std::string choose(const std::string& locale, std::vector<std::string> installed) {
  KQ::TTSLanguageInfo table;
  return LanguageResolver(table, std::move(installed)).chooseFor(locale);
}

struct Row {
  std::string name;
  std::string written;
  std::string language;
};

void PrintTo(const Row& row, std::ostream* stream) {
  *stream << testing::PrintToString(row.written);
}

class WrittenLanguage : public testing::TestWithParam<Row> {};

TEST_P(WrittenLanguage, IsUnderstood) {
  EXPECT_EQ(resolve(GetParam().written), GetParam().language);
}

INSTANTIATE_TEST_SUITE_P(
    , WrittenLanguage,
    testing::Values(
        Row{"Name", "French", "French"}, Row{"NameInLowerCase", "french", "French"},
        Row{"NameInUpperCase", "GERMAN", "German"},
        Row{"NameOfTwoWords", "english gb", "EnglishGB"},
        Row{"NameWithHyphen", "french-canadian", "FrenchCanadian"},
        Row{"NameInBrackets", "English (Australia)", "EnglishAustralia"},
        Row{"OwnName", "Français", "French"}, Row{"OwnNameInLowerCase", "deutsch", "German"},
        Row{"OwnNameWithoutAccents", "espanol", "Spanish"},
        Row{"OwnNameInUpperCase", "РУССКИЙ", "Russian"},
        Row{"OwnNameInAnotherScript", "日本語", "Japanese"}, Row{"Locale", "fr_FR", "French"},
        Row{"LocaleWithHyphen", "fr-FR", "French"}, Row{"LocaleInWrongCase", "FR_fr", "French"},
        Row{"LocaleInLowerCase", "en-gb", "EnglishGB"},
        Row{"LocaleWithCodeset", "fr_CA.UTF-8", "FrenchCanadian"},
        Row{"LocaleWithModifier", "de_DE@euro", "German"},
        Row{"LocaleWithBoth", "pt_BR.UTF-8@x", "Brazilian"}, Row{"Code", "fr", "French"},
        Row{"CodeInUpperCase", "IT", "Italian"}, Row{"CodeWithCodeset", "pl.UTF-8", "Polish"},
        Row{"EnglishAlone", "en", "English"}, Row{"SpanishAlone", "es", "Spanish"},
        Row{"PortugueseAlone", "pt", "Portuguese"}, Row{"ChineseAlone", "zh", "Chinese"},
        Row{"UnknownRegion", "en_IE", "English"}, Row{"UnknownRegionOfOneForm", "de_AT", "German"},
        Row{"NumberedRegion", "es_419", "Spanish"}, Row{"Bokmal", "nb_NO", "Norwegian"},
        Row{"NorwegianAlone", "no", "Norwegian"}, Row{"Nynorsk", "nn", "Norwegian"},
        Row{"Mandarin", "cmn", "Chinese"}, Row{"Cantonese", "yue", "CantoneseHK"},
        Row{"TraditionalScript", "zh-Hant", "MandarinTaiwan"},
        Row{"SimplifiedScript", "zh-Hans", "Chinese"},
        Row{"ScriptAndRegion", "zh-Hant-HK", "CantoneseHK"}, Row{"Nothing", "", ""},
        Row{"UnknownName", "Klingon", ""}, Row{"UnknownCode", "xx", ""},
        Row{"NoLocale", "C.UTF-8", ""}, Row{"OnlyPunctuation", "-_.@", ""},
        Row{"BeginningOfACode", "f", ""}, Row{"NotUtf8", "\xFF\xFE", ""}),
    test::RowName());

TEST(LanguageResolver, UnderstandsAnInstalledLanguageThatTheTableLacks) {
  EXPECT_EQ(resolve("welsh", {"Welsh"}), "Welsh");
}

TEST(LanguageResolver, TakesTheInstalledSpellingOfAName) {
  EXPECT_EQ(resolve("FRENCH", {"FRENCH"}), "FRENCH");
  EXPECT_EQ(resolve("french", {"FRench"}), "FRench");
}

TEST(LanguageResolver, ChoosesTheLanguageOfTheLocale) {
  EXPECT_EQ(choose("fr_FR.UTF-8", {"English", "French"}), "French");
}

TEST(LanguageResolver, ChoosesTheUsualFormWhereTheLocalesOwnIsMissing) {
  EXPECT_EQ(choose("fr_CA.UTF-8", {"English", "French"}), "French");
}

TEST(LanguageResolver, ChoosesAnyFormOfTheLanguageBeforeEnglish) {
  EXPECT_EQ(choose("es_ES.UTF-8", {"English", "SpanishMexico"}), "SpanishMexico");
}

TEST(LanguageResolver, ChoosesEnglishWhereTheLanguageIsMissing) {
  EXPECT_EQ(choose("fr_FR", {"Arabic", "English"}), "English");
}

TEST(LanguageResolver, ChoosesEnglishForALocaleWithoutLanguage) {
  for (const char* locale : {"", "C", "POSIX", "C.UTF-8"}) {
    EXPECT_EQ(choose(locale, {"Arabic", "English"}), "English") << locale;
  }
}

TEST(LanguageResolver, ChoosesBritishEnglishWhereEnglishIsMissing) {
  for (const char* locale : {"", "C", "en_US.UTF-8", "en_CA", "fr_FR"}) {
    EXPECT_EQ(choose(locale, {"Arabic", "EnglishAustralia", "EnglishGB"}), "EnglishGB") << locale;
  }
}

TEST(LanguageResolver, ChoosesAnyFormOfEnglishBeforeTheFirstLanguage) {
  EXPECT_EQ(choose("C", {"Arabic", "EnglishIndian"}), "EnglishIndian");
}

TEST(LanguageResolver, ChoosesTheLocalesOwnFormOfEnglishFirst) {
  EXPECT_EQ(choose("en_AU", {"English", "EnglishAustralia", "EnglishGB"}), "EnglishAustralia");
}

TEST(LanguageResolver, ChoosesTheFirstLanguageWithoutEnglish) {
  EXPECT_EQ(choose("fr_FR", {"Polish", "Arabic"}), "Polish");
}

TEST(LanguageResolver, ChoosesNothingWhereNothingIsInstalled) {
  EXPECT_EQ(choose("fr_FR", {}), "");
}

class UserLocale : public testing::Test {
 protected:
  UserLocale() {
    for (const char* variable : variables) {
      if (const char* value = getenv(variable)) {
        before[variable] = value;
      }
      unsetenv(variable);
    }
  }
  ~UserLocale() override {
    for (const char* variable : variables) {
      unsetenv(variable);
      if (before.count(variable) != 0) {
        setenv(variable, before[variable].c_str(), 1);
      }
    }
  }

  const std::vector<const char*> variables = {"LC_ALL", "LC_MESSAGES", "LANG"};
  std::map<std::string, std::string> before;
};

TEST_F(UserLocale, IsEmptyWithoutEnvironment) {
  EXPECT_EQ(tool::userLocale(), "");
}

TEST_F(UserLocale, IsTheFirstVariableThatIsNotEmpty) {
  setenv("LANG", "de_DE", 1);
  EXPECT_EQ(tool::userLocale(), "de_DE");
  setenv("LC_MESSAGES", "fr_FR", 1);
  EXPECT_EQ(tool::userLocale(), "fr_FR");
  setenv("LC_ALL", "", 1);
  EXPECT_EQ(tool::userLocale(), "fr_FR");
  setenv("LC_ALL", "it_IT", 1);
  EXPECT_EQ(tool::userLocale(), "it_IT");
}

}  // namespace
