#include "shell/progress.h"

#include <algorithm>
#include <chrono>

#include "platform/desktop.h"

namespace mod2neu {

namespace {

using Clock = std::chrono::steady_clock;

constexpr std::chrono::milliseconds kRedrawInterval{50};
constexpr std::int64_t kPermille = 1000;

struct ProgressState {
    bool shown = false;
    std::string activity;
    std::int64_t total = 0;
    std::int64_t done = 0;
    Clock::time_point nextRedraw;
};

ProgressState progress;

}  // namespace

void BeginProgress(const std::string& activity, std::int64_t total) {
    EndProgress();
    progress = {.shown = total > 0 && TheDesktop().ShowsProgress(),
                .activity = activity,
                .total = total,
                .nextRedraw = Clock::now() + kRedrawInterval};
}

void AddProgress(std::int64_t units) {
    if (!progress.shown) {
        return;
    }
    progress.done = std::min(progress.done + units, progress.total);
    const Clock::time_point now = Clock::now();
    if (now >= progress.nextRedraw) {
        progress.nextRedraw = now + kRedrawInterval;
        const double share =
            static_cast<double>(progress.done) / static_cast<double>(progress.total);
        TheDesktop().ShowProgress(progress.activity, static_cast<int>(share * kPermille));
    }
}

void EndProgress() {
    if (progress.shown) {
        TheDesktop().EndProgress();
    }
    progress = {};
}

bool IsProgressShown() {
    return progress.shown;
}

}  // namespace mod2neu
