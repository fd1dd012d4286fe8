#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <string>

#include "platform/posix_file_services.h"
#include "platform/scratch_directory.h"

namespace mod2neu {
namespace {

// The faults in force, reached from plain functions that stand in for the host's calls.
struct Faults {
    long calls = 0;
    long failing = 0;  // number of the call to fail, from 1
    int error = 0;
};

Faults faults;

bool Strikes() {
    const bool strikes = ++faults.calls == faults.failing;
    errno = strikes ? faults.error : errno;
    return strikes;
}

// Reads and writes move at most 4 KB.
template <typename Argument>
Argument Limited(Argument argument) {
    if constexpr (std::is_same_v<Argument, std::size_t>) {
        return std::min<std::size_t>(argument, 4096);
    }
    return argument;
}

template <auto member, typename Result, typename... Arguments>
void MakeFaulty(PosixCalls& calls, Result (*)(Arguments...)) {
    calls.*member = [](Arguments... arguments) {
        return Strikes() ? Result{-1} : (HostCalls().*member)(Limited(arguments)...);
    };
}

template <auto... members>
PosixCalls CallsWithFaulty() {
    PosixCalls calls = HostCalls();
    (MakeFaulty<members>(calls, calls.*members), ...);
    calls.close = [](int fd) { return ::close(fd) != 0 || Strikes() ? -1 : 0; };
    return calls;
}

// Every operation of the services in one road: a stale scratch file is taken over, written, read
// back, looked at and deleted. True when all of it succeeds with the right results.
bool Road(PosixFileServices& files, const ScratchDirectory& directory) {
    const std::string scratch = directory.Write("model.scr", "stale");
    std::filesystem::permissions(scratch, std::filesystem::perms::all);
    std::string text;
    while (text.size() < 70000) {
        text += std::to_string(text.size());
    }
    text.resize(70000);
    std::string back(text.size() + 10, '?');
    std::string name;
    const FileHandle file = files.Open(
        scratch, {FileAccess::kCreate, FileSharing::kExclusive, AccessPattern::kSequential, true});
    const bool good = file != kNoFile && files.Write(file, text.data(), text.size()) == 70000 &&
                      files.Seek(file, 0, SeekOrigin::kBegin) == 0 && files.Size(file) == 70000 &&
                      files.Read(file, back.data(), back.size()) == 70000 &&
                      back.starts_with(text) &&
                      files.ReadAt(file, 50000, back.data(), back.size()) == 20000 &&
                      text.ends_with(back.substr(0, 20000));
    if (file == kNoFile || !files.Close(file) || !good) {
        return false;
    }
    const FileHandle plain = files.Open(directory / "plain", {FileAccess::kCreate});
    return plain != kNoFile && files.Close(plain) && files.Exists(scratch) &&
           files.SameFile(scratch, scratch) &&
           files.MakeTempFile(directory.Path(), "SOL", 0, &name) != 0 && files.Delete(name) &&
           files.Delete(scratch);
}

// Runs the road with `error` at its first call, then at its second, and so on to a run without.
// A run that fails tells the reason. Returns how many runs there were and how many succeeded.
std::pair<long, long> Sweep(int error) {
    const auto openDescriptors = [] {
        return std::distance(std::filesystem::directory_iterator("/proc/self/fd"), {});
    };
    const ScratchDirectory directory;
    using Calls = PosixCalls;
    const Calls calls =
        CallsWithFaulty<&Calls::open, &Calls::control, &Calls::lock, &Calls::statusOf,
                        &Calls::statusAt, &Calls::statusOfLink, &Calls::changeMode,
                        &Calls::truncate, &Calls::seek, &Calls::unlink, &Calls::read,
                        &Calls::readAt, &Calls::write>();
    long call = 0;
    long succeeded = 0;
    do {
        SCOPED_TRACE("error " + std::to_string(error) + " at call " + std::to_string(++call));
        faults = {.failing = call, .error = error};
        const auto before = openDescriptors();
        PosixFileServices files(calls);
        const bool good = Road(files, directory);
        succeeded += good ? 1 : 0;
        EXPECT_TRUE(good || files.LastError() == error) << files.LastErrorText();
        EXPECT_EQ(before, openDescriptors());
    } while (faults.calls >= call);
    return {call, succeeded};
}

TEST(PosixFaults, InterruptionsAreInvisibleAndFailuresAreReported) {
    const auto [runs, succeeded] = Sweep(EINTR);
    EXPECT_GT(runs, 50);
    EXPECT_EQ(runs, succeeded);
    // What was opened only to look at it (Exists once, Delete twice) has nothing to lose, and the
    // last run is without a fault.
    EXPECT_EQ(4, Sweep(EIO).second);
}

TEST(PosixFaults, MissingLocksAreForgivenWhereNothingMustBeHeldAlone) {
    const ScratchDirectory directory;
    const std::string path = directory.Write("model.mod", "x");
    PosixCalls calls = HostCalls();
    calls.lock = [](int, int) { return errno = ENOLCK, -1; };
    PosixFileServices files(calls);
    EXPECT_TRUE(files.Exists(path));
    const FileHandle text = files.Open(path, {FileAccess::kOverwrite, FileSharing::kExclusive});
    EXPECT_TRUE(text != kNoFile && files.Close(text));
    EXPECT_EQ(kNoFile, files.Open(path, {FileAccess::kReadWrite, FileSharing::kExclusive}));
}

}  // namespace
}  // namespace mod2neu
