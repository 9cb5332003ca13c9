// Text crossing COM or the DHCP API: narrow text is in the thread's ANSI code page. A text that the
// system can't convert throws std::system_error: an empty text in its place would be somebody's
// name, or the server of this machine.
#pragma once

#include <memory>
#include <string>

/// Narrow copy of a UTF-16 text; null gives the empty text, characters the code page lacks its
/// default character.
std::string NarrowText(const wchar_t* text);

/// UTF-16 copy of a narrow text.
class CWideText {
public:
    explicit CWideText(const std::string& text);

    /// Never null. Owned by this object; not const because the published records hold plain
    /// pointers. The calls only read it.
    wchar_t* Get() const { return m_text.get(); }

private:
    std::unique_ptr<wchar_t[]> m_text;
};
