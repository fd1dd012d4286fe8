#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "platform/terminal_text.h"

namespace mod2neu {

// The screen that a frame is laid out for. A frame leaves the last column free, where some
// terminals wrap at once and others wait.
struct Screen {
    std::size_t columns = 80;
    std::size_t rows = 24;
    Charset charset = Charset::kUtf8;
};

using ScreenLines = std::vector<std::string>;

// A frame of `width` columns (at least kMinFrameWidth) around `lines`, each cut or filled to fit;
// `title` stands in the upper edge and `footer` in the lower one unless empty. All texts are made
// printable.
constexpr std::size_t kMinFrameWidth = 8;
ScreenLines FrameLines(const std::string& title, const ScreenLines& lines,
                       const std::string& footer, std::size_t width, Charset charset);

// The status window: its caption above a frame of the screen's width, `progress` in the lower edge.
ScreenLines StatusPanel(const std::string& caption, const std::string& group,
                        const ScreenLines& items, const std::string& progress,
                        const Screen& screen);

// The activity, a bar of which `permille` is filled, and the per cent; without the bar on a screen
// that is too narrow for it.
std::string ProgressText(const std::string& activity, int permille, const Screen& screen);

// A box around the wrapped text, as narrow as it allows.
ScreenLines TextBox(const std::string& title, const std::string& text, const std::string& footer,
                    const Screen& screen);

// A numbered list in a box. Where the names are more than `shown`, a last line tells how many more.
ScreenLines ListBox(const std::string& title, const std::vector<std::string>& names,
                    std::size_t shown, const std::string& footer, const Screen& screen);

}  // namespace mod2neu
