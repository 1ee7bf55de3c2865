#pragma once

#include <boost/filesystem/path.hpp>
#include <functional>
#include <string>

namespace KQ {

/// Calls `visit` with the name and the value of each setting of an XML file, as UTF-8, in document
/// order. A setting is a child of the root element that has both a "name" and a "value" attribute.
/// Tag names, deeper elements and everything else are ignored.
///
/// Makes no call if the file cannot be read or is not well-formed. Only a regular file of at most
/// 8 MiB is read, so no pipe or device can block the caller. A file that is nested deeper than 256
/// elements counts as not well-formed. A small file is read again only after it has changed.
void forEachXmlSetting(
    const boost::filesystem::path& file,
    const std::function<void(const std::string& name, const std::string& value)>& visit);

}  // namespace KQ
