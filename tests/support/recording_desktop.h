#pragma once

#include <deque>
#include <functional>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "platform/desktop.h"

namespace mod2neu {

// A message box as it was shown.
struct ShownBox {
    WindowHandle owner = kNoWindow;
    std::string text;
    std::string caption;
    BoxModality modality = BoxModality::kTask;
    BoxIcon icon = BoxIcon::kNone;
};

struct ShownTitle {
    WindowHandle window = kNoWindow;
    std::string title;
};

// A desktop without a screen: records what it is asked to show and answers as the test says.
// It is the desktop in use from construction to destruction.
class RecordingDesktop final : public Desktop {
  public:
    static constexpr WindowHandle kDesktop = 65556;

    RecordingDesktop() : previous_(SetDesktop(this)) {}
    ~RecordingDesktop() override { SetDesktop(previous_); }

    // What the test decides.
    std::uint32_t versionWord = 10;
    std::set<WindowHandle> liveWindows;  // beside the desktop window
    WindowHandle activeWindow = kNoWindow;
    bool watched = false;                               // somebody sees the progress
    std::deque<std::optional<OpenFileAnswer>> answers;  // of the open dialog; cancel when empty
    std::function<void(const ShownBox&)> onBox;         // runs while the box is up

    // What was shown.
    std::vector<ShownTitle> titles;
    std::vector<ShownBox> boxes;
    std::vector<OpenFileRequest> openRequests;
    std::vector<WindowHandle> activated;
    std::vector<std::string> statusLines;  // every text that item 30003 got, in order
    std::map<int, std::string> items;
    WindowHandle statusParent = kNoWindow;
    std::string statusCaption;
    std::string statusGroup;
    std::vector<std::pair<std::string, int>> progress;  // ("", -1) where it ended
    std::vector<std::string> outcomes;

    // The user closes the status window.
    void CloseStatusDialog() { statusUp_ = false; }

    // Texts of the boxes alone, for comparison as a whole.
    [[nodiscard]] std::vector<std::string> BoxTexts() const;

    std::uint32_t VersionWord() override { return versionWord; }
    WindowHandle DesktopWindow() override { return kDesktop; }
    bool IsWindow(WindowHandle window) override {
        return window == kDesktop || liveWindows.count(window) != 0;
    }
    void SetWindowTitle(WindowHandle window, const std::string& title) override {
        titles.push_back({window, title});
    }
    void SetActiveWindow(WindowHandle window) override { activated.push_back(window); }
    WindowHandle ActiveWindow() override { return activeWindow; }
    void CreateStatusDialog(WindowHandle parent, const std::string& caption,
                            const std::string& groupText) override;
    bool StatusDialogExists() override { return statusUp_; }
    void SetItemText(int item, const std::string& text) override;
    std::string ItemText(int item, std::size_t limit) override {
        return items[item].substr(0, limit);
    }
    void MessageBox(WindowHandle owner, const std::string& text, const std::string& caption,
                    BoxModality modality, BoxIcon icon) override;
    std::optional<OpenFileAnswer> AskOpenFile(const OpenFileRequest& request) override;
    bool ShowsProgress() override { return watched; }
    void ShowProgress(const std::string& activity, int permille) override {
        progress.emplace_back(activity, permille);
    }
    void EndProgress() override { progress.emplace_back("", -1); }
    void ShowOutcome(const std::string& line) override { outcomes.push_back(line); }
    void Shutdown() override { statusUp_ = false; }

  private:
    Desktop* previous_;
    bool statusUp_ = false;
};

}  // namespace mod2neu
