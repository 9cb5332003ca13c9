#pragma once

#include <cstddef>
#include <string>
#include <string_view>

/// The places of a text: each conversion, such as "%s" or "%lu".
constexpr std::size_t CountPlaces(std::string_view text) {
    std::size_t count = 0;
    for (const char c : text)
        count += c == '%' ? 1 : 0;
    return count;
}

/// See FillText; places holds CountPlaces(text) texts.
std::string FillPlaces(std::string_view text, const std::string_view* places);

/// Puts texts, as they are, into the places of a constant text. Numbers come as the text that their
/// place would give. The compiler checks that there is one argument for each place. Throws when
/// there is no memory: a line that lacks one of its texts must not be written.
template <const auto& Text, class... Places>
std::string FillText(const Places&... places) {
    static_assert(CountPlaces(Text) == sizeof...(places), "one argument for each place");
    const std::string_view list[] = {std::string_view(places)...};
    return FillPlaces(Text, list);
}
