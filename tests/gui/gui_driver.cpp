/// Works the windows of another process: gui_driver SCRIPT. What it sees goes to stdout.
///
///   wait "title"        until a visible window has this title; it is the one worked on
///   texts               prints class, id and text of every control
///   layout W H          prints the controls' places in dialog units; the dialog is W x H units
///   text ID             prints the text of the edit control
///   set ID "text"       puts a text into the edit control
///   click ID            presses the button
///   escape              presses the Escape key in the window's first edit control
///   close               asks the window to close
///   gone                until the window is no longer there
///
/// Texts know the escapes \n \t \" and \\. A step that cannot be done ends the script with 1.
#include <windows.h>

#include <chrono>
#include <cstdlib>
#include <fstream>
#include <functional>
#include <iostream>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

namespace {

constexpr auto kPatience = std::chrono::seconds(20);
constexpr auto kPollInterval = std::chrono::milliseconds(10);

bool WaitUntil(const std::function<bool()>& condition) {
    const auto end = std::chrono::steady_clock::now() + kPatience;
    while (!condition()) {
        if (std::chrono::steady_clock::now() > end)
            return false;
        std::this_thread::sleep_for(kPollInterval);
    }
    return true;
}

/// Reads "..." with its escapes.
std::string ReadQuoted(std::istream& line) {
    std::string text;
    char c = 0;
    line >> c;
    while (line.get(c) && c != '"') {
        if (c == '\\' && line.get(c))
            c = c == 'n' ? '\n' : c == 't' ? '\t' : c;
        text += c;
    }
    return text;
}

std::string Quoted(const std::string& text) {
    std::string quoted = "\"";
    for (const char c : text) {
        switch (c) {
            case '\n':
                quoted += "\\n";
                break;
            case '\t':
                quoted += "\\t";
                break;
            case '"':
            case '\\':
                quoted += '\\';
                [[fallthrough]];
            default:
                quoted += c;
        }
    }
    return quoted + '"';
}

std::string ClassOf(HWND window) {
    char name[256] = "";
    ::GetClassNameA(window, name, sizeof(name));
    return name;
}

/// By message: GetWindowText does not read the controls of another process.
std::string TextOf(HWND window) {
    char text[4096] = "";
    ::SendMessageA(window, WM_GETTEXT, sizeof(text), reinterpret_cast<LPARAM>(text));
    return text;
}

std::vector<HWND> ControlsOf(HWND window) {
    std::vector<HWND> controls;
    ::EnumChildWindows(
        window,
        [](HWND child, LPARAM list) -> BOOL {
            reinterpret_cast<std::vector<HWND>*>(list)->push_back(child);
            return TRUE;
        },
        reinterpret_cast<LPARAM>(&controls));
    return controls;
}

/// The class decides too: the common file dialogs use an id more than once.
HWND FindControl(HWND window, int id, const char* className) {
    for (HWND control : ControlsOf(window))
        if (::GetDlgCtrlID(control) == id && ClassOf(control) == className)
            return control;
    return nullptr;
}

void PrintTexts(HWND window) {
    for (HWND control : ControlsOf(window)) {
        std::cout << ClassOf(control) << ' ' << ::GetDlgCtrlID(control) << ' '
                  << Quoted(TextOf(control)) << '\n';
    }
}

/// The base units come from the known size: asking Windows works for own dialogs only.
void PrintLayout(HWND window, int width, int height) {
    RECT client{};
    ::GetClientRect(window, &client);
    const int baseX = ::MulDiv(4, client.right, width);
    const int baseY = ::MulDiv(8, client.bottom, height);
    for (HWND control : ControlsOf(window)) {
        RECT place{};
        ::GetWindowRect(control, &place);
        ::MapWindowPoints(nullptr, window, reinterpret_cast<POINT*>(&place), 2);
        const auto unitsX = [baseX](LONG pixels) { return ::MulDiv(pixels, 4, baseX); };
        const auto unitsY = [baseY](LONG pixels) { return ::MulDiv(pixels, 8, baseY); };
        std::cout << ::GetDlgCtrlID(control) << " at " << unitsX(place.left) << ','
                  << unitsY(place.top) << " size " << unitsX(place.right - place.left) << ','
                  << unitsY(place.bottom - place.top) << '\n';
    }
}

/// Returns false when the step cannot be done.
bool RunStep(const std::string& step, std::istream& arguments, HWND& window) {
    int id = 0;
    if (step == "wait") {
        const std::string title = ReadQuoted(arguments);
        return WaitUntil([&] {
            window = ::FindWindowA(nullptr, title.c_str());
            return window != nullptr && ::IsWindowVisible(window);
        });
    }
    if (step == "texts") {
        PrintTexts(window);
        return true;
    }
    if (step == "layout") {
        int width = 1;
        int height = 1;
        arguments >> width >> height;
        PrintLayout(window, width, height);
        return true;
    }
    if (step == "text") {
        arguments >> id;
        HWND edit = FindControl(window, id, "Edit");
        std::cout << Quoted(TextOf(edit)) << '\n';
        return edit != nullptr;
    }
    if (step == "set") {
        arguments >> id;
        const std::string text = ReadQuoted(arguments);
        HWND edit = FindControl(window, id, "Edit");
        return edit &&
               ::SendMessageA(edit, WM_SETTEXT, 0, reinterpret_cast<LPARAM>(text.c_str())) == TRUE;
    }
    if (step == "click") {
        arguments >> id;
        HWND button = FindControl(window, id, "Button");
        return button && ::PostMessageA(button, BM_CLICK, 0, 0);
    }
    if (step == "escape") {
        HWND edit = ::FindWindowExA(window, nullptr, "Edit", nullptr);
        return edit && ::PostMessageA(edit, WM_KEYDOWN, VK_ESCAPE, 0);
    }
    if (step == "close")
        return ::PostMessageA(window, WM_CLOSE, 0, 0);
    if (step == "gone")
        return WaitUntil([&] { return !::IsWindow(window); });
    return false;
}

}  // namespace

int main(int argc, char** argv) {
    std::ifstream script(argc == 2 ? argv[1] : "");
    if (!script) {
        std::cerr << "usage: gui_driver SCRIPT\n";
        return EXIT_FAILURE;
    }
    HWND window = nullptr;
    for (std::string line; std::getline(script, line);) {
        std::istringstream arguments(line);
        std::string step;
        arguments >> step;
        if (!RunStep(step, arguments, window)) {
            std::cout << "cannot be done: " << line << '\n';
            return EXIT_FAILURE;
        }
    }
    return EXIT_SUCCESS;
}
