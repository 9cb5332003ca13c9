#pragma once

#include <boost/format.hpp>
#include <string>

/// Fills a printf-style text of the dispatcher ("%s"). Arguments are data and may hold anything;
/// the format is one of the tool's own constants. The library's streams pass over an allocation
/// that fails, so what is made of records goes through FillText.
template <class... Arguments>
std::string FormatText(const char* format, const Arguments&... arguments) {
    boost::format filled(format);
    (filled % ... % arguments);
    return filled.str();
}
