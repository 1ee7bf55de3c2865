#include "xml_oracle.hpp"

#include <QtCore/QByteArray>
#include <QtXml/QDomDocument>
#include <algorithm>

namespace oracle {

bool readSettings(const std::string& xml, Settings& settings) {
  QDomDocument document(QStringLiteral("voiceSettingsDoc"));
  if (!document.setContent(QByteArray::fromStdString(xml))) {
    return false;
  }
  const QString name = QStringLiteral("name");
  const QString value = QStringLiteral("value");
  for (QDomNode node = document.documentElement().firstChild(); !node.isNull();
       node = node.nextSibling()) {
    const QDomElement element = node.toElement();
    if (!element.isNull() && element.hasAttribute(name) && element.hasAttribute(value)) {
      settings.emplace_back(element.attribute(name).toUtf8().toStdString(),
                            element.attribute(value).toUtf8().toStdString());
    }
  }
  return true;
}

bool mayBeRefused(const std::string& xml) {
  constexpr std::size_t deepest = 256;
  // Finds elements also in documents with two or four bytes per character.
  std::string letters;
  std::copy_if(xml.begin(), xml.end(), std::back_inserter(letters),
               [](char byte) { return byte != '\0'; });
  const auto elements = static_cast<std::size_t>(std::count(letters.begin(), letters.end(), '<'));
  return elements > deepest || letters.find("<!DOCTYPE") != std::string::npos;
}

float readNumber(const std::string& text) {
  // The blank in front keeps a U+FEFF from being read as a byte order mark.
  return QString::fromStdString(' ' + text).mid(1).toFloat();
}

}  // namespace oracle
