#include "driver/output/FillText.h"

std::string FillPlaces(std::string_view text, const std::string_view* places) {
    std::size_t size = text.size();
    for (std::size_t i = CountPlaces(text); i > 0; --i)
        size += places[i - 1].size();
    std::string filled;
    filled.reserve(size);
    for (;; ++places) {
        const std::size_t place = text.find('%');
        filled.append(text.substr(0, place));
        if (place == text.npos)
            return filled;
        filled.append(*places);
        text.remove_prefix(text.find_first_of("suX", place) + 1);
    }
}
