#include "platform/terminal_desktop.h"

#include <cstdio>

namespace mod2neu {

namespace {

constexpr std::uint32_t kVersion = 10;
constexpr WindowHandle kDesktopWindow = 1;
constexpr int kNewestItem = 30003;

}  // namespace

std::uint32_t TerminalDesktop::VersionWord() {
    return kVersion;
}
WindowHandle TerminalDesktop::DesktopWindow() {
    return kDesktopWindow;
}
bool TerminalDesktop::IsWindow(WindowHandle window) {
    return window == kDesktopWindow;
}
void TerminalDesktop::SetWindowTitle(WindowHandle, const std::string&) {}
void TerminalDesktop::SetActiveWindow(WindowHandle) {}
WindowHandle TerminalDesktop::ActiveWindow() {
    return kNoWindow;
}

void TerminalDesktop::CreateStatusDialog(WindowHandle, const std::string&, const std::string&) {
    statusDialog_ = true;
}

bool TerminalDesktop::StatusDialogExists() {
    return statusDialog_;
}

void TerminalDesktop::SetItemText(int item, const std::string& text) {
    items_[item] = text;
    if (item == kNewestItem) {
        std::fprintf(stderr, "%s\n", text.c_str());
    }
}

std::string TerminalDesktop::ItemText(int item, std::size_t limit) {
    return items_[item].substr(0, limit);
}

void TerminalDesktop::MessageBox(WindowHandle, const std::string& text, const std::string&,
                                 BoxModality, BoxIcon) {
    std::fprintf(stderr, "%s\n", text.c_str());
}

std::optional<OpenFileAnswer> TerminalDesktop::AskOpenFile(const OpenFileRequest&) {
    return std::nullopt;
}

void TerminalDesktop::Shutdown() {
    statusDialog_ = false;
}

}  // namespace mod2neu
