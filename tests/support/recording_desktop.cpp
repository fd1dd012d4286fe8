#include "support/recording_desktop.h"

namespace mod2neu {

std::vector<std::string> RecordingDesktop::BoxTexts() const {
    std::vector<std::string> texts;
    for (const ShownBox& box : boxes) {
        texts.push_back(box.text);
    }
    return texts;
}

void RecordingDesktop::CreateStatusDialog(WindowHandle parent, const std::string& caption,
                                          const std::string& groupText) {
    statusUp_ = true;
    statusParent = parent;
    statusCaption = caption;
    statusGroup = groupText;
    items.clear();
}

void RecordingDesktop::SetItemText(int item, const std::string& text) {
    items[item] = text;
    constexpr int kNewestItem = 30003;
    if (item == kNewestItem) {
        statusLines.push_back(text);
    }
}

void RecordingDesktop::MessageBox(WindowHandle owner, const std::string& text,
                                  const std::string& caption, BoxModality modality, BoxIcon icon) {
    boxes.push_back({owner, text, caption, modality, icon});
    if (onBox) {
        onBox(boxes.back());
    }
}

std::optional<OpenFileAnswer> RecordingDesktop::AskOpenFile(const OpenFileRequest& request) {
    openRequests.push_back(request);
    if (answers.empty()) {
        return std::nullopt;
    }
    std::optional<OpenFileAnswer> answer = answers.front();
    answers.pop_front();
    return answer;
}

}  // namespace mod2neu
