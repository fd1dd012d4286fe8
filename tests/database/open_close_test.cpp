#include <cerrno>
#include <cstring>

#include "database/block_allocation.h"
#include "database/block_cache.h"
#include "database/close.h"
#include "database/database_file.h"
#include "database/database_fixture.h"
#include "database/engine_memory.h"
#include "database/file_copy.h"
#include "database/flag_set.h"
#include "database/record_access.h"
#include "database/settings.h"
#include "shell/session.h"
#include "shell/status_window.h"

namespace mod2neu {

namespace {

const std::string kIoError = std::strerror(EIO);

std::string InUse(const std::string& path) {
    return "Unable to open file " + path +
           "\n\r\nThis file is in use. Close the application that is using it and try again.";
}

std::string NotOpened(const std::string& path, const std::string& reason) {
    return "Unable to Open File " + path + ": " + reason + ".";
}

struct ProcessEnded {};

class OpenCloseTest : public DatabaseTest {
  protected:
    OpenCloseTest() {
        SetFatalHandler([] { throw ProcessEnded(); });
        PutModel();
    }

    void PutModel() { files.Put(kModel, model_); }

    bool OpenAgain(const DatabaseSettings& settings = {}) {
        Restart();
        SetDatabaseSettings(settings);
        return OpenDatabase();
    }

    void ExpectRefused(const std::string& message) {
        EXPECT_FALSE(OpenAgain());
        EXPECT_EQ(TakeBoxes(), Texts{message});
        EXPECT_EQ(files.OpenHandles(), 0U);
    }

    const std::vector<std::uint8_t> model_ =
        TaggedModel(kNode, Range(1, 300))
            .Add(kMaterial, 1, 3, TaggedRecord(kMaterial, 1, 3))
            .Title("Small")
            .FreeBlocks(2)
            .NeverUsedBlocks(4)
            .Garbage(9)
            .Shuffle(4)
            .Build()
            .bytes;
};

TEST_F(OpenCloseTest, TheHeaderIsReadAndTheCopyHeldUntilItIsDeleted) {
    files.Put(kScratch, "left behind by an earlier run");
    ASSERT_TRUE(OpenAgain());
    EXPECT_EQ(DatabaseVersion(), 6.0);
    EXPECT_EQ(ModelTitle(), "Small");
    EXPECT_EQ(files.Bytes(kScratch), files.Bytes(kModel));
    EXPECT_FALSE(files.Exists(kScratch));
    EXPECT_EQ(files.LastError(), kSharingViolation);
    EXPECT_FALSE(OpenDatabase());
    files.calls.clear();
    EXPECT_TRUE(CloseModelSession());
    for (const FileCallRecord& call : files.calls) {  // no block was read, so none is written
        EXPECT_TRUE(call.kind != FileCall::kWrite || call.size == 4816);
    }
    EXPECT_TRUE(CloseModelSession());
    EXPECT_EQ(files.Paths(), Texts{kModel});
    files.Remove(kModel);
    EXPECT_FALSE(OpenAgain());
    EXPECT_TRUE(files.Paths().empty());
    EXPECT_TRUE(TakeBoxes().empty()) << "a missing model is no message";
}

TEST_F(OpenCloseTest, TheScratchFileLiesWhereSettingsAndSurroundingsSay) {
    struct Case {
        const char* model;
        const char* setting;
        const char* temp;
        const char* scratch;
    };
    for (const Case& c : {Case{"/models/wing.MOD", "", "/temp", "/temp/wing.scr"},
                          Case{"/models/wing.MOD", "/fast", "/temp", "/fast/wing.scr"},
                          Case{"/models/wing.MOD", "", "", "/memory/wing.scr"},
                          Case{"/models/wing.old.mod", "", "/temp/", "/temp/wing.scr"},
                          Case{"/a.b/wing", "", "/temp", "/temp/wing.scr"}}) {
        Restart();
        files.Put(c.model, model_);
        files.tempDirectory = c.temp;
        SetDatabaseSettings({.scratchDirectory = c.setting});
        CurrentSession().ModelFileName = c.model;
        EXPECT_TRUE(OpenDatabase()) << c.scratch;
        EXPECT_TRUE(files.Has(c.scratch)) << c.scratch;
        EXPECT_TRUE(CloseModelSession());
        EXPECT_FALSE(files.Has(c.scratch)) << c.scratch;
    }
}

TEST_F(OpenCloseTest, SettingsKeepTheScratchFileOrDoWithoutIt) {
    EXPECT_TRUE(OpenAgain({.scratchDirectory = {}, .deleteScratchOnClose = false}));
    EXPECT_TRUE(CloseModelSession());
    EXPECT_TRUE(files.Has(kScratch));
    files.Remove(kScratch);
    EXPECT_TRUE(OpenAgain({.scratchDirectory = {}, .workOnScratchCopy = false}));
    EXPECT_EQ(files.Paths(), Texts{kModel});
    EXPECT_TRUE(CloseModelSession());
    EXPECT_EQ(files.Paths(), Texts{kModel});
}

TEST_F(OpenCloseTest, FilesInUseAreReportedAndLeftAlone) {
    files.HoldElsewhere(kModel);
    ExpectRefused(InUse(kModel));
    files.ReleaseElsewhere(kModel);
    files.Put(kScratch, "another run's");
    files.HoldElsewhere(kScratch);
    ExpectRefused(InUse(kScratch));
    // The other run takes the file between the test and our creation of it.
    files.ReleaseElsewhere(kScratch);
    files.onCall = [this](const FileCallRecord& call) {
        if (call.kind == FileCall::kOpen && call.path == kScratch) {
            files.HoldElsewhere(kScratch);
        }
    };
    ExpectRefused(InUse(kScratch));
    EXPECT_EQ(files.Bytes(kScratch), "another run's");
}

TEST_F(OpenCloseTest, AModelAtItsOwnScratchPathIsRefused) {
    files.Put(kScratch, model_);
    files.Link(kModel, kScratch);
    ExpectRefused(NotOpened(kScratch, std::strerror(EEXIST)));
    EXPECT_EQ(files.Bytes(kModel).size(), model_.size());
}

TEST_F(OpenCloseTest, PathsEndAt127Characters) {
    for (const std::size_t length : {126U, 127U, 128U, 259U}) {
        const std::string name = "/wing.scr";
        files.tempDirectory = "/" + std::string(length - name.size() - 1, 't');
        const std::string path = files.tempDirectory + name;
        if (length > 127) {
            ExpectRefused(NotOpened(path, std::strerror(ENAMETOOLONG)).substr(0, 159));
        } else {
            EXPECT_TRUE(OpenAgain()) << length;
            EXPECT_TRUE(CloseModelSession());
        }
        EXPECT_EQ(files.Paths(), Texts{kModel});
    }
}

TEST_F(OpenCloseTest, FilesWithoutAWholeHeaderAreRefused) {
    for (const std::size_t size : {0U, 1U, 4815U}) {
        files.Put(kModel, std::string(size, '\1'));
        ExpectRefused(std::string("Unable to Read From Database: ") + std::strerror(ENODATA) + ".");
        EXPECT_TRUE(files.Has(kScratch));
    }
    files.Put(kModel, std::string(4816, '\1'));
    EXPECT_TRUE(OpenAgain());
}

// A session that uses every kind of file call, on a cache so small that it writes early.
class SessionSweep : public OpenCloseTest {
  protected:
    struct Course {
        bool opened = false;
        bool closed = false;
        bool ended = false;  // the process, through FatalDatabaseError
        std::size_t openCalls = 0;
        std::size_t workCalls = 0;
    };

    Course Run() {
        Course course;
        PutModel();
        files.Remove(kScratch);
        files.calls.clear();
        try {
            course.opened = OpenAgain(
                {.scratchDirectory = {}, .BlocksPerBuffer = 2, .MinBuffers = 5, .MaxBuffers = 5});
            course.openCalls = files.calls.size();
            if (course.opened) {
                Work();
                course.workCalls = files.calls.size();
                course.closed = CloseModelSession();
            }
        } catch (const ProcessEnded&) {
            course.ended = true;
        }
        files.ClearFaults();
        return course;
    }

    // What a failure of call `n` leads to.
    static Texts MessagesFor(const std::vector<FileCallRecord>& calls, std::size_t n,
                             bool opening) {
        const FileCallRecord& call = calls[n - 1];
        const std::string notRead = "Unable to Read From Database: " + kIoError + ".";
        if (!opening) {
            const bool writes = call.kind == FileCall::kWrite ||
                                (call.kind == FileCall::kSeek && calls[n].kind == FileCall::kWrite);
            return writes ? Texts{"Unable to Write to Database: " + kIoError + "."} : Texts{};
        }
        switch (call.kind) {
            case FileCall::kOpen:
                return {NotOpened(call.path, kIoError)};
            case FileCall::kRead:
                return {call.path == kModel
                            ? "Error Reading File " + call.path + ": " + kIoError + "."
                            : notRead};
            case FileCall::kSeek:
                return {notRead};
            case FileCall::kWrite:
                return {"Error Writing File " + call.path + ": " + kIoError + "."};
            default:
                return {};
        }
    }

  private:
    static void Work() {
        std::vector<std::uint8_t> record(kRecordAreaSize);
        (void)GetRecord(kMaterial, 1, 3, record.data());
        (void)SetFlagRange(kTemporaryIdSet, 1, 1, 40'000);
        (void)WalkRecords(kNode);
        (void)ClearRecords(kTemporaryIdSet, 1);
        (void)PutRecord(kMaterial, 1, 500, record.data());
    }
};

TEST_F(SessionSweep, EveryFailingCallGivesItsMessageAndADefinedState) {
    const Course sound = Run();
    ASSERT_TRUE(sound.opened && sound.closed && TakeBoxes().empty());
    const std::vector<FileCallRecord> calls = files.calls;
    ASSERT_GT(sound.workCalls - sound.openCalls, 40U);
    // The close stands or falls with its first flush, which ends with the header record.
    std::size_t flushEnd = sound.workCalls;
    while (calls[flushEnd++].size != 4816) {
    }
    std::size_t fatal = 0;
    for (std::size_t n = 1; n <= calls.size(); ++n) {
        const FileCallRecord& call = calls[n - 1];
        SCOPED_TRACE(testing::Message() << n << ": " << NameOf(call.kind) << " " << call.path);
        const bool opening = n <= sound.openCalls;
        files.FailCall(n, EIO);
        const Course course = Run();
        const Texts boxes = TakeBoxes();
        ASSERT_EQ(files.Bytes(kModel).compare(std::string(model_.begin(), model_.end())), 0);
        ASSERT_GE(files.calls.size(), n);
        if (course.ended) {
            ++fatal;
            EXPECT_TRUE(n > sound.openCalls && n <= sound.workCalls);
            EXPECT_EQ(files.OpenHandles(), 0U);
            EXPECT_TRUE(files.Has(kScratch));
            continue;
        }
        const Texts messages = MessagesFor(calls, n, opening);
        EXPECT_EQ(boxes, messages);
        // A test of existence that fails only says that there is no such file.
        const bool missing = call.kind == FileCall::kExists && call.path == kModel;
        EXPECT_EQ(course.opened, !opening || (messages.empty() && !missing));
        const bool flushFailed = n > sound.workCalls && n <= flushEnd;
        EXPECT_EQ(course.closed, course.opened && !flushFailed);
        EXPECT_EQ(IsDatabaseOpen(), flushFailed);
        EXPECT_EQ(files.OpenHandles(), flushFailed ? 1U : 0U);
        EXPECT_TRUE(!course.closed || call.kind == FileCall::kDelete || !files.Has(kScratch));
        if (flushFailed) {
            EXPECT_TRUE(CloseModelSession());
            EXPECT_FALSE(files.Has(kScratch));
        }
    }
    EXPECT_GT(fatal, 0U);
}

// Allocations of at least `atLeast` bytes that are granted still.
std::size_t allocationsLeft = 0;
std::size_t atLeast = 0;

bool CountAllocations(std::size_t bytes) {
    return bytes < atLeast || (allocationsLeft > 0 && allocationsLeft-- > 0);
}

TEST_F(OpenCloseTest, EveryAllocationMayFail) {
    // The transfer buffer, four tables, then buffers.
    for (std::size_t granted = 0; granted < 35; ++granted) {
        SCOPED_TRACE(granted);
        allocationsLeft = granted;
        atLeast = 0;
        SetAllocationGate(CountAllocations);
        const bool opened = OpenAgain();
        SetAllocationGate(nullptr);
        Texts expected;
        if (granted > 0 && granted < 5) {
            expected = {"Unable to Allocate Memory for Database Startup."};
        } else if (granted > 0 && granted < 11) {
            expected = {"Insufficient memory for Operation. Need " +
                        std::to_string((11 - granted) * 20 * 2048) + " more bytes."};
        }
        EXPECT_EQ(TakeBoxes(), expected);
        EXPECT_EQ(opened, granted >= 11);
        EXPECT_EQ(files.OpenHandles(), opened ? 1U : 0U);
        if (opened) {
            EXPECT_EQ(HighestBuffer() + 1, std::min(static_cast<int>(granted) - 5, 25));
            EXPECT_EQ(Walk(kNode).size(), 300U);
        }
    }
}

TEST_F(OpenCloseTest, TheTransferBufferMakesDoWithLess) {
    std::string text(5 * 98'304 + 17, 'x');
    for (std::size_t i = 0; i < text.size(); ++i) {
        text[i] = static_cast<char>(i * 31 / 7);
    }
    for (const std::size_t blocks : {48U, 47U, 1U}) {
        allocationsLeft = 0;
        atLeast = (blocks + 1) * 2048;
        SetAllocationGate(CountAllocations);
        for (const std::size_t size :
             {std::size_t{0}, blocks * 2048 - 1, blocks * 2048, blocks * 2048 + 1, text.size()}) {
            files.Put("/from", text.substr(0, size));
            files.Put("/to", "old text that is longer than some of the new ones");
            files.calls.clear();
            EXPECT_TRUE(CopyFileContents("/from", "/to"));
            EXPECT_TRUE(files.Bytes("/to") == text.substr(0, size)) << size;
            EXPECT_EQ(files.calls[2].size, blocks * 2048);
        }
    }
    EXPECT_EQ(files.OpenHandles(), 0U);
}

TEST_F(OpenCloseTest, ACopyUsesTheHandlesItIsGivenAndLeavesThemOpen) {
    files.Put("/from", "0123456789");
    files.Put("/to", "");
    const ScopedFile from(files.Open("/from", {}));
    const ScopedFile to(files.Open("/to", {.access = FileAccess::kReadWrite}));
    EXPECT_TRUE(CopyFileContents("named in messages", "likewise", from.Get(), to.Get()));
    EXPECT_EQ(files.Bytes("/to"), "0123456789");
    EXPECT_EQ(files.OpenHandles(), 2U);
    EXPECT_FALSE(CopyFileContents("/missing", "/to", kNoFile, to.Get()));
    EXPECT_FALSE(CopyFileContents("/from", "/from", from.Get()));
    EXPECT_EQ(TakeBoxes(), (Texts{NotOpened("/missing", std::strerror(ENOENT)),
                                  NotOpened("/from", "The file is in use by another process")}));
    EXPECT_EQ(files.Bytes("/from"), "0123456789");
}

TEST_F(OpenCloseTest, TheCacheIsReportedInTheStatusWindow) {
    struct Case {
        int minimum;
        int maximum;
        int blocks;
        const char* report;
        int afterWalk;
    };
    for (const Case& c :
         {Case{25, 250, 20, "Allocated 25 Cache Buffers, each with 20 - 2048 byte blocks.", 25},
          Case{1, 3, 1, "Allocated 5 Cache Buffers, each with 1 - 2048 byte blocks.", 5},
          Case{5, 7, 2, "Allocated 5 Cache Buffers, each with 2 - 2048 byte blocks.", 7},
          Case{6, 5000, 1, "Allocated 6 Cache Buffers, each with 1 - 2048 byte blocks.", 13},
          Case{9000, 1, 200, "Allocated 1024 Cache Buffers, each with 100 - 2048 byte blocks.",
               1024}}) {
        Restart();
        CreateStatusWindow();
        SetCache(c.minimum, c.maximum, c.blocks);
        ASSERT_TRUE(OpenDatabase());
        EXPECT_EQ(desktop.statusLines.back(), c.report);
        EXPECT_EQ(Walk(kNode).size(), 300U);
        EXPECT_EQ(HighestBuffer() + 1, c.afterWalk);
    }
}

}  // namespace

}  // namespace mod2neu
