// Only the reader that the document itself uses lets a handler filter what the parser passes to the
// document. Qt 5.15 calls that reader deprecated.
#define QT_NO_DEPRECATED_WARNINGS

#include "xml_settings.hpp"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <QtCore/QBuffer>
#include <QtCore/QHash>
#include <QtXml/QDomDocument>
#include <QtXml/QXmlDefaultHandler>
#include <QtXml/QXmlInputSource>
#include <QtXml/QXmlSimpleReader>
#include <algorithm>
#include <array>
#include <cstdint>
#include <ctime>
#include <map>
#include <memory>
#include <mutex>
#include <utility>
#include <vector>

namespace KQ {

namespace {

constexpr qint64 maximumFileSize = qint64{8} * 1024 * 1024;
constexpr int maximumDepth = 256;

// The parser recurses for each parenthesis of a document type, and the declarations of a type can
// cost the cube of its size.
constexpr int maximumDocumentTypeSize = 2048;
constexpr qint64 maximumExpansion = qint64{4} * 1024 * 1024;
constexpr int longestPredefinedEntity = 8;

/// Feeds characters to the parser. If the document type is too large or the entities expand to too
/// much, the characters end early, so that the document is malformed.
class LimitedSource : public QXmlInputSource {
 public:
  explicit LimitedSource(QIODevice* device) : QXmlInputSource(device) {}
  explicit LimitedSource(const QString& text) { QXmlInputSource::setData(text); }

  QChar next() override {
    const QChar character = QXmlInputSource::next();
    if (inDocumentType) {
      ++documentTypeSize;
    } else if (character == QLatin1Char('&')) {
      expansion += largestEntity;
    }
    const bool tooMuch = documentTypeSize > maximumDocumentTypeSize || expansion > maximumExpansion;
    return tooMuch ? QChar(EndOfDocument) : character;
  }

  void startDocumentType() { inDocumentType = true; }
  void endDocumentType() { inDocumentType = false; }

  /// \return whether the size of the expanded entity is known: it may name only earlier entities
  bool declareEntity(const QString& name, const QString& text) {
    if (name.startsWith(QLatin1Char('%'))) {
      return true;  // expands within the document type only
    }
    if (entitySizes.contains(name) && text.size() > longestPredefinedEntity) {
      return false;
    }
    qint64 size = text.size();
    for (int begin = text.indexOf(QLatin1Char('&')); begin >= 0;
         begin = text.indexOf(QLatin1Char('&'), begin + 1)) {
      const int end = text.indexOf(QLatin1Char(';'), begin);
      const QString named = text.mid(begin + 1, end - begin - 1);
      if (!named.startsWith(QLatin1Char('#')) && !entitySizes.contains(named)) {
        return false;
      }
      size += entitySizes.value(named);
    }
    entitySizes.insert(name, size);
    largestEntity = std::max(largestEntity, size);
    return true;
  }

 private:
  bool inDocumentType = false;
  int documentTypeSize = 0;
  QHash<QString, qint64> entitySizes = {{QStringLiteral("amp"), longestPredefinedEntity},
                                        {QStringLiteral("apos"), longestPredefinedEntity},
                                        {QStringLiteral("gt"), longestPredefinedEntity},
                                        {QStringLiteral("lt"), longestPredefinedEntity},
                                        {QStringLiteral("quot"), longestPredefinedEntity}};
  qint64 largestEntity = 0;
  qint64 expansion = 0;
};

bool isSettingAttribute(const QString& name) {
  return name == QLatin1String("name") || name == QLatin1String("value");
}

/// Receives everything that the parser finds, and passes only the root and its settings to the
/// document, so that the rest of a file takes no memory.
class SettingsHandler : public QXmlDefaultHandler {
 public:
  explicit SettingsHandler(LimitedSource& limitedSource) : source(limitedSource) {}

  void setDocument(QXmlContentHandler* handler) { document = handler; }

  void setDocumentLocator(QXmlLocator* locator) override { document->setDocumentLocator(locator); }

  bool startElement(const QString& uri, const QString& localName, const QString& name,
                    const QXmlAttributes& attributes) override {
    if (depth == maximumDepth) {
      return false;
    }
    ++depth;
    if (depth == 1) {
      return document->startElement(uri, localName, name, QXmlAttributes());
    }
    if (depth == 2) {
      inSetting = attributes.index(QLatin1String("name")) >= 0 &&
                  attributes.index(QLatin1String("value")) >= 0;
      return !inSetting ||
             document->startElement(uri, localName, name, settingAttributes(attributes));
    }
    return true;
  }

  bool endElement(const QString& uri, const QString& localName, const QString& name) override {
    const bool passed = depth == 1 || (depth == 2 && inSetting);
    --depth;
    return !passed || document->endElement(uri, localName, name);
  }

  bool startDTD(const QString& /*name*/, const QString& /*publicId*/,
                const QString& /*systemId*/) override {
    source.startDocumentType();
    return true;
  }
  bool endDTD() override {
    source.endDocumentType();
    return true;
  }
  bool internalEntityDecl(const QString& name, const QString& text) override {
    return source.declareEntity(name, text);
  }

 private:
  static QXmlAttributes settingAttributes(const QXmlAttributes& attributes) {
    QXmlAttributes result;
    for (int i = 0; i < attributes.count(); ++i) {
      if (isSettingAttribute(attributes.qName(i))) {
        result.append(attributes.qName(i), QString(), QString(), attributes.value(i));
      }
    }
    return result;
  }

  LimitedSource& source;
  QXmlContentHandler* document = nullptr;
  int depth = 0;
  bool inSetting = false;
};

/// A reader with the features that the document sets for parsing without namespaces. The document's
/// handler is connected to SettingsHandler instead of the parser.
class SettingsReader : public QXmlSimpleReader {
 public:
  explicit SettingsReader(SettingsHandler& settingsHandler) : handler(settingsHandler) {
    setFeature(QStringLiteral("http://xml.org/sax/features/namespaces"), false);
    setFeature(QStringLiteral("http://xml.org/sax/features/namespace-prefixes"), true);
    setFeature(QStringLiteral("http://trolltech.com/xml/features/report-whitespace-only-CharData"),
               false);
    QXmlSimpleReader::setContentHandler(&handler);
    QXmlSimpleReader::setLexicalHandler(&handler);
    QXmlSimpleReader::setDeclHandler(&handler);
  }

  void setContentHandler(QXmlContentHandler* document) override { handler.setDocument(document); }
  void setLexicalHandler(QXmlLexicalHandler* /*document*/) override {}
  void setDeclHandler(QXmlDeclHandler* /*document*/) override {}
  void setDTDHandler(QXmlDTDHandler* /*document*/) override {}

 private:
  SettingsHandler& handler;
};

/// An open file. The destructor closes it.
class Descriptor {
 public:
  explicit Descriptor(int openedFile) : file(openedFile) {}
  Descriptor(const Descriptor&) = delete;
  Descriptor& operator=(const Descriptor&) = delete;
  ~Descriptor() { ::close(file); }

  const int file;
};

/// The bytes of a file; empty if the file is not regular, too large or not readable. The path is
/// not converted, so the locale does not matter. Opening does not block, not even on a pipe.
QByteArray readRegularFile(const std::string& path, struct stat& status) {
  if (path.find('\0') != std::string::npos) {
    return {};
  }
  const Descriptor descriptor(::open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC));
  if (::fstat(descriptor.file, &status) != 0 || !S_ISREG(status.st_mode) ||
      status.st_size > maximumFileSize) {
    return {};
  }
  QByteArray bytes(static_cast<int>(status.st_size), Qt::Uninitialized);
  int size = 0;
  ssize_t count = 0;
  do {
    count =
        ::read(descriptor.file, bytes.data() + size, static_cast<std::size_t>(bytes.size() - size));
    size += static_cast<int>(std::max<ssize_t>(count, 0));
  } while (count > 0 && size < bytes.size());
  bytes.truncate(size);
  return bytes;
}

bool parse(LimitedSource& source, QDomDocument& document) {
  SettingsHandler handler(source);
  SettingsReader reader(handler);
  return document.setContent(&source, &reader);
}

/// Whether a document reads the same as ASCII and in its declared encoding.
bool isAscii(const QByteArray& bytes) {
  const bool hasAsciiOnly = std::all_of(bytes.begin(), bytes.end(), [](char byte) {
    return byte != 0 && static_cast<unsigned char>(byte) < 0x80;
  });
  const QByteArray declaration = bytes.left(bytes.indexOf('>'));
  return hasAsciiOnly &&
         (!declaration.contains("encoding") || declaration.contains(" encoding=\"UTF-8\""));
}

bool parse(QByteArray& bytes, QDomDocument& document) {
  // To find a decoder, Qt searches all its tables, some hundred kilobytes.
  if (isAscii(bytes)) {
    LimitedSource source(QString::fromLatin1(bytes));
    return parse(source, document);
  }
  QBuffer buffer(&bytes);
  buffer.open(QIODevice::ReadOnly);
  LimitedSource source(&buffer);
  return parse(source, document);
}

using Settings = std::vector<std::pair<std::string, std::string>>;

/// \param status  receives that of the file that was read
Settings readSettings(const std::string& path, struct stat& status) {
  QByteArray bytes = readRegularFile(path, status);
  QDomDocument document(QStringLiteral("voiceSettingsDoc"));
  Settings settings;
  if (!parse(bytes, document)) {
    return settings;
  }
  const QString name = QStringLiteral("name");
  const QString value = QStringLiteral("value");
  for (QDomElement setting = document.documentElement().firstChildElement(); !setting.isNull();
       setting = setting.nextSiblingElement()) {
    settings.emplace_back(setting.attribute(name).toStdString(),
                          setting.attribute(value).toStdString());
  }
  return settings;
}

/// The settings of small files that were read lately. A host and each of its engines read several
/// settings of each package.
class RecentFiles {
 public:
  /// Returns the settings of a file if it is the same as when it was read, else null.
  std::shared_ptr<const Settings> find(const std::string& path) {
    struct stat status {};
    const std::unique_lock<std::mutex> lock(mutex, std::try_to_lock);
    const auto known = lock ? files.find(path) : files.end();
    if (!lock || known == files.end() || ::stat(path.c_str(), &status) != 0 ||
        identityOf(status) != known->second.identity) {
      return nullptr;
    }
    return known->second.settings;
  }

  void keep(const std::string& path, const struct stat& status,
            const std::shared_ptr<const Settings>& settings) {
    const std::unique_lock<std::mutex> lock(mutex, std::try_to_lock);
    if (!lock || status.st_size == 0 || status.st_size > longestFile || isFresh(status)) {
      return;
    }
    if (files.size() >= mostFiles) {
      files.clear();
    }
    files[path] = {identityOf(status), settings};
  }

 private:
  static constexpr std::size_t mostFiles = 256;
  static constexpr off_t longestFile = 16384;

  using Identity = std::array<std::int64_t, 7>;

  static Identity identityOf(const struct stat& status) {
    return {static_cast<std::int64_t>(status.st_dev),
            static_cast<std::int64_t>(status.st_ino),
            status.st_size,
            status.st_mtim.tv_sec,
            status.st_mtim.tv_nsec,
            status.st_ctim.tv_sec,
            status.st_ctim.tv_nsec};
  }

  /// Whether a file may still change without a change of its times, whose clock ticks slowly.
  static bool isFresh(const struct stat& status) {
    timespec now{};
    ::clock_gettime(CLOCK_REALTIME, &now);
    return now.tv_sec - status.st_ctim.tv_sec <= 1;
  }

  struct File {
    Identity identity;
    std::shared_ptr<const Settings> settings;
  };

  // Only tried: in a process that was forked while it was locked, it stays locked.
  std::mutex mutex;
  std::map<std::string, File> files;  ///< guarded by mutex
};

/// Never destroyed, since engines may read files while the process ends.
RecentFiles& recentFiles() {
  static auto* const files = new RecentFiles;
  return *files;
}

std::shared_ptr<const Settings> settingsOf(const std::string& path) {
  if (std::shared_ptr<const Settings> recent = recentFiles().find(path)) {
    return recent;
  }
  struct stat status {};
  auto settings = std::make_shared<const Settings>(readSettings(path, status));
  recentFiles().keep(path, status, settings);
  return settings;
}

}  // namespace

void forEachXmlSetting(
    const boost::filesystem::path& file,
    const std::function<void(const std::string& name, const std::string& value)>& visit) {
  const std::shared_ptr<const Settings> settings = settingsOf(file.native());
  for (const auto& [name, value] : *settings) {
    visit(name, value);
  }
}

}  // namespace KQ
