#include "shell/progress.h"

#include <gtest/gtest.h>

#include <chrono>

#include "support/recording_desktop.h"

namespace mod2neu {

namespace {

TEST(Progress, RedrawsSeldomAndNeverBeyondTheWhole) {
    RecordingDesktop desktop;
    BeginProgress("Unwatched", 10);
    EXPECT_FALSE(IsProgressShown());
    AddProgress(10);
    EndProgress();
    EXPECT_TRUE(desktop.progress.empty());
    desktop.watched = true;
    BeginProgress("Nothing", 0);
    EXPECT_FALSE(IsProgressShown());
    BeginProgress("Converting", 1000);
    ASSERT_TRUE(IsProgressShown());
    const auto start = std::chrono::steady_clock::now();
    const auto elapsed = [&] { return std::chrono::steady_clock::now() - start; };
    while (desktop.progress.size() < 3) {
        AddProgress(1);
        ASSERT_LT(elapsed(), std::chrono::seconds(60));
    }
    EXPECT_GE(elapsed(), std::chrono::milliseconds(150)) << "20 redraws a second at most";
    for (const auto& [activity, permille] : desktop.progress) {
        EXPECT_EQ(activity, "Converting");
        EXPECT_GT(permille, 0);
        EXPECT_LE(permille, 1000);
    }
    EndProgress();
    EXPECT_EQ(desktop.progress.back().second, -1);
    EXPECT_FALSE(IsProgressShown());
}

}  // namespace

}  // namespace mod2neu
