#pragma once

#include <map>

#include "platform/desktop.h"
#include "platform/terminal_channel.h"

namespace mod2neu {

// The desktop of a text terminal, on standard error alone. With a user in front of it the status
// window is a frame redrawn in place, boxes wait for Enter, and the terminal is left clean on every
// way out. Without one, everything shown is plain lines and nothing waits. A terminal has one
// place for everything, so no window is ever centred over another.
class TerminalDesktop final : public Desktop {
  public:
    // Speaks through standard input and standard error unless told otherwise.
    TerminalDesktop();
    TerminalDesktop(int input, int error);
    ~TerminalDesktop() override;

    std::uint32_t VersionWord() override;
    WindowHandle DesktopWindow() override;
    bool IsWindow(WindowHandle window) override;
    void SetWindowTitle(WindowHandle window, const std::string& title) override;
    void SetActiveWindow(WindowHandle window) override;
    WindowHandle ActiveWindow() override;
    void CreateStatusDialog(WindowHandle parent, const std::string& caption,
                            const std::string& groupText) override;
    bool StatusDialogExists() override { return statusDialog_; }
    void SetItemText(int item, const std::string& text) override;
    std::string ItemText(int item, std::size_t limit) override;
    void MessageBox(WindowHandle owner, const std::string& text, const std::string& caption,
                    BoxModality modality, BoxIcon icon) override;
    std::optional<OpenFileAnswer> AskOpenFile(const OpenFileRequest& request) override;
    bool ShowsProgress() override;
    void ShowProgress(const std::string& activity, int permille) override;
    void EndProgress() override;
    void ShowOutcome(const std::string& line) override;
    void Shutdown() override;

  private:
    bool CanGoUp(std::size_t lines, const Screen& screen);
    void Draw(const ScreenLines& lines, const std::string& before);
    void DrawPanel(const std::string& before);
    void PrintStatus(const std::string& text);
    void PrintBox(const std::string& text, const std::string& word);
    void RunBox(const std::string& text, const std::string& title);

    TerminalChannel channel_;
    bool statusDialog_ = false;
    std::string caption_;
    std::string group_;
    std::map<int, std::string> items_;
    std::string progress_;          // in the panel's lower edge
    std::string boxText_;           // of a plain box whose status line is still to come
    std::size_t panelLines_ = 0;    // right above the cursor; 0 when there is no panel
    std::size_t drawnColumns_ = 0;  // of the screen when it was drawn
};

}  // namespace mod2neu
