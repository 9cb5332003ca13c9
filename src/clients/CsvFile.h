// The CSV files of both exports and both imports.
#pragma once

#include <functional>
#include <iosfwd>
#include <string>
#include <vector>

/// Writes a text-mode file: the header, then what writeLines adds. Returns false if a write fails.
/// Silently ignores a file that can't be opened: returns true and does not call writeLines.
bool WriteCsvFile(const std::string& fileName, const char* header,
                  const std::function<void(std::ostream& file)>& writeLines);

/// Calls entry for each line of the file, in order. Skips the first line (the header), empty lines
/// and lines that begin with "#". A line ends with LF or at the end of the file; a CR before either
/// is removed. Every other byte is data. A file that can't be opened has no entries. A read error
/// is traced and the partial line is dropped: a truncated line can look like a valid, different
/// one. Other programs may read and write the file meanwhile.
void ForEachCsvEntry(const std::string& fileName,
                     const std::function<void(const std::string& line)>& entry);

/// Splits a line at every comma. Quotation marks have no meaning, and no blank is removed.
std::vector<std::string> SplitCsvFields(const std::string& line);

/// Removes blanks and tabs, but no other characters, from both ends.
void TrimCsvField(std::string& field);
