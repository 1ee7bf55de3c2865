#include "script_oracle.hpp"

#include <QtCore/QChar>
#include <QtCore/QString>
#include <algorithm>
#include <array>

namespace oracle {

std::optional<bool> needsNoBlanks(char32_t point) {
  static constexpr std::array scripts = {
      QChar::Script_Han,  QChar::Script_Hiragana, QChar::Script_Katakana, QChar::Script_Bopomofo,
      QChar::Script_Thai, QChar::Script_Lao,      QChar::Script_Khmer,    QChar::Script_Myanmar};
  static const QString vowelsBehind = QString::fromUtf8("ะาำๅະາຳ");
  const QChar::Script script = QChar::script(point);
  if (QChar::category(point) != QChar::Letter_Other || script == QChar::Script_Common ||
      script == QChar::Script_Inherited ||
      (point < 0x10000 && vowelsBehind.contains(QChar(static_cast<ushort>(point))))) {
    return std::nullopt;
  }
  return std::find(scripts.begin(), scripts.end(), script) != scripts.end();
}

}  // namespace oracle
