#include <cerrno>
#include <functional>

#include <gtest/gtest.h>

#include "database/engine_memory.h"
#include "robustness/rich_model.h"
#include "robustness/whole_run.h"

namespace mod2neu {
namespace {

// What the host can say to each call.
std::vector<int> ErrorsOf(FileCall kind) {
    switch (kind) {
        case FileCall::kExists:
            return {ENOENT, EACCES, kSharingViolation};
        case FileCall::kOpen:
            return {ENOENT, EACCES, ENOSPC, EMFILE, kSharingViolation};
        case FileCall::kRead:
            return {EIO, EINTR};
        case FileCall::kWrite:
            return {ENOSPC, EIO, EFBIG, EDQUOT};
        case FileCall::kClose:
        case FileCall::kMakeTempFile:
            return {EIO, ENOSPC};
        default:
            return {EIO, EACCES};
    }
}

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

    // Runs with the faults on order: whatever fails, no harm is done. And, when the call is one
    // whose failure shows, what the Neutral file lacks has been told. A model that is gone
    // between start-up's look and the opening is passed over without a box; nothing is converted
    // then.
    void ExpectTold(MemoryFiles& files, const FileCallRecord& call) {
        const RunResult result = Convert(files);
        EXPECT_TRUE(result.harmless);
        EXPECT_TRUE(result.neutral == sound_.neutral || !result.boxes.empty() ||
                    (result.neutral.empty() && call.kind == FileCall::kExists))
            << "data is missing and nobody has been told";
        EXPECT_GE(files.faultsInjected, 1U);
    }

    void ForEachCall(const std::function<void(std::size_t, const FileCallRecord&)>& visit) {
        ASSERT_TRUE(sound_.IsClean());
        for (std::size_t n = 1; n <= calls_.size(); ++n) {
            const FileCallRecord& call = calls_[n - 1];
            SCOPED_TRACE(Cat("call ", n, ", ", NameOf(call.kind), " of ", call.path));
            visit(n, call);
        }
    }

    const std::vector<std::uint8_t> model_ = RichModel().FreeBlocks(2).Shuffle(3).Build().bytes;
    RunResult sound_;
    std::vector<FileCallRecord> calls_;
};

TEST_P(FaultSweepTest, EveryFailedCallIsToldAndHarmsNothing) {
    ForEachCall([&](std::size_t n, const FileCallRecord& call) {
        for (const int error : ErrorsOf(call.kind)) {
            SCOPED_TRACE(error);
            MemoryFiles files;
            files.FailCall(n, error);
            ExpectTold(files, call);
            EXPECT_EQ(files.faultsInjected, 1U);
        }
    });
}

// From one call on, the disk is full or the device gone.
TEST_P(FaultSweepTest, AHostThatStaysBrokenIsToldOf) {
    ForEachCall([&](std::size_t n, const FileCallRecord& call) {
        MemoryFiles files;
        files.FailCall(n, EIO, calls_.size() * 2);
        ExpectTold(files, call);
    });
}

// A read that ends too early is the end of the file to the reader: the file shrinks while it is
// read. What is there is converted.
TEST_P(FaultSweepTest, WritesCutShortAreToldAndReadsHarmNothing) {
    ForEachCall([&](std::size_t n, const FileCallRecord& call) {
        for (const std::size_t size : {std::size_t{0}, call.size / 3, call.size - 1}) {
            SCOPED_TRACE(size);
            MemoryFiles files;
            files.ShortenCall(n, size, ENOSPC);
            if (call.kind == FileCall::kWrite) {
                ExpectTold(files, call);
            } else if (call.kind == FileCall::kRead) {
                EXPECT_TRUE(Convert(files).harmless);
            }
        }
    });
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
