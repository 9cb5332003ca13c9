// gui_driver SCRIPT: operates the windows of another process and prints what they show to stdout.
// Each line of the script is a step:
//   wait "title"        waits for a visible window with this title and uses it from then on
//   texts               prints class, id and text of every control
//   layout W H          prints the controls' positions in dialog units; the dialog is W x H units
//   text ID             prints the text of the edit control
//   set ID "text"       sets the text of the edit control
//   click ID            presses the button
//   close               asks the window to close
//   gone                waits until the window is destroyed
// Quoted texts have the escapes \" and \\, titles also %n for a line feed. The first step that
// fails ends the script with exit code 1.
#include <windows.h>

#include <cstdlib>
#include <fstream>
#include <functional>
#include <iomanip>
#include <iostream>
#include <sstream>
#include <string>
#include <vector>

namespace {

constexpr ULONGLONG kPatienceMs = 20000;

bool WaitUntil(const std::function<bool()>& condition) {
    const ULONGLONG end = ::GetTickCount64() + kPatienceMs;
    while (!condition()) {
        if (::GetTickCount64() > end)
            return false;
        ::Sleep(10);
    }
    return true;
}

std::string ReadQuoted(std::istream& line) {
    std::string text;
    line >> std::quoted(text);
    return text;
}

std::string ClassOf(HWND window) {
    char name[256] = "";
    ::GetClassNameA(window, name, sizeof(name));
    return name;
}

/// Uses WM_GETTEXT, because GetWindowText does not read the controls of another process.
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

/// Compares the class too, because the common file dialogs use some ids more than once.
HWND FindControl(HWND window, std::istream& arguments, const char* className) {
    int id = 0;
    arguments >> id;
    for (HWND control : ControlsOf(window))
        if (::GetDlgCtrlID(control) == id && ClassOf(control) == className)
            return control;
    return nullptr;
}

/// Takes the base units from the known size: MapDialogRect works only in the dialog's own process.
void PrintLayout(HWND window, int width, int height) {
    RECT client{};
    ::GetClientRect(window, &client);
    for (HWND control : ControlsOf(window)) {
        RECT place{};
        ::GetWindowRect(control, &place);
        ::MapWindowPoints(nullptr, window, reinterpret_cast<POINT*>(&place), 2);
        const auto x = [&](LONG pixels) { return ::MulDiv(pixels, width, client.right); };
        const auto y = [&](LONG pixels) { return ::MulDiv(pixels, height, client.bottom); };
        std::cout << ::GetDlgCtrlID(control) << " at " << x(place.left) << ',' << y(place.top)
                  << " size " << x(place.right - place.left) << ',' << y(place.bottom - place.top)
                  << '\n';
    }
}

/// Returns false if the step fails.
bool RunStep(const std::string& step, std::istream& arguments, HWND& window) {
    if (step == "wait") {
        std::string title = ReadQuoted(arguments);
        for (std::size_t at; (at = title.find("%n")) != title.npos;)
            title.replace(at, 2, "\n");
        return WaitUntil([&] {
            window = ::FindWindowA(nullptr, title.c_str());
            return window != nullptr && ::IsWindowVisible(window);
        });
    }
    if (step == "gone")
        return WaitUntil([&] { return !::IsWindow(window); });
    if (step == "close")
        return ::PostMessageA(window, WM_CLOSE, 0, 0);
    if (step == "texts") {
        for (HWND control : ControlsOf(window))
            std::cout << ClassOf(control) << ' ' << ::GetDlgCtrlID(control) << ' '
                      << std::quoted(TextOf(control)) << '\n';
        return true;
    }
    if (step == "layout") {
        int width = 1;
        int height = 1;
        arguments >> width >> height;
        PrintLayout(window, width, height);
        return true;
    }
    HWND control = FindControl(window, arguments, step == "click" ? "Button" : "Edit");
    if (step == "click")
        return control && ::PostMessageA(control, BM_CLICK, 0, 0);
    if (step == "text")
        std::cout << std::quoted(TextOf(control)) << '\n';
    const std::string text = ReadQuoted(arguments);
    return control &&
           (step != "set" ||
            ::SendMessageA(control, WM_SETTEXT, 0, reinterpret_cast<LPARAM>(text.c_str())) == TRUE);
}

}  // namespace

int main(int argc, char** argv) {
    std::ifstream script(argc == 2 ? argv[1] : "");
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
