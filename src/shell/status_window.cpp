#include "shell/status_window.h"

#include "platform/desktop.h"
#include "shell/session.h"
#include "shell/string_table.h"

namespace mod2neu {

namespace {

// The lines are static texts of the dialog, the oldest message on top.
constexpr int kFirstItem = 30000;
constexpr int kLastItem = 30003;
constexpr std::size_t kMaxLine = 159;

bool statusWindowUp = false;

}  // namespace

bool CreateStatusWindow() {
    TheDesktop().CreateStatusDialog(CurrentSession().ParentWindow, LoadText(TextId::kStatusCaption),
                                    LoadText(TextId::kStatusGroup));
    statusWindowUp = true;
    return true;
}

void SetStatusText(const std::string& text) {
    Desktop& desktop = TheDesktop();
    if (!statusWindowUp || !desktop.StatusDialogExists()) {
        return;
    }
    for (int item = kFirstItem; item < kLastItem; ++item) {
        desktop.SetItemText(item, desktop.ItemText(item + 1, kMaxLine));
    }
    desktop.SetItemText(kLastItem, text.substr(0, kMaxLine));
}

void ResetStatusWindow() {
    statusWindowUp = false;
}

}  // namespace mod2neu
