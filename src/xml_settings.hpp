#pragma once

#include <boost/filesystem/path.hpp>
#include <functional>
#include <string>

namespace KQ {

/// Walks over the settings of an XML file: the children of its root element that have both a "name"
/// and a "value" attribute, in document order. Calls `visit` with the two, as UTF-8. Tag names,
/// deeper elements and everything else are passed over.
///
/// Only a regular file of at most 8 MiB is read, so that no pipe and no device holds the caller up, and
/// one whose elements are nested deeper than 256 is malformed.
/// \return false, without a visit, when the file cannot be had or is not well-formed
bool forEachXmlSetting(
    const boost::filesystem::path& file,
    const std::function<void(const std::string& name, const std::string& value)>& visit);

}  // namespace KQ
