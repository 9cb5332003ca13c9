#include "clients/CsvFile.h"

#include <boost/algorithm/string.hpp>
#include <fstream>

void ForEachCsvEntry(const std::string& fileName,
                     const std::function<void(const std::string& line)>& entry) {
    // Binary, because the C library's text mode takes a stray 0x1A for the end of the file and
    // would lose every record behind it. The CR that text mode takes off is taken off here.
    std::ifstream file(fileName, std::ios::in | std::ios::binary);
    std::string line;
    std::getline(file, line);
    while (std::getline(file, line)) {
        if (!line.empty() && line.back() == '\r')
            line.pop_back();
        if (!line.empty() && line.front() != '#')
            entry(line);
    }
}

std::vector<std::string> SplitCsvFields(const std::string& line) {
    std::vector<std::string> fields;
    boost::algorithm::split(fields, line, [](char c) { return c == ','; });
    return fields;
}

void TrimCsvField(std::string& field) {
    boost::algorithm::trim_if(
        field, [](char c) { return c == ' ' || c == '\t'; });
}
