// How both imports read their CSV files.
#pragma once

#include <functional>
#include <string>
#include <vector>

/// Hands over each entry of the file in order: the first line (the header), empty lines and lines
/// whose first character is "#" are passed over. CR LF and LF end a line, the last line needs
/// neither (a CR at its end is taken off as well); every other byte is data. A file that can't be
/// opened has no entries. One that can't be read to its end is traced, and the line that was being
/// read is not handed over: half of an entry is another entry. Memory is that of one line; others
/// may read and write the file meanwhile.
void ForEachCsvEntry(const std::string& fileName,
                     const std::function<void(const std::string& line)>& entry);

/// The fields of a line: each comma separates two, nothing is quoted, and nothing is trimmed.
std::vector<std::string> SplitCsvFields(const std::string& line);

/// Removes blanks and tabs, and nothing else, from both ends.
void TrimCsvField(std::string& field);
