#pragma once

#include <boost/format.hpp>
#include <string>

/// Fills a printf-style text ("%s", "%lu"). Arguments are data and may hold anything; the format is
/// one of the tool's own constants.
template <class... Arguments>
std::string FormatText(const char* format, const Arguments&... arguments) {
    boost::format filled(format);
    (filled % ... % arguments);
    return filled.str();
}
