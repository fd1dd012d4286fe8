#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace mod2neu {

// A window of the host; 0 is no window.
using WindowHandle = std::int64_t;
constexpr WindowHandle kNoWindow = 0;

enum class BoxModality { kTask, kSystem };
enum class BoxIcon { kNone, kStop, kInformation };

struct OpenFileRequest {
    WindowHandle owner = kNoWindow;
    std::string title;
    // Pairs of display text and pattern, the first selected: "Model Files (*.MOD)", "*.MOD", ...
    std::vector<std::string> filters;
    std::string initialDirectory;
    std::string okCaption;  // '&' marks the access key
    std::string cancelCaption;
};

// What the user confirmed in the open-file dialog.
struct OpenFileAnswer {
    std::string path;   // the chosen file
    std::string typed;  // the text of the file name field
};

// The host's windows: one status dialog, message boxes, the open-file dialog, window titles.
class Desktop {
  public:
    Desktop() = default;
    Desktop(const Desktop&) = delete;
    Desktop& operator=(const Desktop&) = delete;
    virtual ~Desktop() = default;

    // Version of the window system; the major version in the low byte.
    virtual std::uint32_t VersionWord() = 0;

    virtual WindowHandle DesktopWindow() = 0;
    virtual bool IsWindow(WindowHandle window) = 0;
    virtual void SetWindowTitle(WindowHandle window, const std::string& title) = 0;
    virtual void SetActiveWindow(WindowHandle window) = 0;

    // The active window of the program itself; kNoWindow when it has none.
    virtual WindowHandle ActiveWindow() = 0;

    // Creates and shows the modeless status dialog with empty items, centred over `parent`.
    virtual void CreateStatusDialog(WindowHandle parent, const std::string& caption,
                                    const std::string& groupText) = 0;

    // False before creation and after the user has closed the dialog.
    virtual bool StatusDialogExists() = 0;
    virtual void SetItemText(int item, const std::string& text) = 0;

    // At most `limit` characters of the item's text.
    virtual std::string ItemText(int item, std::size_t limit) = 0;

    // Shows a message box with an OK button and returns when the user has dismissed it.
    virtual void MessageBox(WindowHandle owner, const std::string& text, const std::string& caption,
                            BoxModality modality, BoxIcon icon) = 0;

    // Empty when the user cancels. Only an existing file is accepted.
    virtual std::optional<OpenFileAnswer> AskOpenFile(const OpenFileRequest& request) = 0;

    // True while somebody watches the status dialog on a screen that can show progress.
    virtual bool ShowsProgress() = 0;

    // Shows in the status dialog that `permille` of an activity is done, until EndProgress. The
    // dialog's items stay as they are.
    virtual void ShowProgress(const std::string& activity, int permille) = 0;
    virtual void EndProgress() = 0;

    // Shows how the run ended, for scripts: a last line where nobody watches.
    virtual void ShowOutcome(const std::string& line) = 0;

    // Takes every window down and leaves the host's screen clean. Called once, at the end.
    virtual void Shutdown() = 0;
};

// The desktop in use: the terminal until a test replaces it.
Desktop& TheDesktop();

// Makes `desktop` the one in use and returns the previous one; nullptr restores the terminal.
// The caller keeps ownership.
Desktop* SetDesktop(Desktop* desktop);

}  // namespace mod2neu
