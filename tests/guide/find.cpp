// find.exe, and findstr.exe if copied to that name, with the switches that the guide uses: Wine's
// find has no switches, and its findstr finds nothing. An unknown switch is an error.

#include <windows.h>

#include <algorithm>
#include <fstream>
#include <iostream>
#include <sstream>
#include <string>
#include <vector>

int main(int argc, char** argv) {
    const bool findstr = std::string(argv[0]).find("findstr") != std::string::npos;
    std::string switches;
    std::vector<std::string> searched;
    std::vector<std::string> files;
    for (const std::string& word : std::vector<std::string>(argv + 1, argv + argc)) {
        const bool isSwitch = word.size() == 2 && word[0] == '/';
        if (isSwitch && std::string(findstr ? "bilv" : "civ").find(word[1]) != std::string::npos) {
            switches += word[1];
        } else if (findstr && word.compare(0, 3, "/c:") == 0) {
            searched.push_back(word.substr(3));
        } else if (word.compare(0, 1, "/") == 0) {
            std::cout << "Invalid switch\n";
            return 2;
        } else if (!searched.empty()) {
            files.push_back(word);
        } else if (findstr) {
            std::istringstream words(word);
            for (std::string text; words >> text;)
                searched.push_back(text);
        } else {
            searched.push_back(word.empty() ? "\n" : word);  // as in Windows, "" matches no line
        }
    }
    const auto is = [&](char letter) { return switches.find(letter) != std::string::npos; };
    const auto folded = [&](std::string text, bool fold) {
        if (fold)
            ::CharUpperA(text.data());
        return text;
    };
    bool found = false;
    const auto search = [&](std::istream& input, const std::string& prefix) {
        int here = 0;
        for (std::string line; std::getline(input, line);) {
            const bool has = std::any_of(searched.begin(), searched.end(), [&](const auto& text) {
                const std::size_t at = folded(line, is('i')).find(folded(text, is('i')));
                return is('b') ? at == 0 : at != std::string::npos;
            });
            if (has == is('v'))
                continue;
            ++here;
            if (!is('c'))
                std::cout << prefix << line << '\n';
        }
        if (is('c'))
            std::cout << here << '\n';
        found = found || here > 0;
    };
    for (const std::string& file : files) {
        const std::string title = folded(file, !findstr);
        std::ifstream input(file);
        if (!input)
            std::cout << (findstr ? "FINDSTR: Cannot open " : "File not found - ") << title << '\n';
        else if (!findstr)
            std::cout << "\n---------- " << title << (is('c') ? ": " : "\n");
        if (input)
            search(input, findstr && files.size() > 1 ? file + ":" : "");
    }
    return found ? 0 : 1;
}
