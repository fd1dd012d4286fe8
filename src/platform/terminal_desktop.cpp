#include "platform/terminal_desktop.h"

#include <unistd.h>

#include <algorithm>
#include <cstdlib>

#include "platform/open_file_dialog.h"
#include "platform/terminal_guard.h"

namespace mod2neu {

namespace {

constexpr std::uint32_t kVersion = 10;
constexpr WindowHandle kDesktopWindow = 1;
constexpr int kOldestItem = 30000;
constexpr int kNewestItem = 30003;
constexpr std::size_t kStatusLimit = 159;  // characters of a status line
constexpr const char* kEraseLine = "\033[K";
constexpr const char* kEraseBelow = "\033[J";

// The terminal emulator tells its window's number to the programs in it.
WindowHandle TerminalWindow() {
    const char* number = std::getenv("WINDOWID");
    return number == nullptr ? kNoWindow : std::strtoll(number, nullptr, 10);
}

std::string Up(std::size_t lines) {
    return lines == 0 ? "" : "\033[" + std::to_string(lines) + "A\r";
}

std::string IconWord(BoxIcon icon) {
    switch (icon) {
        case BoxIcon::kStop:
            return "Error";
        case BoxIcon::kInformation:
            return "Information";
        case BoxIcon::kNone:
            break;
    }
    return "";
}

// The text as a status line repeats it.
std::string AsStatusLine(std::string text) {
    const auto isBreak = [](char c) { return c == '\n' || c == '\r' || c == '\t'; };
    text.erase(std::remove_if(text.begin(), text.end(), isBreak), text.end());
    return text.substr(0, kStatusLimit);
}

}  // namespace

TerminalDesktop::TerminalDesktop() : TerminalDesktop(STDIN_FILENO, STDERR_FILENO) {}

TerminalDesktop::TerminalDesktop(int input, int error) : channel_(input, error) {}

TerminalDesktop::~TerminalDesktop() {
    TerminalDesktop::Shutdown();
}

std::uint32_t TerminalDesktop::VersionWord() {
    return kVersion;
}

WindowHandle TerminalDesktop::DesktopWindow() {
    return kDesktopWindow;
}

bool TerminalDesktop::IsWindow(WindowHandle window) {
    return window == kDesktopWindow || (window != kNoWindow && window == TerminalWindow());
}

void TerminalDesktop::SetWindowTitle(WindowHandle window, const std::string& title) {
    if (window != kNoWindow && window == TerminalWindow() && channel_.ShowsTitle()) {
        channel_.Send("\033]2;" + WithoutControls(title) + "\a");
    }
}

// A terminal gives the program no window of its own that could be active.
void TerminalDesktop::SetActiveWindow(WindowHandle /*window*/) {}

WindowHandle TerminalDesktop::ActiveWindow() {
    return kNoWindow;
}

void TerminalDesktop::CreateStatusDialog(WindowHandle /*parent*/, const std::string& caption,
                                         const std::string& groupText) {
    statusDialog_ = true;
    caption_ = caption;
    group_ = groupText;
    items_.clear();
    if (channel_.IsInteractive()) {
        StartTerminalGuard(channel_.Input(), channel_.Error());
        HideTyping();
        DrawPanel("");
    }
}

// The texts scroll upward item by item, and the newest comes last: only then is there something new
// to show.
void TerminalDesktop::SetItemText(int item, const std::string& text) {
    items_[item] = text;
    if (item != kNewestItem) {
        return;
    }
    if (channel_.IsInteractive()) {
        DrawPanel("");
    } else {
        PrintStatus(text);
    }
}

std::string TerminalDesktop::ItemText(int item, std::size_t limit) {
    return items_[item].substr(0, limit);
}

void TerminalDesktop::MessageBox(WindowHandle /*owner*/, const std::string& text,
                                 const std::string& caption, BoxModality /*modality*/,
                                 BoxIcon icon) {
    const std::string word = IconWord(icon);
    if (channel_.IsInteractive()) {
        RunBox(text, word.empty() ? caption : caption + ": " + word);
    } else {
        PrintBox(text, word);
    }
}

std::optional<OpenFileAnswer> TerminalDesktop::AskOpenFile(const OpenFileRequest& request) {
    return RunOpenFileDialog(channel_, request);
}

bool TerminalDesktop::ShowsProgress() {
    return statusDialog_ && channel_.IsInteractive();
}

// Redrawn in place only: a panel that has scrolled or wrapped away would be repeated many times a
// second.
void TerminalDesktop::ShowProgress(const std::string& activity, int permille) {
    const Screen screen = channel_.CurrentScreen();
    progress_ = ProgressText(activity, permille, screen);
    if (panelLines_ > 0 && channel_.IsInteractive() && screen.columns == drawnColumns_) {
        DrawPanel("");
    }
}

void TerminalDesktop::EndProgress() {
    progress_.clear();
    if (panelLines_ > 0 && channel_.IsInteractive()) {
        DrawPanel("");
    }
}

void TerminalDesktop::ShowOutcome(const std::string& line) {
    if (!channel_.IsScreen()) {
        channel_.Send(Printable(line, Charset::kUtf8) + "\n");
    }
}

void TerminalDesktop::Shutdown() {
    StopTerminalGuard();
    statusDialog_ = false;
    panelLines_ = 0;
}

// True when the last `lines` lines are still where they were put: on the screen, not wrapped anew
// by a change of its width, and not pushed up by the shell while the program was stopped.
bool TerminalDesktop::CanGoUp(std::size_t lines, const Screen& screen) {
    if (TakeResumed()) {
        ShowTyping();
        HideTyping();
        return false;
    }
    return lines < screen.rows && screen.columns == drawnColumns_;
}

void TerminalDesktop::Draw(const ScreenLines& lines, const std::string& before) {
    std::string text = before;
    for (const std::string& line : lines) {
        text.append(line).append(kEraseLine).append("\n");
    }
    channel_.Send(text);
}

// Sends `before` and the panel after it: in place of the previous panel when nothing comes before.
void TerminalDesktop::DrawPanel(const std::string& before) {
    const Screen screen = channel_.CurrentScreen();
    ScreenLines items;
    for (int item = kOldestItem; item <= kNewestItem; ++item) {
        items.push_back(items_[item]);
    }
    const bool inPlace = CanGoUp(panelLines_, screen) && before.empty() && panelLines_ > 0;
    const ScreenLines panel = StatusPanel(caption_, group_, items, progress_, screen);
    Draw(panel, inPlace ? Up(panelLines_) : before);
    panelLines_ = panel.size();
    drawnColumns_ = screen.columns;
}

void TerminalDesktop::PrintStatus(const std::string& text) {
    const bool repeatsBox = !boxText_.empty() && AsStatusLine(boxText_) == text;
    boxText_.clear();
    const std::string line = Printable(text, Charset::kUtf8);
    panelLines_ = 0;
    if (!repeatsBox && line.find_first_not_of(' ') != std::string::npos) {
        channel_.Send(line + "\n");
    }
}

void TerminalDesktop::PrintBox(const std::string& text, const std::string& word) {
    std::string prefix = word.empty() ? "" : word + ": ";
    for (const std::string& line : LinesOf(text)) {
        channel_.Send(prefix + Printable(line, Charset::kUtf8) + "\n");
        prefix.clear();
    }
    boxText_ = text;
}

// Shows the box below the panel, and once it is dismissed leaves it in the scrolled text above, so
// that it can still be read when the program has ended.
void TerminalDesktop::RunBox(const std::string& text, const std::string& title) {
    StartTerminalGuard(channel_.Input(), channel_.Error());
    HideTyping();
    const Screen screen = channel_.CurrentScreen();
    const ScreenLines waiting = TextBox(title, text, "Press Enter", screen);
    if (panelLines_ == 0) {
        drawnColumns_ = screen.columns;
    }
    Draw(waiting, "");
    // Whatever was typed, and the end of input too, dismisses the box.
    static_cast<void>(channel_.ReadLine());

    const std::size_t above = waiting.size() + panelLines_;
    const Screen now = channel_.CurrentScreen();
    if (CanGoUp(above, now)) {
        Draw(TextBox(title, text, "", now), Up(above) + kEraseBelow);
    }
    panelLines_ = 0;
    if (statusDialog_) {
        DrawPanel("\r");
    } else {
        ShowTyping();
    }
}

}  // namespace mod2neu
