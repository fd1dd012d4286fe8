#pragma once

#include <map>

#include "platform/desktop.h"

namespace mod2neu {

// The desktop of a text terminal. Writes to standard error only.
class TerminalDesktop final : public Desktop {
  public:
    std::uint32_t VersionWord() override;
    WindowHandle DesktopWindow() override;
    bool IsWindow(WindowHandle window) override;
    void SetWindowTitle(WindowHandle window, const std::string& title) override;
    void SetActiveWindow(WindowHandle window) override;
    WindowHandle ActiveWindow() override;
    void CreateStatusDialog(WindowHandle parent, const std::string& caption,
                            const std::string& groupText) override;
    bool StatusDialogExists() override;
    void SetItemText(int item, const std::string& text) override;
    std::string ItemText(int item, std::size_t limit) override;
    void MessageBox(WindowHandle owner, const std::string& text, const std::string& caption,
                    BoxModality modality, BoxIcon icon) override;
    std::optional<OpenFileAnswer> AskOpenFile(const OpenFileRequest& request) override;
    void Shutdown() override;

  private:
    bool statusDialog_ = false;
    std::map<int, std::string> items_;
};

}  // namespace mod2neu
