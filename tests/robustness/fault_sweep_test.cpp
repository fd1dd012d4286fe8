#include <cerrno>
#include <iostream>

#include <gtest/gtest.h>

#include "database/engine_memory.h"
#include "robustness/rich_model.h"
#include "robustness/whole_run.h"

namespace mod2neu {
namespace {

using Convert = RunResult (*)(MemoryFiles&);

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
            return {EIO, ENOSPC};
        case FileCall::kMakeTempFile:
            return {EACCES, ENOSPC};
        default:
            return {EIO, EACCES};
    }
}

// A conversion of a model with everything in it, run once to learn its calls and then with every
// one of them failing in every way.
class FaultSweepTest : public ::testing::TestWithParam<Convert> {
  protected:
    FaultSweepTest() : model_(RichModel().FreeBlocks(2).Shuffle(3).Build().bytes) {
        MemoryFiles files;
        files.Put(kRunModel, model_);
        sound_ = GetParam()(files);
        calls_ = files.calls;
    }

    // A model that is gone between start-up's look and the opening is passed over without a box;
    // nothing is converted then.
    [[nodiscard]] bool IsTold(const RunResult& result, const FileCallRecord& call) const {
        return result.neutral == sound_.neutral || !result.boxes.empty() ||
               (result.neutral.empty() && call.kind == FileCall::kExists);
    }

    // Runs with a fault on order. What the Neutral file lacks has been told; whatever has failed,
    // the model is what it was and no file is left open.
    void ExpectReported(MemoryFiles& files, const FileCallRecord& call) {
        files.Put(kRunModel, model_);
        const RunResult result = GetParam()(files);
        ++runs_;
        faults_ += files.faultsInjected;
        EXPECT_TRUE(result.modelKept);
        EXPECT_FALSE(result.fatal);
        EXPECT_EQ(result.openHandles, 0U);
        EXPECT_TRUE(IsTold(result, call)) << "data is missing and nobody has been told";
        EXPECT_EQ(files.faultsInjected, 1U);
    }

    std::vector<std::uint8_t> model_;
    RunResult sound_;
    std::vector<FileCallRecord> calls_;
    std::size_t runs_ = 0;
    std::size_t faults_ = 0;
};

TEST_P(FaultSweepTest, EveryFailedCallIsToldAndHarmsNothing) {
    ASSERT_TRUE(sound_.IsClean());
    for (std::size_t i = 0; i < calls_.size(); ++i) {
        for (const int error : ErrorsOf(calls_[i].kind)) {
            SCOPED_TRACE(Cat("call ", i + 1, ", ", NameOf(calls_[i].kind), " of ", calls_[i].path,
                             ", error ", error));
            MemoryFiles files;
            files.FailCall(i + 1, error);
            ExpectReported(files, calls_[i]);
        }
    }
    std::cout << calls_.size() << " calls, " << faults_ << " faults injected in " << runs_
              << " conversions\n";
    RecordProperty("faults", static_cast<int>(faults_));
}

// From one call on, the disk is full or the device gone.
TEST_P(FaultSweepTest, AHostThatStaysBrokenIsToldOf) {
    for (std::size_t i = 0; i < calls_.size(); ++i) {
        SCOPED_TRACE(Cat("from call ", i + 1, " on, ", NameOf(calls_[i].kind)));
        MemoryFiles files;
        files.FailCall(i + 1, EIO, calls_.size() * 2);
        files.Put(kRunModel, model_);
        const RunResult result = GetParam()(files);
        EXPECT_TRUE(result.modelKept);
        EXPECT_FALSE(result.fatal);
        EXPECT_EQ(result.openHandles, 0U);
        EXPECT_TRUE(IsTold(result, calls_[i]));
    }
}

TEST_P(FaultSweepTest, WritesCutShortAreTold) {
    for (std::size_t i = 0; i < calls_.size(); ++i) {
        if (calls_[i].kind != FileCall::kWrite) {
            continue;
        }
        for (const std::size_t size : {std::size_t{0}, calls_[i].size / 2, calls_[i].size - 1}) {
            SCOPED_TRACE(Cat("call ", i + 1, " writes ", size, " bytes to ", calls_[i].path));
            MemoryFiles files;
            files.ShortenCall(i + 1, size, ENOSPC);
            ExpectReported(files, calls_[i]);
        }
    }
    std::cout << faults_ << " writes cut short\n";
}

// A read that ends too early is the end of the file to the reader: the file shrinks while it is
// read. What is there is converted.
TEST_P(FaultSweepTest, ReadsCutShortHarmNothing) {
    for (std::size_t i = 0; i < calls_.size(); ++i) {
        if (calls_[i].kind != FileCall::kRead) {
            continue;
        }
        for (const std::size_t size : {std::size_t{0}, calls_[i].size / 3, calls_[i].size / 2}) {
            SCOPED_TRACE(Cat("call ", i + 1, " reads ", size, " bytes of ", calls_[i].path));
            MemoryFiles files;
            files.ShortenCall(i + 1, size, 0);
            files.Put(kRunModel, model_);
            const RunResult result = GetParam()(files);
            EXPECT_TRUE(result.modelKept);
            EXPECT_FALSE(result.fatal);
            EXPECT_EQ(result.openHandles, 0U);
        }
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
    std::size_t refused = 0;
    for (const std::size_t count : {std::size_t{1}, std::size_t{1'000'000}}) {
        std::size_t total = 1;
        for (refusedFrom = 1; refusedFrom <= total; ++refusedFrom) {
            SCOPED_TRACE(Cat(count, " allocations from ", refusedFrom, " on"));
            MemoryFiles files;
            files.Put(kRunModel, model_);
            allocations = 0;
            refusedCount = count;
            SetAllocationGate(RefuseSome);
            const RunResult result = GetParam()(files);
            SetAllocationGate(nullptr);
            total = std::max(total, allocations);
            ++refused;
            EXPECT_TRUE(result.modelKept);
            EXPECT_FALSE(result.fatal);
            EXPECT_EQ(result.openHandles, 0U);
            // Without memory for a single block of the working copy, there is none for a box.
            const bool noneAtAll = refusedFrom == 1 && count > 1;
            EXPECT_TRUE(result.neutral == sound_.neutral ||
                        (result.neutral.empty() && (noneAtAll || !result.boxes.empty())));
        }
    }
    std::cout << refused << " runs with refused allocations\n";
}

INSTANTIATE_TEST_SUITE_P(Caches, FaultSweepTest,
                         ::testing::Values(static_cast<Convert>(RunOn), RunWithSmallCache),
                         [](const auto& cache) { return cache.index == 0 ? "Usual" : "Smallest"; });

}  // namespace
}  // namespace mod2neu
