#include <cerrno>
#include <functional>

#include <gtest/gtest.h>

#include "database/engine_memory.h"
#include "robustness/rich_model.h"
#include "robustness/whole_run.h"

namespace mod2neu {
namespace {

// A conversion of a model with everything in it, run once to learn its calls and then with every
// one of them failing in every way; with the usual cache and with the smallest.
class FaultSweepTest : public ::testing::TestWithParam<bool> {
  protected:
    FaultSweepTest() {
        MemoryFiles files;
        sound_ = Convert(files);
        calls_ = files.calls;
    }

    RunResult Convert(MemoryFiles& files) const {
        files.Put(kRunModel, model_);
        return GetParam() ? RunWithSmallCache(files) : RunOn(files);
    }

    // Runs once for every call, with the faults that `order` puts at it: whatever fails, no harm is
    // done. And, when the call is one whose failure shows, what the Neutral file lacks has been
    // told. A model that is gone between start-up's look and the opening is passed over without a
    // box; nothing is converted then. A read that ends too early is the end of the file to the
    // reader: what is there is converted.
    void FailEveryCall(const std::function<void(MemoryFiles&, std::size_t)>& order,
                       bool cutShort = false) {
        ASSERT_TRUE(sound_.IsClean());
        for (std::size_t n = 1; n <= calls_.size(); ++n) {
            const FileCall kind = calls_[n - 1].kind;
            if (cutShort && kind != FileCall::kWrite && kind != FileCall::kRead) {
                continue;
            }
            SCOPED_TRACE(Cat("call ", n, ", kind ", int(kind), ", of ", calls_[n - 1].path));
            MemoryFiles files;
            order(files, n);
            const RunResult result = Convert(files);
            EXPECT_TRUE(result.harmless);
            EXPECT_TRUE(result.neutral == sound_.neutral || !result.boxes.empty() ||
                        (result.neutral.empty() && kind == FileCall::kExists) ||
                        (cutShort && kind == FileCall::kRead))
                << "data is missing and nobody has been told";
            EXPECT_TRUE(files.faultsInjected >= 1 || (cutShort && kind == FileCall::kRead));
        }
    }

    const std::vector<std::uint8_t> model_ = RichModel().FreeBlocks(2).Shuffle(3).Build().bytes;
    RunResult sound_;
    std::vector<FileCallRecord> calls_;
};

TEST_P(FaultSweepTest, EveryFailedCallIsToldAndHarmsNothing) {
    for (const int error : {EIO, ENOSPC, EACCES, kSharingViolation}) {
        SCOPED_TRACE(error);
        FailEveryCall([&](MemoryFiles& files, std::size_t n) { files.FailCall(n, error); });
    }
}

// From one call on, the disk is full or the device gone.
TEST_P(FaultSweepTest, AHostThatStaysBrokenIsToldOf) {
    FailEveryCall(
        [&](MemoryFiles& files, std::size_t n) { files.FailCall(n, EIO, calls_.size() * 2); });
}

TEST_P(FaultSweepTest, WritesCutShortAreToldAndReadsHarmNothing) {
    for (const std::size_t cut : {1U, 3U, 1'000'000U}) {
        FailEveryCall(
            [&](MemoryFiles& files, std::size_t n) {
                const std::size_t size = calls_[n - 1].size;
                files.ShortenCall(n, cut == 1 ? size - 1 : size / cut, ENOSPC);
            },
            true);
    }
}

std::size_t allocations = 0;
std::size_t refusedFrom = 0;
std::size_t refusedCount = 0;

bool RefuseSome(std::size_t /*bytes*/) {
    ++allocations;
    return allocations < refusedFrom || allocations - refusedFrom >= refusedCount;
}

// Refuses every allocation of the engine, alone and with all behind it. Few buffers are enough
// to convert everything; with fewer nothing is converted, and that is told.
TEST_P(FaultSweepTest, ShortMemoryIsToldOrMadeDoWith) {
    for (const std::size_t count : {1U, 1'000'000U}) {
        std::size_t total = 1;
        for (refusedFrom = 1; refusedFrom <= total; ++refusedFrom) {
            SCOPED_TRACE(Cat(count, " allocations from ", refusedFrom, " on"));
            MemoryFiles files;
            allocations = 0;
            refusedCount = count;
            SetAllocationGate(RefuseSome);
            const RunResult result = Convert(files);
            SetAllocationGate(nullptr);
            total = std::max(total, allocations);
            EXPECT_TRUE(result.harmless);
            // Without memory for a single block of the working copy, there is none for a box.
            const bool noneAtAll = refusedFrom == 1 && count > 1;
            EXPECT_TRUE(result.neutral == sound_.neutral ||
                        (result.neutral.empty() && (noneAtAll || !result.boxes.empty())));
        }
    }
}

INSTANTIATE_TEST_SUITE_P(SmallCache, FaultSweepTest, ::testing::Bool());

}  // namespace
}  // namespace mod2neu
