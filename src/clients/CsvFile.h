// The CSV files of both exports and both imports.
#pragma once

#include <functional>
#include <iosfwd>
#include <string>
#include <vector>

/// Writes a file in text mode: the header, then what writeLines writes. Returns false if the file
/// was opened but not completed. One that can't be opened is silently skipped, without a call of
/// writeLines.
bool WriteCsvFile(const std::string& fileName, const char* header,
                  const std::function<void(std::ostream& file)>& writeLines);

/// Calls entry with each entry of the file in order. Skips the first line (the header), empty lines
/// and lines whose first character is "#". CR LF and LF end a line, the last line needs neither (a
/// CR at its end is removed as well); every other byte is data. A file that can't be opened has no
/// entries. One that can't be read to its end is traced, and the partial line is dropped: a
/// truncated line can look like a valid, different one. Others may read and write the file
/// meanwhile.
void ForEachCsvEntry(const std::string& fileName,
                     const std::function<void(const std::string& line)>& entry);

/// The fields of a line: each comma separates two, nothing is quoted, and nothing is trimmed.
std::vector<std::string> SplitCsvFields(const std::string& line);

/// Removes blanks and tabs, and nothing else, from both ends.
void TrimCsvField(std::string& field);
